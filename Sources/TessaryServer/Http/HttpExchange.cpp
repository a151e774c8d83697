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

namespace {

std::optional<QByteArray> firstHeader(const HeaderList& headers, QByteArrayView name)
{
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return std::nullopt;
}

} // namespace

std::optional<QByteArray> HttpRequest::header(QByteArrayView name) const
{
    return firstHeader(headers, name);
}

std::optional<QByteArray> HttpResponse::header(QByteArrayView name) const
{
    return firstHeader(headers, name);
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
