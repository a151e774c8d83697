#include "AccountHandlers.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "AccountHttp.h"
#include "ConnectPage.h"
#include "HtmlPage.h"

namespace tessary::server {

namespace {

const auto brokenLinkTitle = QStringLiteral("This sign-in link does not work");
const auto startAgainText = QStringLiteral("Start signing in again from Tessary.");
const auto expiredFormTitle = QStringLiteral("This sign-in page has expired");
const auto expiredFormText = QStringLiteral("It can no longer be used. Start signing in again from Tessary.");
const auto unavailableTitle = QStringLiteral("Sign-in is not available right now");
const auto badDecisionText = QStringLiteral("The form must be answered with Approve or Deny.");
const auto badTokenRequestText
    = QStringLiteral("The body must be a JSON object with the texts \"code\" and \"verifier\".");

HttpResponse unavailablePage(const AccountError& error)
{
    return htmlPage(messagePage(unavailableTitle, error.description()), 503);
}

} // namespace

AccountHandlers::AccountHandlers(Accounts& accounts, bool signup)
    : m_accounts(accounts)
    , m_signup(signup)
    , m_gate(accounts)
    , m_settings(accounts)
    , m_listsPage(accounts, m_gate)
{
}

bool AccountHandlers::serves(QStringView path)
{
    return path == u"/connect/mac" || path == u"/device/token" || path == u"/account/info" || path == u"/account"
        || ListsPageHandlers::serves(path);
}

HttpResponse AccountHandlers::handle(const HttpRequest& request)
{
    if (request.path == u"/connect/mac") {
        if (request.method == "GET")
            return connectPage(request);
        if (request.method == "POST")
            return connectDecision(request);
        return methodNotAllowed(request, QByteArrayLiteral("GET, POST"));
    }
    if (request.path == u"/device/token") {
        if (request.method == "POST")
            return exchangeCode(request);
        if (request.method == "DELETE")
            return revokeToken(request);
        return methodNotAllowed(request, QByteArrayLiteral("POST, DELETE"));
    }
    if (request.path == u"/account")
        return m_settings.handle(request);
    if (ListsPageHandlers::serves(request.path))
        return m_listsPage.handle(request);
    if (request.path == u"/account/info" && request.method == "GET")
        return accountInfo(request);
    if (request.path == u"/account/info")
        return methodNotAllowed(request, QByteArrayLiteral("GET"));
    return HttpResponse::error(404, QStringLiteral("not found: ") + request.path);
}

HttpResponse AccountHandlers::pageAgain(
    const ConnectRequest& request, const QString& email, const QString& message, int status)
{
    const auto key = m_accounts.formSecret();
    if (!key)
        return unavailablePage(key.error());
    const ConnectPage page { .request = request,
        .formToken = request.formToken(*key, m_accounts.now()),
        .email = email,
        .message = message,
        .offerSignup = m_signup };
    return htmlPage(page.html(), status);
}

HttpResponse AccountHandlers::connectPage(const HttpRequest& request)
{
    const auto connect = ConnectRequest::read([&request](QStringView name) { return request.item(name); });
    if (!connect) {
        return htmlPage(messagePage(brokenLinkTitle, connect.error().description() + u' ' + startAgainText), 400);
    }
    return pageAgain(*connect, {}, {}, 200);
}

HttpResponse AccountHandlers::connectDecision(const HttpRequest& request)
{
    const QueryItems fields = formFields(request.body);
    const auto field = [&fields](QStringView name) { return valueOf(fields, name); };
    const auto connect = ConnectRequest::read(field);
    if (!connect) {
        return htmlPage(messagePage(brokenLinkTitle, connect.error().description() + u' ' + startAgainText), 400);
    }
    const auto key = m_accounts.formSecret();
    if (!key)
        return unavailablePage(key.error());
    if (!connect->acceptsFormToken(*key, field(u"form").value_or(QString()), m_accounts.now()))
        return htmlPage(messagePage(expiredFormTitle, expiredFormText), 403);

    const QString decision = field(u"decision").value_or(QString());
    if (decision == u"deny")
        return redirect(connect->callbackLocation(std::nullopt));
    if (decision != u"approve")
        return htmlPage(messagePage(brokenLinkTitle, badDecisionText + u' ' + startAgainText), 400);
    const auto account = signIn(*connect, fields, request.clientAddress);
    if (!account)
        return account.error();
    const auto code = m_accounts.issueCode(account->id, connect->challenge);
    if (!code)
        return unavailablePage(code.error());
    return redirect(connect->callbackLocation(*code));
}

std::expected<AccountRecord, HttpResponse> AccountHandlers::signIn(
    const ConnectRequest& connect, const QueryItems& fields, const QString& clientAddress)
{
    const QString email = valueOf(fields, u"email").value_or(QString());
    const auto account = m_gate.signIn(email, valueOf(fields, u"password").value_or(QString()), clientAddress,
        m_signup && valueOf(fields, u"signup") == u"1");
    if (account)
        return *account;
    const SignInGate::Refusal& refusal = account.error();
    if (refusal.error.kind == AccountError::Kind::failure)
        return std::unexpected(unavailablePage(refusal.error));
    return std::unexpected(withRetryAfter(
        pageAgain(connect, email, refusal.error.description(), refusal.status), refusal.retryAfterSeconds));
}

HttpResponse AccountHandlers::exchangeCode(const HttpRequest& request)
{
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    const QString code = body.value(u"code").toString();
    const QString verifier = body.value(u"verifier").toString();
    if (code.isEmpty() || verifier.isEmpty())
        return jsonError(400, badTokenRequestText);
    const auto token = m_accounts.redeemCode(code, verifier);
    if (!token)
        return accountApiError(token.error());
    return uncached(HttpResponse::json(
        QJsonDocument(QJsonObject { { QStringLiteral("token"), *token } }).toJson(QJsonDocument::Compact)));
}

HttpResponse AccountHandlers::accountInfo(const HttpRequest& request)
{
    const auto account = m_accounts.accountForToken(bearerToken(request).value_or(QString()));
    if (!account)
        return accountApiError(account.error());
    return uncached(HttpResponse::json(
        QJsonDocument(QJsonObject { { QStringLiteral("email"), account->email } }).toJson(QJsonDocument::Compact)));
}

HttpResponse AccountHandlers::revokeToken(const HttpRequest& request)
{
    if (const auto revoked = m_accounts.revokeToken(bearerToken(request).value_or(QString())); !revoked)
        return accountApiError(revoked.error());
    HttpResponse revoked;
    revoked.status = 204;
    return revoked;
}

} // namespace tessary::server
