#pragma once

#include "TessaryWire/Timeframe.h"

#include <QString>

#include <vector>

namespace tessary::MultiPeriods {

// The periods the multi-period grid shows when the user has not chosen any.
std::vector<Timeframe> defaults();
// The stored form: raw values joined with "," in canonical order.
QString encode(const std::vector<Timeframe>& periods);
// Lenient: unknown and empty pieces are dropped, duplicates collapse, order is canonical;
// nothing readable gives the defaults.
std::vector<Timeframe> decode(QStringView text);

} // namespace tessary::MultiPeriods
