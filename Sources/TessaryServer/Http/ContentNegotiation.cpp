#include "ContentNegotiation.h"

#include <QCryptographicHash>

#include <zlib.h>

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

QByteArray gzip(QByteArrayView data, int level, const ByteRanges& literalRanges)
{
    z_stream stream {};
    // 15 window bits plus 16: a gzip header and trailer instead of zlib's own.
    if (deflateInit2(&stream, level, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    // Each switch of coding closes a deflate block, whose successor starts with new code tables.
    const auto bound = static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(data.size())))
        + literalRanges.size() * 2 * 320;
    QByteArray out(bound, Qt::Uninitialized);
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const auto feed = [&](qsizetype from, qsizetype to) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data() + from));
        stream.avail_in = static_cast<uInt>(to - from);
        return deflate(&stream, Z_NO_FLUSH) != Z_STREAM_ERROR && stream.avail_in == 0;
    };
    // Searching digits that do not repeat finds little and costs most of the time; coded symbol
    // by symbol they come out as small. The searching resumes for the text between them.
    bool fed = true;
    qsizetype done = 0;
    for (const auto& [begin, end] : literalRanges) {
        fed = fed && feed(done, begin) && deflateParams(&stream, level, Z_HUFFMAN_ONLY) == Z_OK && feed(begin, end)
            && deflateParams(&stream, level, Z_DEFAULT_STRATEGY) == Z_OK;
        done = end;
    }
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data() + done));
    stream.avail_in = static_cast<uInt>(data.size() - done);
    const int result = fed ? deflate(&stream, Z_FINISH) : Z_STREAM_ERROR;
    const auto written = static_cast<qsizetype>(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END)
        return {};
    out.truncate(written);
    return out;
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
