#pragma once

#include <QTcpServer>

#include <chrono>
#include <vector>

namespace tessary::server {

class GuardedConnection;

// What one client may hold of the server.
struct ConnectionLimits {
    // Larger than the largest settings document, so that one still gets the account API's
    // own answer.
    qsizetype largestBody = 4 * 1024 * 1024;
    qsizetype largestHead = 64 * 1024;
    // A request head must arrive whole within this time, and an idle connection (nothing
    // moving either way) is closed after it.
    std::chrono::milliseconds timeout = std::chrono::seconds(15);
    // Past this many, the connection that has been quiet longest makes room for a new one.
    int connections = 256;
};

// The listening socket under the HTTP transport. Qt 6.4's QAbstractHttpServer reads every
// request body whole into memory and keeps a silent connection forever, so this reads the
// framing of each request alongside it (peeking, before the server's own parser sees the
// bytes): a body over the limit, a body without a Content-Length or a head too large is
// answered here and the connection closed; stalled and idle connections are closed on time;
// and the number of connections is capped.
class ConnectionGuard : public QTcpServer {
    Q_OBJECT

public:
    explicit ConnectionGuard(ConnectionLimits limits, QObject* parent = nullptr);
    ~ConnectionGuard() override;

    const ConnectionLimits& limits() const { return m_limits; }
    // Called by a connection when its socket is gone.
    void forget(GuardedConnection* connection);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    ConnectionLimits m_limits;
    std::vector<GuardedConnection*> m_connections;
};

} // namespace tessary::server
