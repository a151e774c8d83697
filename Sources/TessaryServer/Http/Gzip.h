#pragma once

#include "HttpExchange.h"

#include <QByteArray>
#include <QByteArrayView>

namespace tessary::server {

// `data` as one gzip member at zlib `level`, its `literalRanges` (ascending, apart) only
// entropy-coded; empty when zlib fails. A large body is coded in parts on up to `threads`
// threads (0: one per core), each part seeing the 32 KB before it, so the parts join into the
// stream one thread would make but for a few bytes where they meet.
QByteArray gzip(QByteArrayView data, int level, const ByteRanges& literalRanges = {}, int threads = 0);

} // namespace tessary::server
