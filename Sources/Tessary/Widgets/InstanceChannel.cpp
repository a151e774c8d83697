#include "InstanceChannel.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

#include <unistd.h>

namespace tessary {

namespace {

const QByteArray showWidgetsLine = QByteArrayLiteral("show-widgets\n");
const QByteArray raiseWindowLine = QByteArrayLiteral("raise-window\n");
constexpr int connectMilliseconds = 2000;

} // namespace

InstanceChannel::InstanceChannel(QString dataDirectory, QObject* parent)
    : QObject(parent)
    , m_name(socketName(dataDirectory))
    , m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &InstanceChannel::accept);
}

QString InstanceChannel::socketName(const QString& dataDirectory)
{
    // The directory's path would not fit a socket name; a short digest of it does.
    const QByteArray path = QDir::cleanPath(QDir(dataDirectory).absolutePath()).toUtf8();
    const QByteArray digest = QCryptographicHash::hash(path, QCryptographicHash::Sha256).toHex().left(12);
    return QStringLiteral("%1-%2-%3")
        .arg(QStringLiteral(TESSARY_APP_ID))
        .arg(getuid())
        .arg(QString::fromLatin1(digest));
}

InstanceChannel::Listening InstanceChannel::listen()
{
    // Asked first: with access limited to the user, QLocalServer binds in a private folder
    // and renames the socket into place, which would silently take the name from a running
    // instance. A socket file left by a crashed one answers nobody and is cleared.
    QLocalSocket probe;
    probe.connectToServer(m_name);
    if (probe.waitForConnected(connectMilliseconds))
        return Listening::anotherIsRunning;
    QLocalServer::removeServer(m_name);
    return m_server->listen(m_name) ? Listening::started : Listening::failed;
}

QString InstanceChannel::errorString() const
{
    return m_server->errorString();
}

void InstanceChannel::accept()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            while (socket->canReadLine()) {
                const QByteArray line = socket->readLine();
                if (line == showWidgetsLine)
                    Q_EMIT showWidgetsRequested();
                else if (line == raiseWindowLine)
                    Q_EMIT raiseWindowRequested();
            }
        });
    }
}

std::expected<void, InstanceError> InstanceChannel::send(const QString& dataDirectory, Request request)
{
    // A one-shot exchange from a process with no window yet: waiting here blocks nothing else.
    QLocalSocket socket;
    socket.connectToServer(socketName(dataDirectory));
    if (!socket.waitForConnected(connectMilliseconds))
        return std::unexpected(InstanceError { noInstanceText.toString() });
    socket.write(request == Request::showWidgets ? showWidgetsLine : raiseWindowLine);
    if (!socket.waitForBytesWritten(connectMilliseconds))
        return std::unexpected(InstanceError { socket.errorString() });
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(connectMilliseconds);
    return {};
}

} // namespace tessary
