#pragma once

#include "AccountError.h"

#include <QCoroTask>
#include <QMap>
#include <QObject>
#include <QString>

#include <expected>
#include <optional>

class QTcpServer;
class QTcpSocket;

namespace tessary {

using CallbackItems = QMap<QString, QString>;

// The one-shot listener the browser is sent back to after the user approves: 127.0.0.1 only,
// one path (/callback), everything else a bare 404. It lives for one sign-in attempt. Its
// sockets are non-blocking on the thread that made it, so no lock guards the hand-over:
// a callback either resumes the one waiter or waits as `pending` for it to come.
class LoopbackServer : public QObject {
    Q_OBJECT

public:
    explicit LoopbackServer(QObject* parent = nullptr);
    ~LoopbackServer() override;

    // Listens on 127.0.0.1 at a port the system chooses, and returns it.
    std::expected<quint16, AccountError> start();
    // The callback's query items: at once when the browser came first, else when it comes.
    // Fails with `cancelled` after `cancel()`.
    QCoro::Task<std::expected<CallbackItems, AccountError>> waitForCallback();
    // Stops listening and fails any waiter with `cancelled`.
    void cancel();

    // The bytes answered for a request target: the result page for /callback (connected when
    // the items carry a code), a bodiless 404 otherwise. Public for tests of the exact reply.
    static QByteArray replyFor(const QByteArray& requestTarget, std::optional<CallbackItems>* callback = nullptr);
    // The same for the first bytes a browser sent: the target is read from the request line.
    static QByteArray replyToRequest(const QByteArray& request, std::optional<CallbackItems>* callback = nullptr);
    static QByteArray resultPage(bool connected);

Q_SIGNALS:
    // Emitted once: with the callback, or with the error that ended the wait.
    void finished(const std::expected<CallbackItems, AccountError>& result);

private:
    void accept();
    void respond(QTcpSocket* socket);
    void deliver(const std::expected<CallbackItems, AccountError>& result);

    QTcpServer* m_listener = nullptr;
    std::optional<std::expected<CallbackItems, AccountError>> m_pending;
    bool m_waiting = false;
    bool m_done = false;
};

} // namespace tessary
