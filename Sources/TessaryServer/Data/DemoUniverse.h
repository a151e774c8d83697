#pragma once

#include <QString>

#include <vector>

#include "TessaryWire/WireRecords.h"

namespace tessary::server::demo {

// One symbol of the demo market: its metadata, the year it starts trading and how its price
// is driven ("market", "sector", "bond", …; empty for an ordinary stock).
struct DemoSymbol {
    TickerInfo info;
    int since = 1985;
    QString profile;
};

// Read once from the compiled-in resource, sorted by symbol.
const std::vector<DemoSymbol>& demoSymbols();

} // namespace tessary::server::demo
