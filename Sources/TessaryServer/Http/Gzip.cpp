#include "Gzip.h"

#include <algorithm>
#include <future>
#include <system_error>
#include <thread>
#include <vector>

#include <zlib.h>

namespace tessary::server {

namespace {

// deflate's window: how far back a part may refer into the text before it.
constexpr qsizetype window = 32 * 1024;
// Below this a part's thread costs more than it saves.
constexpr qsizetype partSize = 2 * 1024 * 1024;

struct Part {
    qsizetype begin = 0;
    qsizetype end = 0;
    QByteArray coded; // raw deflate blocks; empty when zlib failed
    uLong crc = 0;
};

// Codes data[part.begin, part.end) as raw deflate blocks. The last part closes the stream; the
// others end on a byte boundary without closing it, so the next part's blocks can follow.
void deflatePart(QByteArrayView data, Part& part, int level, const ByteRanges& literalRanges, bool last)
{
    part.crc = crc32_z(
        0, reinterpret_cast<const Bytef*>(data.data() + part.begin), static_cast<z_size_t>(part.end - part.begin));
    z_stream stream {};
    if (deflateInit2(&stream, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return;
    const qsizetype history = std::min(part.begin, window);
    if (history > 0)
        deflateSetDictionary(
            &stream, reinterpret_cast<const Bytef*>(data.data() + part.begin - history), static_cast<uInt>(history));
    // Each switch of coding closes a deflate block, whose successor starts with new code tables.
    const auto bound = static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(part.end - part.begin)))
        + literalRanges.size() * 2 * 320 + 64;
    QByteArray out(bound, Qt::Uninitialized);
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const auto feed = [&](qsizetype from, qsizetype to) {
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data() + from));
        stream.avail_in = static_cast<uInt>(to - from);
        // Z_BUF_ERROR only says there was nothing to do.
        return deflate(&stream, Z_NO_FLUSH) != Z_STREAM_ERROR && stream.avail_in == 0;
    };
    // Searching digits that do not repeat finds little and costs most of the time; coded symbol
    // by symbol they come out as small. The searching resumes for the text between them.
    bool fed = true;
    qsizetype done = part.begin;
    for (const auto& [rangeBegin, rangeEnd] : literalRanges) {
        const qsizetype begin = std::max(rangeBegin, part.begin);
        const qsizetype end = std::min(rangeEnd, part.end);
        if (begin >= end)
            continue;
        fed = fed && feed(done, begin) && deflateParams(&stream, level, Z_HUFFMAN_ONLY) == Z_OK && feed(begin, end)
            && deflateParams(&stream, level, Z_DEFAULT_STRATEGY) == Z_OK;
        done = end;
    }
    fed = fed && feed(done, part.end);
    const int ended = fed ? deflate(&stream, last ? Z_FINISH : Z_SYNC_FLUSH) : Z_STREAM_ERROR;
    const bool complete = (last ? ended == Z_STREAM_END : ended == Z_OK) && stream.avail_out > 0;
    const auto written = static_cast<qsizetype>(stream.total_out);
    deflateEnd(&stream);
    if (!complete)
        return;
    out.truncate(written);
    part.coded = std::move(out);
}

void appendLittleEndian(QByteArray& out, uLong value)
{
    for (int i = 0; i < 4; ++i)
        out.append(static_cast<char>((value >> (8 * i)) & 0xff));
}

} // namespace

QByteArray gzip(QByteArrayView data, int level, const ByteRanges& literalRanges, int threads)
{
    if (threads <= 0)
        threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    const qsizetype count = std::clamp<qsizetype>(data.size() / partSize, 1, threads);
    std::vector<Part> parts(static_cast<std::size_t>(count));
    for (qsizetype i = 0; i < count; ++i) {
        parts[static_cast<std::size_t>(i)].begin = data.size() * i / count;
        parts[static_cast<std::size_t>(i)].end = data.size() * (i + 1) / count;
    }
    std::vector<std::future<void>> others;
    for (std::size_t i = 1; i < parts.size(); ++i) {
        const bool last = i + 1 == parts.size();
        try {
            others.push_back(std::async(
                std::launch::async, deflatePart, data, std::ref(parts[i]), level, std::cref(literalRanges), last));
        } catch (const std::system_error&) {
            // No thread to be had: this one codes the part.
            deflatePart(data, parts[i], level, literalRanges, last);
        }
    }
    deflatePart(data, parts.front(), level, literalRanges, parts.size() == 1);
    for (auto& other : others)
        other.get();

    // The member's header (no name, no time, made on Unix), the parts' blocks, and the trailer:
    // the CRC-32 and the length modulo 2^32 of the whole.
    QByteArray out = QByteArrayLiteral("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03");
    uLong crc = crc32_z(0, nullptr, 0);
    for (const Part& part : parts) {
        if (part.coded.isEmpty())
            return {};
        out += part.coded;
        crc = crc32_combine(crc, part.crc, static_cast<z_off_t>(part.end - part.begin));
    }
    appendLittleEndian(out, crc);
    appendLittleEndian(out, static_cast<uLong>(data.size()) & 0xffffffffUL);
    return out;
}

} // namespace tessary::server
