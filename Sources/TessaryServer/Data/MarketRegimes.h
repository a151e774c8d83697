#pragma once

#include <QDate>

#include <array>
#include <vector>

#include "TessaryServer/Data/MarketSimulation.h"

namespace tessary::server::demo {

// A stretch of market history: how much each factor moves in total (log return) over it, on
// top of its usual drift, and how much livelier every price is.
struct MarketRegime {
    QDate start;
    QDate end;
    double volatility = 1;
    std::array<double, factorCount> moves {};
};

const std::vector<MarketRegime>& marketRegimes();

// The GICS sector names, in the order of the sector factors, and their traits.
struct SectorTraits {
    const char* name;
    double beta; // to the market
    double volatility; // of the sector's own factor, annual
    double yield; // typical dividend yield
};
const std::array<SectorTraits, sectorCount>& sectorTraits();
// -1 for an unknown or absent sector.
int sectorIndex(const std::optional<QString>& sector);

} // namespace tessary::server::demo
