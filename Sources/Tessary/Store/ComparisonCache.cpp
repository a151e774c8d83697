#include "ComparisonCache.h"

#include <algorithm>

namespace tessary {

namespace {

// A string's characters and its header.
std::size_t stringBytes(const QString& text)
{
    return sizeof(QString) + static_cast<std::size_t>(text.capacity()) * sizeof(QChar);
}

// The preset returns are held in the row itself.
std::size_t rowBytes(const RankRow& row)
{
    return sizeof(RankRow) + stringBytes(row.ticker);
}

} // namespace

ComparisonCache::ComparisonCache(std::size_t capacity, std::chrono::milliseconds maxAge, std::size_t byteBudget)
    : m_capacity(std::max<std::size_t>(capacity, 1))
    , m_maxAge(maxAge)
    , m_byteBudget(byteBudget)
{
}

std::size_t ComparisonCache::approximateBytes(const Comparison& comparison)
{
    std::size_t bytes = sizeof(Comparison);
    for (const ChartSeries& series : comparison.series)
        bytes += sizeof(ChartSeries) + stringBytes(series.ticker) + series.points.capacity() * sizeof(ChartPoint);
    for (const RankRow& row : comparison.rows)
        bytes += rowBytes(row);
    if (comparison.benchmarkRow)
        bytes += rowBytes(*comparison.benchmarkRow);
    return bytes;
}

std::optional<ComparisonCache::Hit> ComparisonCache::find(const QString& key, Clock::time_point now)
{
    const auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.key == key; });
    if (it == m_entries.end())
        return std::nullopt;
    m_entries.splice(m_entries.begin(), m_entries, it);
    const Entry& entry = m_entries.front();
    return Hit { entry.comparison, now - entry.storedAt <= m_maxAge };
}

void ComparisonCache::insert(const QString& key, std::shared_ptr<const Comparison> comparison, Clock::time_point now)
{
    std::erase_if(m_entries, [&](const Entry& e) {
        if (e.key != key)
            return false;
        m_bytes -= e.bytes;
        return true;
    });
    const std::size_t bytes = comparison ? approximateBytes(*comparison) : 0;
    m_entries.push_front(Entry { key, std::move(comparison), now, bytes });
    m_bytes += bytes;
    while (m_entries.size() > 1 && (m_entries.size() > m_capacity || m_bytes > m_byteBudget)) {
        m_bytes -= m_entries.back().bytes;
        m_entries.pop_back();
    }
}

} // namespace tessary
