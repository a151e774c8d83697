#include "ClampedRange.h"

#include "MarketTime.h"

namespace tessary {

ClampedRange clampRange(const QString& start, const std::optional<QString>& end, int maxYears, const QDateTime& now)
{
    std::optional<QDate> endDate;
    if (end)
        endDate = MarketTime::parseDate(*end);
    if (!endDate)
        endDate = MarketTime::dateOf(now);

    ClampedRange range { start, MarketTime::formatDate(*endDate), false };
    const auto startDate = MarketTime::parseDate(start);
    if (!startDate)
        return range;

    // Calendar years, so a leap day end maps onto 28 February in a common year.
    const QDate earliest = endDate->addYears(-maxYears);
    if (*startDate < earliest) {
        range.start = MarketTime::formatDate(earliest);
        range.truncated = true;
    } else {
        range.start = start.left(10);
    }
    return range;
}

} // namespace tessary
