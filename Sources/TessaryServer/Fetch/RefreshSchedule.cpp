#include "RefreshSchedule.h"

#include <QTimeZone>

#include "TessaryServer/Data/TradingCalendar.h"

namespace tessary::server {

QDateTime nextRefresh(const std::optional<QDateTime>& lastRefresh, const QDateTime& now, QTime at)
{
    const QTimeZone newYork("America/New_York");
    const QDate today = now.toTimeZone(newYork).date();
    QDate day = isTradingDay(today) ? today : previousTradingDay(today);
    if (QDateTime(day, at, newYork) > now)
        day = previousTradingDay(day);
    if (!lastRefresh || *lastRefresh < QDateTime(day, at, newYork))
        return now;
    day = isTradingDay(today) ? today : nextTradingDay(today);
    if (QDateTime(day, at, newYork) <= now)
        day = nextTradingDay(day);
    return QDateTime(day, at, newYork);
}

} // namespace tessary::server
