#pragma once

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QTime>

#include <optional>
#include <vector>

namespace tessary::server {

// The New York Stock Exchange's sessions: weekends, the exchange holidays with their
// observed-day rules, and the unscheduled closures. Valid from 1970 on.

bool isTradingDay(QDate date);
// Why the exchange is shut on a weekday ("Good Friday", "Hurricane Sandy", …), or nothing
// when it trades (or the day is a weekend).
std::optional<QString> closureReason(QDate date);
// The next / previous session strictly after / before `date`.
QDate nextTradingDay(QDate date);
QDate previousTradingDay(QDate date);
// `date` itself when it trades, otherwise the previous session.
QDate tradingDayOnOrBefore(QDate date);
// Every session from `first` to `last`, both included.
std::vector<QDate> tradingDays(QDate first, QDate last);
// 16:00, or 13:00 on the shortened sessions around Independence Day, Thanksgiving and
// Christmas.
QTime closingTime(QDate session);
// The last session whose close (New York time) is at or before `now`.
QDate lastCompletedSession(const QDateTime& now);

} // namespace tessary::server
