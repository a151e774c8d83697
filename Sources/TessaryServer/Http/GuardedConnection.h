#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

class QTcpSocket;

namespace tessary::server {

class ConnectionGuard;
struct ConnectionLimits;

// Follows the requests on one socket just far enough to know where each head and body ends,
// and closes the socket when a client sends too much or too slowly. Lives as the socket's
// child.
class GuardedConnection : public QObject {
    Q_OBJECT

public:
    GuardedConnection(QTcpSocket* socket, ConnectionGuard& guard);
    ~GuardedConnection() override;

    QTcpSocket* socket() const { return m_socket; }
    // Milliseconds since bytes last moved on this connection or a request completed.
    qint64 quietFor() const { return m_lastProgress.elapsed(); }

private:
    void onReadyRead();
    // Reads the framing in `bytes`, which the HTTP server has not seen yet.
    void follow(QByteArrayView bytes);
    // Called with the complete head of a request (without its blank line); false when the
    // request was refused.
    bool headComplete(QByteArrayView head);
    // Answers with an error and closes; the rest of the request is never read.
    void refuse(int status, const QString& message);
    void progressed();

    QTcpSocket* m_socket;
    // Gone only while the listener itself is being destroyed.
    QPointer<ConnectionGuard> m_guard;
    QByteArray m_head; // the current request's head so far
    qint64 m_bodyLeft = 0;
    bool m_refused = false;
    QElapsedTimer m_lastProgress;
    // Runs out when a head takes too long or nothing moves for too long.
    QTimer m_deadline;
};

} // namespace tessary::server
