#include "ConnectionGuard.h"

#include "GuardedConnection.h"

#include <QTcpSocket>

#include <algorithm>

namespace tessary::server {

ConnectionGuard::ConnectionGuard(ConnectionLimits limits, QObject* parent)
    : QTcpServer(parent)
    , m_limits(limits)
{
}

ConnectionGuard::~ConnectionGuard() = default;

void ConnectionGuard::forget(GuardedConnection* connection)
{
    std::erase(m_connections, connection);
}

void ConnectionGuard::incomingConnection(qintptr descriptor)
{
    // A child of the listener, as QTcpServer's own sockets are; the HTTP server deletes it
    // once it disconnects.
    auto* socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(descriptor)) {
        delete socket;
        return;
    }
    if (std::ssize(m_connections) >= m_limits.connections) {
        // Room goes to the newcomer: a client that keeps connections open without using them
        // must not lock everyone else out.
        const auto quietest = std::ranges::max_element(m_connections, {}, &GuardedConnection::quietFor);
        QTcpSocket* evicted = (*quietest)->socket();
        m_connections.erase(quietest);
        evicted->abort();
    }
    // Connected to the socket before the HTTP server is, so it sees every byte first.
    m_connections.push_back(new GuardedConnection(socket, *this));
    addPendingConnection(socket);
}

} // namespace tessary::server
