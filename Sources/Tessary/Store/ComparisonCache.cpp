#include "ComparisonCache.h"

#include <algorithm>

namespace tessary {

ComparisonCache::ComparisonCache(std::size_t capacity, std::chrono::milliseconds maxAge)
    : m_capacity(std::max<std::size_t>(capacity, 1))
    , m_maxAge(maxAge)
{
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
    std::erase_if(m_entries, [&](const Entry& e) { return e.key == key; });
    m_entries.push_front(Entry { key, std::move(comparison), now });
    if (m_entries.size() > m_capacity)
        m_entries.pop_back();
}

} // namespace tessary
