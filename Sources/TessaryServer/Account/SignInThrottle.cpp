#include "SignInThrottle.h"

#include <algorithm>

namespace tessary::server {

namespace {

// Beyond this many keys the stale ones are swept, so a flood of made-up addresses cannot
// grow the table without bound.
constexpr qsizetype sweepAbove = 10'000;

} // namespace

std::optional<QDateTime> SignInThrottle::waitEnd(const Failures& failures) const
{
    if (failures.count < freeFailures)
        return std::nullopt;
    const int doublings = std::min(failures.count - freeFailures, 10);
    const auto wait = std::min<std::chrono::seconds>(firstWait * (1 << doublings), longestWait);
    return failures.last.addDuration(wait);
}

std::optional<QDateTime> SignInThrottle::refusedUntil(const QString& key, const QDateTime& now) const
{
    const auto found = m_failures.constFind(key);
    if (found == m_failures.cend())
        return std::nullopt;
    const auto end = waitEnd(*found);
    if (!end || *end <= now)
        return std::nullopt;
    return end;
}

void SignInThrottle::recordFailure(const QString& key, const QDateTime& now)
{
    if (m_failures.size() > sweepAbove) {
        m_failures.removeIf([&now](const auto& entry) { return entry.value().last.addDuration(memory) < now; });
    }
    Failures& failures = m_failures[key];
    if (failures.count > 0 && failures.last.addDuration(memory) < now)
        failures.count = 0;
    ++failures.count;
    failures.last = now;
}

void SignInThrottle::forget(const QString& key)
{
    m_failures.remove(key);
}

} // namespace tessary::server
