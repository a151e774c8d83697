#include "HttpTransport.h"

#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QHttpServerResponse>
#include <QUrlQuery>

#include <exception>

namespace tessary::server {

namespace {

HttpRequest toHttpRequest(const QHttpServerRequest& request)
{
    HttpRequest parsed;
    switch (request.method()) {
    case QHttpServerRequest::Method::Get:
        parsed.method = QByteArrayLiteral("GET");
        break;
    case QHttpServerRequest::Method::Head:
        parsed.method = QByteArrayLiteral("HEAD");
        break;
    case QHttpServerRequest::Method::Post:
        parsed.method = QByteArrayLiteral("POST");
        break;
    case QHttpServerRequest::Method::Put:
        parsed.method = QByteArrayLiteral("PUT");
        break;
    case QHttpServerRequest::Method::Delete:
        parsed.method = QByteArrayLiteral("DELETE");
        break;
    default:
        parsed.method = QByteArrayLiteral("OTHER");
        break;
    }
    parsed.path = request.url().path(QUrl::FullyDecoded);
    const auto items = QUrlQuery(request.url()).queryItems(QUrl::FullyDecoded);
    parsed.query.reserve(items.size());
    for (const auto& [key, value] : items)
        parsed.query.emplace_back(key, value);
    for (const auto& [name, value] : request.headers())
        parsed.headers.emplace_back(name, value);
    parsed.body = request.body();
    parsed.clientAddress = request.remoteAddress().toString();
    return parsed;
}

} // namespace

HttpTransport::HttpTransport(Handler handler, ConnectionLimits limits, QObject* parent)
    : QAbstractHttpServer(parent)
    , m_handler(std::move(handler))
    , m_limits(limits)
{
}

QString ListenError::description() const
{
    return QStringLiteral("cannot listen on %1:%2").arg(address).arg(port);
}

std::expected<quint16, ListenError> HttpTransport::start(const QHostAddress& address, quint16 port)
{
    auto guard = std::make_unique<ConnectionGuard>(m_limits);
    if (!guard->listen(address, port))
        return std::unexpected(ListenError { address.toString(), port });
    const quint16 bound = guard->serverPort();
    bind(guard.release()); // now the HTTP server's child
    return bound;
}

std::optional<QHostAddress> HttpTransport::parseHost(const QString& host)
{
    if (host.compare(u"localhost", Qt::CaseInsensitive) == 0)
        return QHostAddress(QHostAddress::LocalHost);
    QHostAddress address;
    if (!address.setAddress(host))
        return std::nullopt;
    return address;
}

bool HttpTransport::handleRequest(const QHttpServerRequest& request, QTcpSocket* socket)
{
    HttpResponse response;
    try {
        response = m_handler(toHttpRequest(request));
    } catch (const std::exception& failure) {
        // Handlers report bad input as values; only running out of memory and the like lands
        // here, and the client still gets an answer.
        response = HttpResponse::error(500, QStringLiteral("internal error: ") + QString::fromUtf8(failure.what()));
    }
    QHttpServerResponse reply(
        response.contentType, response.body, static_cast<QHttpServerResponder::StatusCode>(response.status));
    for (const auto& [name, value] : response.headers)
        reply.addHeader(name, value);
    reply.write(makeResponder(request, socket));
    return true;
}

void HttpTransport::missingHandler(const QHttpServerRequest& request, QTcpSocket* socket)
{
    makeResponder(request, socket).write(QHttpServerResponder::StatusCode::NotFound);
}

} // namespace tessary::server
