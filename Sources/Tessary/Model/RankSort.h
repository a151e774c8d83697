#pragma once

#include "Comparison.h"

#include <QString>

#include <vector>

namespace tessary {

// The columns of a rankings table, in display order.
enum class RankColumn { ticker, price, marketCap, netReturn, vsBenchmark, cagr, volatility, sharpe, maxDrawdown, count };

// The column's value of a row; absent for `ticker` and for a missing metric.
std::optional<double> rankValue(const RankRow& row, RankColumn column);
// Whether the column gets ranks and rank colours.
bool isRankedColumn(RankColumn column);
// The heading, with the benchmark's symbol in "vs …".
QString rankColumnHeading(RankColumn column, const QString& benchmark);
// The direction a first click on a heading sorts by: the best values first.
bool firstClickAscending(RankColumn column);

// Every row with the benchmark's row after them unless a row already carries its ticker.
std::vector<RankRow> rowsWithBenchmark(const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow);

// Sorts ascending with a strict "less than" (equal rows keep their order), reverses the whole
// result when descending, then moves incomplete rows to the end in their order. A missing
// value counts as the worst: minus infinity, or plus infinity for volatility.
std::vector<RankRow> sortRankRows(std::vector<RankRow> rows, RankColumn column, bool ascending);

// Rank of each row in a ranked column (1 = best; volatility ranks the calmest first), or 0
// for a row without a value; `count` receives how many rows were ranked.
std::vector<int> rankPositions(const std::vector<RankRow>& rows, RankColumn column, int* count = nullptr);

} // namespace tessary
