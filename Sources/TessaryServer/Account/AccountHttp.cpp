#include "AccountHttp.h"

#include <QUrl>

namespace tessary::server {

namespace {

// The pages run no script and load nothing; the form may only post here, and a browser that
// checks where a form submission is redirected must let it go to the app's listener.
const auto pagePolicy = QByteArrayLiteral("default-src 'none'; style-src 'unsafe-inline'; form-action 'self' "
                                          "http://127.0.0.1:*; frame-ancestors 'none'; base-uri 'none'");

} // namespace

HttpResponse withHeader(HttpResponse response, QByteArray name, QByteArray value)
{
    response.headers.emplace_back(std::move(name), std::move(value));
    return response;
}

HttpResponse withRetryAfter(HttpResponse response, std::optional<qint64> seconds)
{
    if (!seconds)
        return response;
    return withHeader(std::move(response), QByteArrayLiteral("Retry-After"), QByteArray::number(*seconds));
}

HttpResponse uncached(HttpResponse response)
{
    return withHeader(std::move(response), QByteArrayLiteral("Cache-Control"), QByteArrayLiteral("no-store"));
}

HttpResponse htmlPage(QByteArray body, int status)
{
    HttpResponse page;
    page.status = status;
    page.contentType = QByteArrayLiteral("text/html; charset=utf-8");
    page.body = std::move(body);
    page = uncached(std::move(page));
    page.headers.emplace_back(QByteArrayLiteral("Content-Security-Policy"), pagePolicy);
    page.headers.emplace_back(QByteArrayLiteral("X-Frame-Options"), QByteArrayLiteral("DENY"));
    // The connect page's address carries the challenge and state: no other site needs to see it.
    page.headers.emplace_back(QByteArrayLiteral("Referrer-Policy"), QByteArrayLiteral("no-referrer"));
    return page;
}

HttpResponse redirect(QByteArray location)
{
    HttpResponse response;
    response.status = 303;
    response = uncached(std::move(response));
    response.headers.emplace_back(QByteArrayLiteral("Location"), std::move(location));
    response.headers.emplace_back(QByteArrayLiteral("Referrer-Policy"), QByteArrayLiteral("no-referrer"));
    return response;
}

HttpResponse jsonError(int status, const QString& message)
{
    return uncached(HttpResponse::error(status, message));
}

HttpResponse accountApiError(const AccountError& error)
{
    switch (error.kind) {
    case AccountError::Kind::unauthorized:
        return withHeader(
            jsonError(401, error.description()), QByteArrayLiteral("WWW-Authenticate"), QByteArrayLiteral("Bearer"));
    case AccountError::Kind::failure:
        return jsonError(503, error.description());
    case AccountError::Kind::settingsTooLarge:
        return jsonError(413, error.description());
    case AccountError::Kind::versionRequired:
        return jsonError(428, error.description());
    default:
        return jsonError(400, error.description());
    }
}

HttpResponse methodNotAllowed(const HttpRequest& request, QByteArray allowed)
{
    return withHeader(
        HttpResponse::error(405, QStringLiteral("method not allowed: ") + QString::fromLatin1(request.method)),
        QByteArrayLiteral("Allow"), std::move(allowed));
}

// An application/x-www-form-urlencoded body: "+" is a space, then percent-decoding.
QueryItems formFields(const QByteArray& body)
{
    const auto decode = [](QByteArray text) { return QUrl::fromPercentEncoding(text.replace('+', ' ')); };
    QueryItems fields;
    for (const QByteArray& pair : body.split('&')) {
        if (pair.isEmpty())
            continue;
        const qsizetype equals = pair.indexOf('=');
        fields.emplace_back(decode(pair.left(equals)), equals < 0 ? QString() : decode(pair.mid(equals + 1)));
    }
    return fields;
}

std::optional<QString> valueOf(const QueryItems& fields, QStringView name)
{
    for (const auto& [key, value] : fields) {
        if (key == name)
            return value;
    }
    return std::nullopt;
}

std::optional<QString> bearerToken(const HttpRequest& request)
{
    const QByteArray value = request.header("Authorization").value_or(QByteArray()).trimmed();
    // The scheme's name is case-insensitive.
    if (value.left(7).toLower() != "bearer ")
        return std::nullopt;
    const QByteArray token = value.mid(7).trimmed();
    if (token.isEmpty())
        return std::nullopt;
    return QString::fromLatin1(token);
}

std::optional<QString> cookie(const HttpRequest& request, QByteArrayView name)
{
    for (const QByteArray& pair : request.header("Cookie").value_or(QByteArray()).split(';')) {
        const QByteArray trimmed = pair.trimmed();
        const qsizetype equals = trimmed.indexOf('=');
        if (equals > 0 && QByteArrayView(trimmed).first(equals) == name)
            return QString::fromLatin1(trimmed.mid(equals + 1));
    }
    return std::nullopt;
}

} // namespace tessary::server
