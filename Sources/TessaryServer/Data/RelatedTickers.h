#pragma once

#include <QStringList>

#include <vector>

#include "TessaryServer/Data/CuratedCatalog.h"
#include "TessaryWire/WireRecords.h"

namespace tessary::server {

// Suggestions for a set of symbols: same-industry peers, the sector's ETF, broad-market ETFs
// and symbols that share curated collections with them. Never suggests a symbol of the input;
// at most `limit` suggestions. `universe` is sorted by symbol.
RelatedResponse relatedTickers(const std::vector<TickerInfo>& universe,
    const std::vector<CuratedCollection>& collections, const QStringList& symbols, int limit);

} // namespace tessary::server
