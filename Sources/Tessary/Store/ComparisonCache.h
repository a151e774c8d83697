#pragma once

#include "Tessary/Model/Comparison.h"

#include <QString>

#include <chrono>
#include <list>
#include <memory>
#include <utility>

namespace tessary {

// Finished comparisons by cache key, so switching back to a list or period is instant. It is
// bounded by count and by the bytes its comparisons hold, because one 200-ticker comparison
// is megabytes while a handful of tickers is kilobytes; and by age, because a comparison from
// this morning should not pass for the latest prices in the afternoon.
class ComparisonCache {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t defaultCapacity = 16;
    static constexpr std::chrono::minutes defaultMaxAge { 15 };
    // About eight full lists over years; the app's resident size stays near 200 MB with them.
    static constexpr std::size_t defaultByteBudget = 32 * 1024 * 1024;

    struct Hit {
        std::shared_ptr<const Comparison> comparison;
        bool fresh = true; // false once older than the age limit: show it, but load again
    };

    explicit ComparisonCache(std::size_t capacity = defaultCapacity, std::chrono::milliseconds maxAge = defaultMaxAge,
        std::size_t byteBudget = defaultByteBudget);

    // What a comparison keeps on the heap, near enough to bound the cache by.
    static std::size_t approximateBytes(const Comparison& comparison);

    // The entry under `key`, which becomes the most recently used.
    std::optional<Hit> find(const QString& key, Clock::time_point now);
    // Replaces any entry under `key`; the least recently used entries go while the cache is
    // over either bound, but never the one just inserted.
    void insert(const QString& key, std::shared_ptr<const Comparison> comparison, Clock::time_point now);
    std::size_t size() const { return m_entries.size(); }
    std::size_t bytes() const { return m_bytes; }

private:
    struct Entry {
        QString key;
        std::shared_ptr<const Comparison> comparison;
        Clock::time_point storedAt;
        std::size_t bytes = 0;
    };

    std::size_t m_capacity;
    std::chrono::milliseconds m_maxAge;
    std::size_t m_byteBudget;
    std::size_t m_bytes = 0;
    std::list<Entry> m_entries; // most recently used first; a handful, so a scan is cheapest
};

} // namespace tessary
