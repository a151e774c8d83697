#include "BarDay.h"

#include "MarketTime.h"

namespace tessary {

bool isIntradayInterval(QStringView interval)
{
    return interval.endsWith(u"min") || interval.endsWith(u"h");
}

QDate barDay(QStringView interval, const QDateTime& instant)
{
    return isIntradayInterval(interval) ? MarketTime::dateOf(instant) : instant.toUTC().date();
}

} // namespace tessary
