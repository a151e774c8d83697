#include "GuardedConnection.h"

#include "ConnectionGuard.h"
#include "HttpExchange.h"

#include <QTcpSocket>

#include <algorithm>
#include <charconv>

namespace tessary::server {

namespace {

const QString bodyTooLargeText = QStringLiteral("The request body is larger than %1 MB.");
const QString headTooLargeText = QStringLiteral("The request head is larger than %1 KB.");
const QString lengthRequiredText = QStringLiteral("A request body needs a Content-Length.");
const QString badLengthText = QStringLiteral("The Content-Length is not a number.");

constexpr QByteArrayView headEnd = "\r\n\r\n";

// The value of a header in a complete head, trimmed; several occurrences must agree.
struct HeaderValue {
    QByteArrayView value;
    bool present = false;
    bool conflicting = false;
};

HeaderValue headerValue(QByteArrayView head, QByteArrayView name)
{
    HeaderValue found;
    qsizetype lineStart = head.indexOf("\r\n"); // past the request line
    while (lineStart >= 0) {
        lineStart += 2;
        qsizetype lineEnd = head.indexOf("\r\n", lineStart);
        const QByteArrayView line = head.sliced(lineStart, (lineEnd < 0 ? head.size() : lineEnd) - lineStart);
        const qsizetype colon = line.indexOf(':');
        if (colon > 0 && line.first(colon).trimmed().compare(name, Qt::CaseInsensitive) == 0) {
            const QByteArrayView value = line.sliced(colon + 1).trimmed();
            found.conflicting = found.conflicting || (found.present && value != found.value);
            found.value = value;
            found.present = true;
        }
        lineStart = lineEnd;
    }
    return found;
}

std::optional<qint64> parseLength(QByteArrayView text)
{
    qint64 length = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), length);
    if (text.isEmpty() || error != std::errc() || end != text.end() || length < 0)
        return std::nullopt;
    return length;
}

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 411:
        return QByteArrayLiteral("Length Required");
    case 413:
        return QByteArrayLiteral("Payload Too Large");
    case 431:
        return QByteArrayLiteral("Request Header Fields Too Large");
    default:
        return QByteArrayLiteral("Bad Request");
    }
}

} // namespace

GuardedConnection::GuardedConnection(QTcpSocket* socket, ConnectionGuard& guard)
    : QObject(socket)
    , m_socket(socket)
    , m_guard(&guard)
{
    m_lastProgress.start();
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(guard.limits().timeout);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        // Something still waiting to be written means the client stopped reading; waiting
        // for it to drain would hold the connection forever.
        if (m_socket->bytesToWrite() > 0)
            m_socket->abort();
        else
            m_socket->disconnectFromHost();
    });
    connect(socket, &QTcpSocket::readyRead, this, &GuardedConnection::onReadyRead);
    connect(socket, &QTcpSocket::bytesWritten, this, &GuardedConnection::progressed);
    connect(socket, &QTcpSocket::disconnected, this, [this] {
        if (m_guard)
            m_guard->forget(this);
    });
    m_deadline.start();
}

GuardedConnection::~GuardedConnection()
{
    if (m_guard)
        m_guard->forget(this);
}

void GuardedConnection::onReadyRead()
{
    if (m_refused) {
        // Already answered: whatever else arrives is dropped unread, a chunk at a time.
        m_socket->skip(m_socket->bytesAvailable());
        return;
    }
    follow(m_socket->peek(m_socket->bytesAvailable()));
}

void GuardedConnection::follow(QByteArrayView bytes)
{
    const ConnectionLimits& limits = m_guard->limits();
    while (!bytes.isEmpty()) {
        if (m_bodyLeft > 0) {
            const qsizetype taken = std::min<qint64>(m_bodyLeft, bytes.size());
            m_bodyLeft -= taken;
            bytes = bytes.sliced(taken);
            progressed();
            continue;
        }
        if (m_head.isEmpty()) {
            // Blank lines between requests are allowed and belong to no head.
            while (!bytes.isEmpty() && (bytes.front() == '\r' || bytes.front() == '\n'))
                bytes = bytes.sliced(1);
            if (bytes.isEmpty())
                return;
        }
        const qsizetype before = m_head.size();
        const qsizetype wanted = std::min<qsizetype>(bytes.size(), limits.largestHead + headEnd.size() - before);
        m_head.append(bytes.first(wanted));
        const qsizetype end = m_head.indexOf(headEnd, std::max<qsizetype>(0, before - (headEnd.size() - 1)));
        if (end < 0) {
            if (m_head.size() > limits.largestHead)
                return refuse(431, headTooLargeText.arg(limits.largestHead / 1024));
            return;
        }
        bytes = bytes.sliced(end + headEnd.size() - before);
        const QByteArray head = std::exchange(m_head, {}).first(end);
        if (!headComplete(head))
            return;
    }
}

bool GuardedConnection::headComplete(QByteArrayView head)
{
    const qsizetype largestBody = m_guard->limits().largestBody;
    if (headerValue(head, "Transfer-Encoding").present) {
        // Chunked bodies announce no size up front; every client of this server sends one.
        refuse(411, lengthRequiredText);
        return false;
    }
    const HeaderValue length = headerValue(head, "Content-Length");
    const auto bodyLength = length.present ? parseLength(length.value) : std::optional<qint64>(0);
    if (!bodyLength || length.conflicting) {
        refuse(400, badLengthText);
        return false;
    }
    if (*bodyLength > largestBody) {
        refuse(413, bodyTooLargeText.arg(largestBody / (1024 * 1024)));
        return false;
    }
    m_bodyLeft = *bodyLength;
    progressed();
    return true;
}

void GuardedConnection::refuse(int status, const QString& message)
{
    m_refused = true;
    const HttpResponse response = HttpResponse::error(status, message);
    QByteArray bytes = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status) + "\r\n";
    bytes += "Content-Type: " + response.contentType + "\r\n";
    bytes += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    bytes += "Connection: close\r\n\r\n" + response.body;
    // Taken from under the HTTP server's parser, which then finds nothing to read.
    m_socket->skip(m_socket->bytesAvailable());
    m_socket->write(bytes);
    m_socket->disconnectFromHost();
}

void GuardedConnection::progressed()
{
    m_lastProgress.restart();
    m_deadline.start();
}

} // namespace tessary::server
