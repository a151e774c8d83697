#pragma once

#include "ConnectionGuard.h"
#include "HttpExchange.h"

#include <QAbstractHttpServer>
#include <QHostAddress>

#include <expected>
#include <functional>

namespace tessary::server {

// The address and port could not be bound: in use, not this machine's, or not allowed.
struct ListenError {
    QString address;
    quint16 port = 0;

    QString description() const;
};

// Moves bytes between sockets and a pure handler: every request, whatever its path, is
// turned into an HttpRequest and answered with the handler's HttpResponse.
class HttpTransport : public QAbstractHttpServer {
    Q_OBJECT

public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    explicit HttpTransport(Handler handler, ConnectionLimits limits = {}, QObject* parent = nullptr);

    // Binds and listens; port 0 picks a free one. Returns the port actually bound.
    std::expected<quint16, ListenError> start(const QHostAddress& address, quint16 port);

    // "127.0.0.1", "::1", "0.0.0.0" or "localhost"; anything else is not an address.
    static std::optional<QHostAddress> parseHost(const QString& host);

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

private:
    Handler m_handler;
    ConnectionLimits m_limits;
};

} // namespace tessary::server
