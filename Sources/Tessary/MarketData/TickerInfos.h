#pragma once

#include "TessaryWire/WireRecords.h"

#include <vector>

namespace tessary {

// One record per entry of the `tickers` column, in order. Other columns may be short or
// missing: a short or absent column, a null or (for the text columns) an empty string gives
// the field's fallback, so one bad column never loses the universe.
std::vector<TickerInfo> tickerInfos(const TickersResponse& response);

} // namespace tessary
