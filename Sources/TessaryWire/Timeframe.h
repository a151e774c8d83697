#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace tessary {

// A period preset. The order is the order of menus and of every sort by period.
enum class Timeframe : std::uint8_t {
    oneDay,
    twoDay,
    threeDay,
    oneWeek,
    fifteenDay,
    oneMonth,
    twoMonth,
    threeMonth,
    sixMonth,
    nineMonth,
    ytd,
    oneYear,
    twoYear,
    threeYear,
    fourYear,
    fiveYear,
    sevenYear,
    tenYear,
    fifteenYear,
    twentyYear,
    twentyFiveYear,
    thirtyYear,
    thirtyFiveYear,
    fortyYear,
};

inline constexpr std::size_t timeframeCount = 24;
inline constexpr Timeframe defaultTimeframe = Timeframe::oneYear;

namespace Timeframes {

// Every preset, in order.
std::span<const Timeframe, timeframeCount> all();
// The presets offered as one-click buttons above the chart.
std::span<const Timeframe> primary();

// The text sent to the service as `preset` and stored in lists; also its display text.
QString rawValue(Timeframe timeframe);
// Exact match only: "1y" is not a raw value.
std::optional<Timeframe> fromRawValue(QStringView text);
// How stored lists are read: upper-cased first, anything unknown is the default.
Timeframe fromStoredValue(QStringView text);
// The 1D/2D/3D presets are served as 15-minute bars.
bool isIntraday(Timeframe timeframe);

} // namespace Timeframes
} // namespace tessary
