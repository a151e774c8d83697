#include "GridLines.h"

#include <algorithm>

namespace tessary {

std::vector<RankRow> gridRows(const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow)
{
    std::vector<RankRow> all;
    all.reserve(rows.size() + 1);
    if (benchmarkRow && std::none_of(rows.begin(), rows.end(), [&](const RankRow& row) {
            return row.ticker == benchmarkRow->ticker;
        }))
        all.push_back(*benchmarkRow);
    all.insert(all.end(), rows.begin(), rows.end());
    return all;
}

std::vector<GridLine> gridLines(const std::vector<RankRow>& rows, const std::optional<RankRow>& benchmarkRow,
    const QString& benchmark, const std::vector<Timeframe>& periods)
{
    const std::vector<RankRow> all = gridRows(rows, benchmarkRow);
    const RankRow* benchmarkOwn = benchmarkRow ? &*benchmarkRow : nullptr;
    for (const RankRow& row : all)
        if (!benchmarkOwn && row.ticker == benchmark)
            benchmarkOwn = &row;

    std::vector<GridLine> lines(all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
        lines[i].ticker = all[i].ticker;
        lines[i].places.resize(periods.size());
        lines[i].returns.resize(periods.size());
    }
    std::vector<std::pair<double, std::size_t>> ranked;
    for (std::size_t p = 0; p < periods.size(); ++p) {
        ranked.clear();
        for (std::size_t i = 0; i < all.size(); ++i) {
            lines[i].returns[p] = all[i].presetReturn(periods[p]);
            if (lines[i].returns[p])
                ranked.emplace_back(*lines[i].returns[p], i);
        }
        std::stable_sort(ranked.begin(), ranked.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
        for (std::size_t place = 0; place < ranked.size(); ++place)
            lines[ranked[place].second].places[p]
                = GridLine::Place { static_cast<int>(place) + 1, static_cast<int>(ranked.size()) };
    }

    for (GridLine& line : lines) {
        double sum = 0;
        int ranks = 0;
        GridLine::Beats beats;
        for (std::size_t p = 0; p < periods.size(); ++p) {
            if (line.places[p]) {
                sum += line.places[p]->rank;
                ++ranks;
            }
            const std::optional<double> bench = benchmarkOwn ? benchmarkOwn->presetReturn(periods[p]) : std::nullopt;
            if (line.returns[p] && bench) {
                ++beats.compared;
                if (*line.returns[p] > *bench)
                    ++beats.beaten;
            }
        }
        if (ranks > 0)
            line.averageRank = sum / ranks;
        if (beats.compared > 0)
            line.beats = beats;
    }
    return lines;
}

namespace {

std::optional<double> sortValue(const GridLine& line, const GridSortKey& key, const std::vector<Timeframe>& periods)
{
    switch (key.kind) {
    case GridSortKey::Kind::period: {
        const auto at = std::find(periods.begin(), periods.end(), key.period);
        if (at == periods.end())
            return std::nullopt;
        const auto& place = line.places[static_cast<std::size_t>(at - periods.begin())];
        return place ? std::optional<double>(place->rank) : std::nullopt;
    }
    case GridSortKey::Kind::averageRank:
        return line.averageRank;
    case GridSortKey::Kind::beats:
        if (!line.beats)
            return std::nullopt;
        // Negated so that the best fraction comes first in ascending order.
        return -static_cast<double>(line.beats->beaten) / std::max(line.beats->compared, 1);
    case GridSortKey::Kind::ticker:
        break;
    }
    return std::nullopt;
}

} // namespace

std::vector<GridLine> sortGridLines(
    std::vector<GridLine> lines, const GridSortKey& key, bool ascending, const std::vector<Timeframe>& periods)
{
    if (key.kind == GridSortKey::Kind::ticker) {
        std::stable_sort(
            lines.begin(), lines.end(), [](const GridLine& a, const GridLine& b) { return a.ticker < b.ticker; });
        if (!ascending)
            std::reverse(lines.begin(), lines.end());
        return lines;
    }
    std::vector<std::pair<double, GridLine>> valued;
    std::vector<GridLine> missing;
    for (GridLine& line : lines) {
        if (const auto value = sortValue(line, key, periods))
            valued.emplace_back(*value, std::move(line));
        else
            missing.push_back(std::move(line));
    }
    std::stable_sort(valued.begin(), valued.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    if (!ascending)
        std::reverse(valued.begin(), valued.end());
    std::vector<GridLine> sorted;
    sorted.reserve(valued.size() + missing.size());
    for (auto& entry : valued)
        sorted.push_back(std::move(entry.second));
    std::move(missing.begin(), missing.end(), std::back_inserter(sorted));
    return sorted;
}

} // namespace tessary
