#include "HttpExchange.h"

#include "WireEncoding.h"

namespace tessary::server {

std::optional<QString> HttpRequest::item(QStringView name) const
{
    for (const auto& [key, value] : query) {
        if (key == name)
            return value;
    }
    return std::nullopt;
}

HttpResponse HttpResponse::json(QByteArray body, int status)
{
    return HttpResponse {
        .status = status, .contentType = QByteArrayLiteral("application/json"), .body = std::move(body)
    };
}

HttpResponse HttpResponse::error(int status, const QString& message)
{
    return json(encodeErrorBody(message), status);
}

} // namespace tessary::server
