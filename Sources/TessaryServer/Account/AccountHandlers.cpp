#include "AccountHandlers.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

#include "ConnectPage.h"

namespace tessary::server {

namespace {

const auto brokenLinkTitle = QStringLiteral("This sign-in link does not work");
const auto startAgainText = QStringLiteral("Start signing in again from Tessary.");
const auto expiredFormTitle = QStringLiteral("This sign-in page has expired");
const auto expiredFormText = QStringLiteral("It can no longer be used. Start signing in again from Tessary.");
const auto unavailableTitle = QStringLiteral("Sign-in is not available right now");
const auto badDecisionText = QStringLiteral("The form must be answered with Approve or Deny.");
const auto throttledText = QStringLiteral("Too many failed sign-ins. Try again in a few minutes.");
const auto badTokenRequestText
    = QStringLiteral("The body must be a JSON object with the texts \"code\" and \"verifier\".");

// The pages run no script and load nothing; the form may only post here, and a browser that
// checks where a form submission is redirected must let it go to the app's listener.
const auto pagePolicy = QByteArrayLiteral("default-src 'none'; style-src 'unsafe-inline'; form-action 'self' "
                                          "http://127.0.0.1:*; frame-ancestors 'none'; base-uri 'none'");

HttpResponse withHeader(HttpResponse response, QByteArray name, QByteArray value)
{
    response.headers.emplace_back(std::move(name), std::move(value));
    return response;
}

// Nothing here may be kept by a cache: pages carry form keys, replies carry tokens.
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
    // The page's own address carries the challenge and state: no other site needs to see it.
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

HttpResponse unavailablePage(const AccountError& error)
{
    return htmlPage(messagePage(unavailableTitle, error.description()), 503);
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

} // namespace

AccountHandlers::AccountHandlers(Accounts& accounts, bool signup)
    : m_accounts(accounts)
    , m_signup(signup)
{
}

bool AccountHandlers::serves(QStringView path)
{
    return path == u"/connect/mac" || path == u"/device/token" || path == u"/account/info";
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
    const QString password = valueOf(fields, u"password").value_or(QString());
    const QDateTime now = m_accounts.now();
    const QString emailKey = QStringLiteral("email:") + Accounts::normalisedEmail(email).value_or(email);
    const QString addressKey = QStringLiteral("address:") + clientAddress;

    const auto until = std::max(m_throttle.refusedUntil(emailKey, now), m_throttle.refusedUntil(addressKey, now));
    if (until) {
        return std::unexpected(withHeader(pageAgain(connect, email, throttledText, 429),
            QByteArrayLiteral("Retry-After"), QByteArray::number(now.secsTo(*until) + 1)));
    }
    if (m_signup && valueOf(fields, u"signup") == u"1") {
        if (const auto added = m_accounts.add(email, password); !added) {
            const bool broken = added.error().kind == AccountError::Kind::failure;
            return std::unexpected(pageAgain(connect, email, added.error().description(), broken ? 503 : 400));
        }
    }
    const auto account = m_accounts.signIn(email, password);
    if (account) {
        m_throttle.forget(emailKey);
        return *account;
    }
    if (account.error().kind != AccountError::Kind::wrongCredentials)
        return std::unexpected(unavailablePage(account.error()));
    m_throttle.recordFailure(emailKey, now);
    m_throttle.recordFailure(addressKey, now);
    return std::unexpected(pageAgain(connect, email, account.error().description(), 403));
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
