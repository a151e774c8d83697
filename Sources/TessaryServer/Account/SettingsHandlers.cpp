#include "SettingsHandlers.h"

#include "AccountHttp.h"

namespace tessary::server {

namespace {

QByteArray entityTag(qint64 version)
{
    return '"' + QByteArray::number(version) + '"';
}

// The version an If-Match header names: any version for "*" (nothing here), `versionRequired`
// when it is missing. The quotes and a weak "W/" are optional, as clients differ in what they
// send back; a tag that is not one of ours matches no version.
std::expected<std::optional<qint64>, AccountError> basedOn(const HttpRequest& request)
{
    QByteArray tag = request.header("If-Match").value_or(QByteArray()).trimmed();
    if (tag.isEmpty())
        return std::unexpected(AccountError { AccountError::Kind::versionRequired, {} });
    if (tag == "*")
        return std::nullopt;
    if (tag.startsWith("W/"))
        tag.remove(0, 2);
    tag.replace('"', QByteArray());
    bool isNumber = false;
    const qint64 version = tag.toLongLong(&isNumber);
    // Versions count from 1: 0 stands for a tag that names none of them.
    return isNumber && version > 0 ? version : 0;
}

HttpResponse documentReply(const SettingsVersion& settings, int status)
{
    return withHeader(uncached(HttpResponse::json(settings.document, status)), QByteArrayLiteral("ETag"),
        entityTag(settings.version));
}

} // namespace

SettingsHandlers::SettingsHandlers(Accounts& accounts)
    : m_accounts(accounts)
{
}

HttpResponse SettingsHandlers::handle(const HttpRequest& request)
{
    if (request.method == "GET")
        return read(request);
    if (request.method == "PUT")
        return write(request);
    return methodNotAllowed(request, QByteArrayLiteral("GET, PUT"));
}

HttpResponse SettingsHandlers::read(const HttpRequest& request)
{
    const auto account = m_accounts.accountForToken(bearerToken(request).value_or(QString()));
    if (!account)
        return accountApiError(account.error());
    const auto settings = m_accounts.settings(account->id);
    if (!settings)
        return accountApiError(settings.error());
    return documentReply(*settings, 200);
}

HttpResponse SettingsHandlers::write(const HttpRequest& request)
{
    const auto account = m_accounts.accountForToken(bearerToken(request).value_or(QString()));
    if (!account)
        return accountApiError(account.error());
    const auto version = basedOn(request);
    if (!version)
        return accountApiError(version.error());
    const auto written = m_accounts.replaceSettings(account->id, *version, request.body);
    if (!written)
        return accountApiError(written.error());
    return documentReply(written->current, written->written ? 200 : 409);
}

} // namespace tessary::server
