#include "AccountService.h"

#include "LoopbackServer.h"
#include "Pkce.h"

#include "Tessary/MarketData/APIClient.h"
#include "Tessary/MarketData/ReplyBounds.h"
#include "Tessary/Shell/NetworkReply.h"

#include <QCoroNetworkReply>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSysInfo>
#include <QUrlQuery>

#include <memory>

namespace tessary {

namespace {

const QString credentialsFileName = QStringLiteral("account.json");
const QString connectPath = QStringLiteral("connect/mac");
const QString fallbackComputerName = QStringLiteral("Mac");

std::optional<QString> jsonText(const QByteArray& body, QLatin1StringView key)
{
    const QJsonValue value = QJsonDocument::fromJson(body).object().value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

} // namespace

QByteArray AccountReply::header(const QByteArray& name) const
{
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

AccountService::AccountService(QString dataDirectory, QNetworkAccessManager* network, QObject* parent)
    : QObject(parent)
    , m_dataDirectory(std::move(dataDirectory))
    , m_network(network)
    , m_openBrowser([](const QUrl& url) { return QDesktopServices::openUrl(url); })
{
    if (const auto credentials = Credentials::read(credentialsFile())) {
        m_token = credentials->token;
        m_email = credentials->email;
        m_status = Status::signedIn;
    }
}

AccountService::~AccountService()
{
    if (m_loopback)
        m_loopback->cancel();
}

void AccountService::setEndpoints(QUrl sessionApi, QUrl web)
{
    m_server = std::move(sessionApi);
    m_web = std::move(web);
}

QString AccountService::computerName()
{
    const QString name = QSysInfo::machineHostName();
    return name.isEmpty() ? fallbackComputerName : name;
}

QString AccountService::credentialsFile() const
{
    return QDir(m_dataDirectory).filePath(credentialsFileName);
}

QCoro::Task<bool> AccountService::signIn()
{
    QPointer<AccountService> self(this);
    setStatus(Status::waitingForBrowser);
    setLastError(std::nullopt);
    const auto result = co_await runSignIn();
    if (!self)
        co_return false;
    m_connectUrl.reset();
    Q_EMIT connectUrlChanged();
    if (!result) {
        // A token from this attempt whose account could not be read is not a session.
        if (m_token)
            clear();
        setStatus(Status::signedOut);
        setLastError(result.error().description());
        co_return false;
    }
    setStatus(Status::signedIn);
    co_return true;
}

QCoro::Task<std::expected<void, AccountError>> AccountService::runSignIn()
{
    QPointer<AccountService> self(this);
    const QString verifier = Pkce::makeVerifier();
    const QString state = Pkce::makeState();
    auto loopback = std::make_unique<LoopbackServer>();
    m_loopback = loopback.get();
    const auto port = loopback->start();
    if (!port)
        co_return std::unexpected(port.error());

    QUrl url = urlBelow(m_web, connectPath);
    QUrlQuery query;
    query.setQueryItems(
        { { QStringLiteral("challenge"), Pkce::challenge(verifier) }, { QStringLiteral("state"), state },
            { QStringLiteral("port"), QString::number(*port) }, { QStringLiteral("name"), computerName() } });
    url.setQuery(query);
    m_connectUrl = url;
    Q_EMIT connectUrlChanged();
    // A machine without a browser still has the link to copy, so a failed open is not fatal.
    m_openBrowser(url);

    const auto callback = co_await loopback->waitForCallback();
    if (!self)
        co_return std::unexpected(AccountError::cancelled());
    if (!callback)
        co_return std::unexpected(callback.error());
    // In this order: a forged or stale callback is refused before anything else is believed.
    if (callback->value(QStringLiteral("state")) != state)
        co_return std::unexpected(AccountError::badCallback());
    if (callback->contains(QStringLiteral("error")))
        co_return std::unexpected(AccountError::cancelled());
    if (!callback->contains(QStringLiteral("code")))
        co_return std::unexpected(AccountError::badCallback());

    const auto token = co_await exchange(callback->value(QStringLiteral("code")), verifier);
    if (!self)
        co_return std::unexpected(AccountError::cancelled());
    if (!token)
        co_return std::unexpected(token.error());
    m_token = *token;
    persist();
    const auto info = co_await refreshInfo();
    if (!self)
        co_return std::unexpected(AccountError::cancelled());
    if (!info)
        co_return std::unexpected(info.error());
    co_return {};
}

void AccountService::cancelSignIn()
{
    if (m_loopback)
        m_loopback->cancel();
}

QCoro::Task<std::expected<QString, AccountError>> AccountService::exchange(QString code, QString verifier)
{
    const QJsonObject body { { QStringLiteral("code"), code }, { QStringLiteral("verifier"), verifier } };
    auto reply
        = co_await send(QStringLiteral("device/token"), "POST", QJsonDocument(body).toJson(QJsonDocument::Compact));
    if (!reply)
        co_return std::unexpected(reply.error());
    if (reply->status < 200 || reply->status > 299)
        co_return std::unexpected(AccountError::http(reply->status));
    const auto token = jsonText(reply->body, QLatin1StringView("token"));
    if (!token || token->isEmpty())
        co_return std::unexpected(AccountError::badCallback());
    co_return *token;
}

QCoro::Task<std::expected<void, AccountError>> AccountService::refreshInfo()
{
    QPointer<AccountService> self(this);
    auto reply = co_await send(QStringLiteral("account/info"), "GET");
    if (!self)
        co_return std::unexpected(AccountError::cancelled());
    if (!reply)
        co_return std::unexpected(reply.error());
    if (reply->status < 200 || reply->status > 299)
        co_return std::unexpected(AccountError::http(reply->status));
    setEmail(jsonText(reply->body, QLatin1StringView("email")));
    persist();
    co_return {};
}

QCoro::Task<> AccountService::signOut()
{
    QPointer<AccountService> self(this);
    if (m_token) {
        // Revoked on the server if it answers; forgotten here whatever it says.
        co_await send(QStringLiteral("device/token"), "DELETE");
        if (!self)
            co_return;
    }
    clear();
}

void AccountService::clear()
{
    QFile::remove(credentialsFile());
    const bool wasSignedIn = m_token.has_value();
    m_token.reset();
    setEmail(std::nullopt);
    setStatus(Status::signedOut);
    if (wasSignedIn)
        Q_EMIT signedOut();
}

QCoro::Task<std::expected<AccountReply, AccountError>> AccountService::send(
    QString path, QByteArray method, std::optional<QByteArray> body, RawHeaders headers)
{
    QPointer<AccountService> self(this);
    if (!m_network || m_server.isEmpty())
        co_return std::unexpected(AccountError::transport(QStringLiteral("The account service is not running.")));
    QNetworkRequest request(urlBelow(m_server, path));
    if (m_token)
        request.setRawHeader("Authorization", "Bearer " + m_token->toUtf8());
    request.setRawHeader("User-Agent", QByteArray(APIClient::userAgent.data(), APIClient::userAgent.size()));
    if (body)
        request.setRawHeader("Content-Type", "application/json");
    for (const auto& [name, value] : headers)
        request.setRawHeader(name, value);
    const OwnedReply reply(m_network->sendCustomRequest(request, method, body.value_or(QByteArray())));
    const auto* bounds = new ReplyBounds(reply.get(), m_timeout, APIClient::largestBody);
    if (!co_await reply.finished() || !self)
        co_return std::unexpected(AccountError::cancelled());
    if (bounds->cutOff())
        co_return std::unexpected(AccountError::transport(bounds->cutOff()->description()));
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        co_return std::unexpected(AccountError::transport(reply->errorString()));
    AccountReply answer { status.toInt(), reply->readAll(), {} };
    for (const auto& pair : reply->rawHeaderPairs())
        answer.headers.append({ pair.first, pair.second });
    if (answer.status == 401) {
        clear();
        setLastError(AccountError::signedOut().description());
        co_return std::unexpected(AccountError::signedOut());
    }
    co_return answer;
}

void AccountService::persist()
{
    if (!m_token)
        return;
    const auto written = Credentials { *m_token, m_email }.write(credentialsFile());
    if (!written)
        setLastError(written.error().description());
    // Saved at last (the disk has room again): the line about the failed write goes.
    else if (m_lastError == m_failedWrite)
        setLastError(std::nullopt);
    m_failedWrite = written ? std::nullopt : std::optional(written.error().description());
}

void AccountService::setStatus(Status status)
{
    if (status == m_status)
        return;
    m_status = status;
    Q_EMIT statusChanged(status);
}

void AccountService::setLastError(const std::optional<QString>& error)
{
    if (error == m_lastError)
        return;
    m_lastError = error;
    Q_EMIT lastErrorChanged();
}

void AccountService::setEmail(const std::optional<QString>& email)
{
    if (email == m_email)
        return;
    m_email = email;
    Q_EMIT emailChanged();
}

} // namespace tessary
