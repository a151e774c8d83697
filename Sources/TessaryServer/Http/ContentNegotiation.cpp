#include "ContentNegotiation.h"

#include "Gzip.h"

#include <QCryptographicHash>

namespace tessary::server {

namespace {

// If-None-Match lists tags separated by commas, or is "*"; a weak W/ prefix still names the
// same representation for a GET.
bool matchesAnyTag(const QByteArray& header, const QByteArray& tag)
{
    for (const QByteArray& item : header.split(',')) {
        QByteArrayView candidate = QByteArrayView(item).trimmed();
        if (candidate.startsWith("W/"))
            candidate = candidate.sliced(2);
        if (candidate == "*" || candidate == tag)
            return true;
    }
    return false;
}

} // namespace

QByteArray entityTag(QByteArrayView body)
{
    const QByteArray digest = QCryptographicHash::hash(body, QCryptographicHash::Sha1);
    return '"' + digest.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals) + '"';
}

HttpResponse withEntityTag(HttpResponse response)
{
    response.headers.emplace_back(QByteArrayLiteral("ETag"), entityTag(response.body));
    return response;
}

bool acceptsGzip(const QByteArray& acceptEncoding)
{
    for (const QByteArray& item : acceptEncoding.split(',')) {
        const QList<QByteArray> parts = item.split(';');
        const QByteArray coding = parts.front().trimmed().toLower();
        if (coding != "gzip" && coding != "x-gzip")
            continue;
        for (qsizetype i = 1; i < parts.size(); ++i) {
            const QByteArray parameter = parts[i].trimmed().toLower();
            if (parameter.startsWith("q=") && parameter.sliced(2).toDouble() <= 0)
                return false;
        }
        return true;
    }
    return false;
}

HttpResponse ContentNegotiation::apply(const HttpRequest& request, HttpResponse response) const
{
    const bool readOnly = request.method == "GET" || request.method == "HEAD";
    if (readOnly && response.status == 200) {
        const auto tag = response.header("ETag");
        const auto held = request.header("If-None-Match");
        if (tag && held && matchesAnyTag(*held, *tag)) {
            response.status = 304;
            response.body.clear();
            return response;
        }
    }
    if (gzipLevel <= 0 || response.body.size() <= minimumGzipSize)
        return response;
    // The same URL answers in either coding, so a cache on the way keys on the header too.
    response.headers.emplace_back(QByteArrayLiteral("Vary"), QByteArrayLiteral("Accept-Encoding"));
    const auto accepted = request.header("Accept-Encoding");
    if (!accepted || !acceptsGzip(*accepted))
        return response;
    QByteArray coded = gzip(response.body, gzipLevel, response.literalRanges);
    if (coded.isEmpty())
        return response;
    response.body = std::move(coded);
    response.literalRanges.clear();
    response.headers.emplace_back(QByteArrayLiteral("Content-Encoding"), QByteArrayLiteral("gzip"));
    return response;
}

} // namespace tessary::server
