#pragma once

#include "TessaryServer/MarketReader.h"
#include "TessaryWire/Timeframe.h"

#include <QDate>

#include <cstddef>
#include <optional>

namespace tessary::server {

// The period a /prices request covers, once its query has been read.
struct PriceWindow {
    std::optional<Timeframe> preset; // absent for an explicit range
    QDate start; // explicit ranges only
    QDate end; // presets: the market's last stored bar
    bool intraday = false; // 15-minute bars, honoured for 1D/2D/3D only
};

PriceWindow presetWindow(Timeframe preset, QDate marketEnd, bool intraday);
PriceWindow rangeWindow(QDate start, QDate end);

// 1, 2 or 3 for the presets counted in sessions (1D/2D/3D), 0 for the calendar presets.
int presetSessions(Timeframe preset);

// The day on or before which a calendar preset finds its base bar: 7 or 15 days back, whole
// calendar months or years back (a day past the month's end is clamped to it), or the last
// day of the previous year for YTD. Session presets have no fixed anchor; they return an
// invalid date.
QDate presetAnchor(Timeframe preset, QDate end);

std::optional<std::size_t> lastBarOnOrBefore(const DailyHistory& bars, QDate date);
std::optional<std::size_t> firstBarOnOrAfter(const DailyHistory& bars, QDate date);

// The base bar of a preset ending at `end`: the last bar on or before the anchor, or the close
// before the last n sessions. Absent when the history starts after that base (a late listing),
// and when nothing traded after it.
std::optional<std::size_t> presetBase(const DailyHistory& bars, Timeframe preset, QDate end);

// Inclusive indexes of one symbol's bars inside a window.
struct BarRange {
    std::size_t base = 0;
    std::size_t last = 0;
};

// Which of a symbol's bars a window covers: from its base bar (or, for a symbol listed later,
// its own first bar) to its last bar on or before the end. Absent when it has no bars there.
std::optional<BarRange> barsInWindow(const DailyHistory& bars, const PriceWindow& window);

// Calendar days from the window's nominal start to its end; decides the bar size served.
qint64 windowSpanDays(const PriceWindow& window);

enum class BarInterval { fifteenMinutes, daily, weekly };

// 15-minute bars for an intraday session preset, daily bars up to five years (1,827 days),
// weekly beyond.
BarInterval windowInterval(const PriceWindow& window);
QString intervalName(BarInterval interval);

} // namespace tessary::server
