#pragma once

#include "Tessary/Model/Comparison.h"
#include "TessaryWire/Timeframe.h"

#include <optional>
#include <vector>

namespace tessary {

// One row of the multi-period grid, for the periods shown.
struct GridLine {
    struct Place {
        int rank = 0; // 1 = highest return that period
        int total = 0; // rows with a return that period
    };
    struct Beats {
        int beaten = 0; // periods with a return strictly above the benchmark's
        int compared = 0; // periods where both have a return
    };

    QString ticker;
    std::vector<std::optional<Place>> places; // one per period shown; absent = NA
    std::optional<double> averageRank;
    std::optional<Beats> beats;
    std::vector<std::optional<double>> returns; // one per period shown
};

// What the grid can be sorted by: one of its periods, or a fixed column.
struct GridSortKey {
    enum class Kind { period, ticker, averageRank, beats };
    Kind kind = Kind::averageRank;
    Timeframe period = defaultTimeframe; // for Kind::period

    friend bool operator==(const GridSortKey&, const GridSortKey&) = default;
};

// The grid's rows: the benchmark's first unless it is among the list's rows, then the rows
// in their given order.
std::vector<RankRow> gridRows(const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow);

// Ranks every row within each period (ties keep the given order) and sums up ranks and beats
// against the benchmark's returns.
std::vector<GridLine> gridLines(const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow,
    const QString& benchmark, const std::vector<Timeframe>& periods);

// Orders lines by `key`. Lines without a value keep their order at the bottom in either
// direction; the others are sorted stably and reversed as a block when descending.
std::vector<GridLine> sortGridLines(
    std::vector<GridLine> lines, const GridSortKey& key, bool ascending, const std::vector<Timeframe>& periods);

} // namespace tessary
