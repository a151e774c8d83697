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

std::optional<QByteArray> HttpRequest::header(QByteArrayView name) const
{
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

HttpResponse HttpResponse::json(QByteArray body, int status)
{
    HttpResponse response;
    response.status = status;
    response.contentType = QByteArrayLiteral("application/json");
    response.body = std::move(body);
    return response;
}

HttpResponse HttpResponse::error(int status, const QString& message)
{
    return json(encodeErrorBody(message), status);
}

} // namespace tessary::server
