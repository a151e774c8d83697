#include "FixtureServer.h"

#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

namespace tessary::test {

QByteArray RecordedRequest::header(const QByteArray& name) const
{
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

FixtureServer::FixtureServer()
{
    const quint16 port = listen(QHostAddress::LocalHost, 0);
    Q_ASSERT(port != 0);
    m_baseUrl = QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port));
}

FixtureServer::~FixtureServer()
{
    // Responders refer to sockets the base class owns; drop them first.
    m_pending.clear();
}

bool FixtureServer::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket)
{
    RecordedRequest recorded;
    switch (request.method()) {
    case QHttpServerRequest::Method::Get:
        recorded.method = "GET";
        break;
    case QHttpServerRequest::Method::Post:
        recorded.method = "POST";
        break;
    case QHttpServerRequest::Method::Put:
        recorded.method = "PUT";
        break;
    case QHttpServerRequest::Method::Delete:
        recorded.method = "DELETE";
        break;
    default:
        recorded.method = "OTHER";
        break;
    }
    recorded.path = request.url().path();
    recorded.query = request.url().query(QUrl::FullyEncoded).toUtf8();
    recorded.headers = request.headers();
    recorded.received = std::chrono::steady_clock::now();
    m_requests.append(recorded);

    const ScriptedReply reply = replyFor(recorded);
    if (reply.bytesPerSecond > 0) {
        trickle(socket, reply);
        return true;
    }
    auto responder = std::make_unique<QHttpServerResponder>(makeResponder(request, socket));
    if (reply.neverAnswer) {
        m_pending.push_back(std::move(responder));
    } else if (reply.delay.count() > 0) {
        QHttpServerResponder* waiting = responder.get();
        m_pending.push_back(std::move(responder));
        // The client may give up (and its socket go away) before the delay ends.
        QTimer::singleShot(reply.delay, this, [this, waiting, reply, connection = QPointer<QTcpSocket>(socket)] {
            const auto it = std::ranges::find(m_pending, waiting, &std::unique_ptr<QHttpServerResponder>::get);
            if (it == m_pending.end())
                return;
            if (connection && connection->state() == QAbstractSocket::ConnectedState)
                answer(**it, reply, connection);
            else
                finish();
            m_pending.erase(it);
        });
    } else {
        answer(*responder, reply, socket);
    }
    return true;
}

void FixtureServer::script(const QString& path, const QByteArray& queryPart, ScriptedReply reply)
{
    m_queryReplies.prepend({ path, queryPart, std::move(reply) });
}

ScriptedReply FixtureServer::replyFor(const RecordedRequest& request)
{
    for (const auto& [path, queryPart, reply] : m_queryReplies) {
        if (path == request.path && request.query.contains(queryPart))
            return reply;
    }
    auto found = m_replies.find(request.path);
    if (found == m_replies.end() || found->isEmpty())
        return ScriptedReply { 404, {}, {} };
    return found->size() > 1 ? found->takeFirst() : found->front();
}

void FixtureServer::finish()
{
    ++m_finished;
    Q_EMIT requestFinished();
}

void FixtureServer::missingHandler(const QHttpServerRequest&, QTcpSocket*)
{
}

void FixtureServer::trickle(QTcpSocket* socket, const ScriptedReply& reply)
{
    const QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + " Scripted\r\nContent-Type: "
        + reply.contentType + "\r\nContent-Length: " + QByteArray::number(reply.body.size()) + "\r\n\r\n";
    // A byte every tick, until the client gives up and the socket (the timer's parent) goes.
    auto* ticker = new QTimer(socket);
    auto remaining = std::make_shared<QByteArray>(head + reply.body);
    connect(ticker, &QTimer::timeout, socket, [this, socket, ticker, remaining] {
        socket->write(remaining->first(1));
        remaining->remove(0, 1);
        if (remaining->isEmpty()) {
            ticker->stop();
            finish();
        }
    });
    connect(socket, &QObject::destroyed, this, [this, remaining] {
        if (!remaining->isEmpty())
            finish();
    });
    ticker->start(1000 / reply.bytesPerSecond);
}

void FixtureServer::answer(QHttpServerResponder& responder, const ScriptedReply& reply, QTcpSocket* socket)
{
    responder.writeStatusLine(static_cast<QHttpServerResponder::StatusCode>(reply.status));
    if (!reply.contentType.isEmpty())
        responder.writeHeader("Content-Type", reply.contentType);
    for (const auto& [name, value] : reply.headers)
        responder.writeHeader(name, value);
    responder.writeHeader("Content-Length", QByteArray::number(reply.body.size()));
    if (!reply.truncate) {
        responder.writeBody(reply.body);
    } else {
        responder.writeBody(reply.body.left(reply.body.size() / 2));
        socket->flush();
        socket->disconnectFromHost();
    }
    finish();
}

} // namespace tessary::test
