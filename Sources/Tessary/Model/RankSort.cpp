#include "RankSort.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace tessary {

std::optional<double> rankValue(const RankRow& row, RankColumn column)
{
    switch (column) {
    case RankColumn::price: return row.price;
    case RankColumn::marketCap: return row.marketCap;
    case RankColumn::netReturn: return row.netReturn;
    case RankColumn::vsBenchmark: return row.vsBenchmark;
    case RankColumn::cagr: return row.cagr;
    case RankColumn::volatility: return row.volatility;
    case RankColumn::sharpe: return row.sharpe;
    case RankColumn::maxDrawdown: return row.maxDrawdown;
    case RankColumn::ticker:
    case RankColumn::count: break;
    }
    return std::nullopt;
}

bool isRankedColumn(RankColumn column)
{
    return column >= RankColumn::netReturn && column < RankColumn::count;
}

QString rankColumnHeading(RankColumn column, const QString& benchmark)
{
    switch (column) {
    case RankColumn::ticker: return QStringLiteral("Ticker");
    case RankColumn::price: return QStringLiteral("Price");
    case RankColumn::marketCap: return QStringLiteral("Mkt Cap");
    case RankColumn::netReturn: return QStringLiteral("Return");
    case RankColumn::vsBenchmark: return QStringLiteral("vs ") + benchmark;
    case RankColumn::cagr: return QStringLiteral("CAGR");
    case RankColumn::volatility: return QStringLiteral("Volatility");
    case RankColumn::sharpe: return QStringLiteral("Sharpe");
    case RankColumn::maxDrawdown: return QStringLiteral("Max DD");
    case RankColumn::count: break;
    }
    return {};
}

bool firstClickAscending(RankColumn column)
{
    return column == RankColumn::ticker || column == RankColumn::volatility;
}

std::vector<RankRow> rowsWithBenchmark(const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow)
{
    std::vector<RankRow> all = rows;
    if (benchmarkRow && std::none_of(rows.begin(), rows.end(),
                                     [&](const RankRow& row) { return row.ticker == benchmarkRow->ticker; }))
        all.push_back(*benchmarkRow);
    return all;
}

std::vector<RankRow> sortRankRows(std::vector<RankRow> rows, RankColumn column, bool ascending)
{
    if (column == RankColumn::ticker) {
        std::stable_sort(rows.begin(), rows.end(), [](const RankRow& a, const RankRow& b) { return a.ticker < b.ticker; });
    } else {
        const double missing = column == RankColumn::volatility ? std::numeric_limits<double>::infinity()
                                                                : -std::numeric_limits<double>::infinity();
        std::stable_sort(rows.begin(), rows.end(), [&](const RankRow& a, const RankRow& b) {
            return rankValue(a, column).value_or(missing) < rankValue(b, column).value_or(missing);
        });
    }
    if (!ascending)
        std::reverse(rows.begin(), rows.end());
    std::stable_partition(rows.begin(), rows.end(), [](const RankRow& row) { return !row.incomplete; });
    return rows;
}

std::vector<int> rankPositions(const std::vector<RankRow>& rows, RankColumn column, int* count)
{
    std::vector<std::pair<double, std::size_t>> ranked;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (const auto value = rankValue(rows[i], column))
            ranked.emplace_back(column == RankColumn::volatility ? -*value : *value, i);
    }
    std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<int> positions(rows.size(), 0);
    for (std::size_t place = 0; place < ranked.size(); ++place)
        positions[ranked[place].second] = static_cast<int>(place) + 1;
    if (count)
        *count = static_cast<int>(ranked.size());
    return positions;
}

} // namespace tessary
