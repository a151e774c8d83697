#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

namespace tessary {

// The date range actually requested for a scenario or custom range.
struct ClampedRange {
    QString start;
    QString end;
    bool truncated = false;

    friend bool operator==(const ClampedRange&, const ClampedRange&) = default;
};

// Oldest history the service is asked for; longer ranges are cut at the start.
inline constexpr int maxRangeYears = 40;

// Limits a range to `maxYears` before its end. An end that is absent or unreadable means
// today's market date (New York), taken from `now`.
ClampedRange clampRange(const QString& start, const std::optional<QString>& end, int maxYears,
    const QDateTime& now = QDateTime::currentDateTimeUtc());

} // namespace tessary
