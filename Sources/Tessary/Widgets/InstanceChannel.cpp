#include "InstanceChannel.h"

#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

namespace tessary {

namespace {

const QByteArray showWidgetsLine = QByteArrayLiteral("show-widgets\n");
constexpr int connectMilliseconds = 2000;

} // namespace

InstanceChannel::InstanceChannel(QObject* parent)
    : QObject(parent)
    , m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &InstanceChannel::accept);
}

QString InstanceChannel::socketName()
{
    return QStringLiteral("%1-%2").arg(QStringLiteral(TESSARY_APP_ID)).arg(getuid());
}

bool InstanceChannel::listen()
{
    if (m_server->listen(socketName()))
        return true;
    // A socket file left by a crashed instance answers nobody; one that answers is in use.
    QLocalSocket probe;
    probe.connectToServer(socketName());
    if (probe.waitForConnected(connectMilliseconds))
        return false;
    QLocalServer::removeServer(socketName());
    return m_server->listen(socketName());
}

void InstanceChannel::accept()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            while (socket->canReadLine()) {
                if (socket->readLine() == showWidgetsLine)
                    Q_EMIT showWidgetsRequested();
            }
        });
    }
}

std::expected<void, InstanceError> InstanceChannel::sendShowWidgets()
{
    // A one-shot command with no window of its own: waiting here blocks nothing else.
    QLocalSocket socket;
    socket.connectToServer(socketName());
    if (!socket.waitForConnected(connectMilliseconds))
        return std::unexpected(InstanceError { noInstanceText.toString() });
    socket.write(showWidgetsLine);
    if (!socket.waitForBytesWritten(connectMilliseconds))
        return std::unexpected(InstanceError { socket.errorString() });
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(connectMilliseconds);
    return {};
}

} // namespace tessary
