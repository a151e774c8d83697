#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

namespace tessary::server {

using QueryItems = QList<std::pair<QString, QString>>;
using HeaderList = QList<std::pair<QByteArray, QByteArray>>;
// Byte ranges [begin, end) of a body.
using ByteRanges = QList<std::pair<qsizetype, qsizetype>>;

// A request as the handlers see it: already parsed, no socket in sight.
struct HttpRequest {
    QByteArray method = QByteArrayLiteral("GET");
    QString path;
    QueryItems query; // fully decoded, in the order sent
    HeaderList headers; // as sent
    QByteArray body;
    QString clientAddress; // the peer's IP address, for throttling

    // The first value of a query item, if it was sent at all.
    std::optional<QString> item(QStringView name) const;
    // The first value of a header, whatever the case of its name.
    std::optional<QByteArray> header(QByteArrayView name) const;
};

// What a handler answers; the transport only moves these bytes.
struct HttpResponse {
    int status = 200;
    QByteArray contentType;
    QByteArray body;
    HeaderList headers; // beyond Content-Type and Content-Length
    // Where `body` holds text that seldom repeats, such as long arrays of unrelated decimals:
    // gzip codes these ranges symbol by symbol instead of searching them for repeats.
    ByteRanges literalRanges;

    // The first value of a header, whatever the case of its name.
    std::optional<QByteArray> header(QByteArrayView name) const;
    static HttpResponse json(QByteArray body, int status = 200);
    // {"error": message}
    static HttpResponse error(int status, const QString& message);
};

} // namespace tessary::server
