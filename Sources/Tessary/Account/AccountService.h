#pragma once

#include "AccountError.h"
#include "Credentials.h"

#include "Tessary/MarketData/APIClient.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <expected>
#include <functional>
#include <optional>
#include <utility>

class QNetworkAccessManager;

namespace tessary {

class LoopbackServer;

// An answer of the account server that got past the 401 rule: the caller decides what the
// other statuses mean.
struct AccountReply {
    int status = 0;
    QByteArray body;
    QList<std::pair<QByteArray, QByteArray>> headers;

    QByteArray header(const QByteArray& name) const;
};

using RawHeaders = QList<std::pair<QByteArray, QByteArray>>;

// The user's session with the account server: signing in through the browser, keeping the
// token in `account.json`, and the one request function every account request goes through,
// which turns a 401 into an immediate local sign-out.
class AccountService : public QObject {
    Q_OBJECT

public:
    enum class Status { signedOut, waitingForBrowser, signedIn };
    Q_ENUM(Status)

    // Opens the connect page; returns whether a browser could be asked to.
    using BrowserOpener = std::function<bool(const QUrl&)>;

    // Reads the session from `dataDirectory`/account.json; a missing or damaged file is
    // simply signed out.
    AccountService(QString dataDirectory, QNetworkAccessManager* network, QObject* parent = nullptr);
    ~AccountService() override;

    // The session API and the web front end (whose connect page the browser opens). Fixed once
    // the service they name is known; nothing is requested before.
    void setEndpoints(QUrl sessionApi, QUrl web);
    const QUrl& server() const { return m_server; }
    const QUrl& web() const { return m_web; }
    // How the browser is opened: the desktop's default browser unless told otherwise.
    void setBrowserOpener(BrowserOpener opener) { m_openBrowser = std::move(opener); }
    // The longest a whole account request may take, however the server trickles its reply.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }
    // The computer's name the connect page shows ("Connect Tessary on NAME?").
    static QString computerName();

    Status status() const { return m_status; }
    const std::optional<QString>& email() const { return m_email; }
    const std::optional<QString>& lastError() const { return m_lastError; }
    const std::optional<QString>& token() const { return m_token; }
    QString credentialsFile() const;
    // The connect page of the sign-in under way, for machines where no browser opens.
    const std::optional<QUrl>& connectUrl() const { return m_connectUrl; }

    // The browser flow; true when it ended signed in.
    QCoro::Task<bool> signIn();
    // Gives up a sign-in that waits for the browser.
    void cancelSignIn();
    QCoro::Task<std::expected<void, AccountError>> refreshInfo();
    // Revokes the token on the server (best effort), then forgets it here.
    QCoro::Task<> signOut();
    // Forgets the session here only.
    void clear();

    QCoro::Task<std::expected<AccountReply, AccountError>> send(
        QString path, QByteArray method, std::optional<QByteArray> body = std::nullopt, RawHeaders headers = {});

Q_SIGNALS:
    void statusChanged(AccountService::Status status);
    void emailChanged();
    void lastErrorChanged();
    void connectUrlChanged();
    // The session ended, by the user or by the server (a 401).
    void signedOut();

private:
    QCoro::Task<std::expected<void, AccountError>> runSignIn();
    QCoro::Task<std::expected<QString, AccountError>> exchange(QString code, QString verifier);
    void setStatus(Status status);
    void setLastError(const std::optional<QString>& error);
    void setEmail(const std::optional<QString>& email);
    void persist();

    QString m_dataDirectory;
    QPointer<QNetworkAccessManager> m_network;
    std::chrono::milliseconds m_timeout = APIClient::defaultTimeout;
    QUrl m_server;
    QUrl m_web;
    BrowserOpener m_openBrowser;
    Status m_status = Status::signedOut;
    std::optional<QString> m_email;
    std::optional<QString> m_lastError;
    std::optional<QString> m_failedWrite; // the error of the last failed write of the token file
    std::optional<QString> m_token;
    std::optional<QUrl> m_connectUrl;
    QPointer<LoopbackServer> m_loopback;
};

} // namespace tessary
