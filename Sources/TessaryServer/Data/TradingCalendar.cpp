#include "TessaryServer/Data/TradingCalendar.h"

#include <QTimeZone>

#include <array>
#include <utility>

namespace tessary::server {

namespace {

constexpr int firstYear = 1970;
constexpr int lastYear = 2100;

// Unscheduled closures: funerals of presidents, storms, blackouts and September 2001.
constexpr std::array<std::pair<std::array<int, 3>, const char*>, 15> specialClosures { {
    { { 1972, 12, 28 }, "Funeral of President Truman" },
    { { 1973, 1, 25 }, "Funeral of President Johnson" },
    { { 1977, 7, 14 }, "New York City blackout" },
    { { 1985, 9, 27 }, "Hurricane Gloria" },
    { { 1994, 4, 27 }, "Funeral of President Nixon" },
    { { 2001, 9, 11 }, "September 11 attacks" },
    { { 2001, 9, 12 }, "September 11 attacks" },
    { { 2001, 9, 13 }, "September 11 attacks" },
    { { 2001, 9, 14 }, "September 11 attacks" },
    { { 2004, 6, 11 }, "Day of mourning for President Reagan" },
    { { 2007, 1, 2 }, "Day of mourning for President Ford" },
    { { 2012, 10, 29 }, "Hurricane Sandy" },
    { { 2012, 10, 30 }, "Hurricane Sandy" },
    { { 2018, 12, 5 }, "Day of mourning for President George H. W. Bush" },
    { { 2025, 1, 9 }, "Day of mourning for President Carter" },
} };

// The n-th (1-based) given weekday of a month; n = -1 is the last one.
QDate nthWeekday(int year, int month, int weekday, int n)
{
    if (n < 0) {
        QDate last(year, month, QDate(year, month, 1).daysInMonth());
        return last.addDays(-((last.dayOfWeek() - weekday + 7) % 7));
    }
    const QDate first(year, month, 1);
    return first.addDays((weekday - first.dayOfWeek() + 7) % 7 + 7 * (n - 1));
}

// Western Easter Sunday (the anonymous Gregorian algorithm).
QDate easterSunday(int year)
{
    const int a = year % 19, b = year / 100, c = year % 100, d = b / 4, e = b % 4;
    const int f = (b + 8) / 25, g = (b - f + 1) / 3, h = (19 * a + b - d - g + 15) % 30;
    const int i = c / 4, k = c % 4, l = (32 + 2 * e + 2 * i - h - k) % 7;
    const int m = (a + 11 * h + 22 * l) / 451;
    const int month = (h + l - 7 * m + 114) / 31, day = (h + l - 7 * m + 114) % 31 + 1;
    return QDate(year, month, day);
}

// A fixed-date holiday moves to Friday when it falls on a Saturday and to Monday on a Sunday.
QDate observed(QDate date)
{
    if (date.dayOfWeek() == Qt::Saturday)
        return date.addDays(-1);
    if (date.dayOfWeek() == Qt::Sunday)
        return date.addDays(1);
    return date;
}

struct Holiday {
    QDate date;
    const char* name;
};

std::vector<Holiday> holidaysOf(int year)
{
    std::vector<Holiday> days;
    // New Year's Day on a Saturday is not made up on the Friday before: that Friday closes
    // the old year's books.
    if (const QDate newYear(year, 1, 1); newYear.dayOfWeek() != Qt::Saturday)
        days.push_back({ observed(newYear), "New Year's Day" });
    if (year >= 1998)
        days.push_back({ nthWeekday(year, 1, Qt::Monday, 3), "Martin Luther King Jr. Day" });
    days.push_back(
        { year >= 1971 ? nthWeekday(year, 2, Qt::Monday, 3) : observed(QDate(year, 2, 22)), "Washington's Birthday" });
    days.push_back({ easterSunday(year).addDays(-2), "Good Friday" });
    days.push_back(
        { year >= 1971 ? nthWeekday(year, 5, Qt::Monday, -1) : observed(QDate(year, 5, 30)), "Memorial Day" });
    if (year >= 2022)
        days.push_back({ observed(QDate(year, 6, 19)), "Juneteenth" });
    days.push_back({ observed(QDate(year, 7, 4)), "Independence Day" });
    days.push_back({ nthWeekday(year, 9, Qt::Monday, 1), "Labor Day" });
    if (year <= 1980 && year % 4 == 0)
        days.push_back({ nthWeekday(year, 11, Qt::Monday, 1).addDays(1), "Election Day" });
    days.push_back({ nthWeekday(year, 11, Qt::Thursday, 4), "Thanksgiving Day" });
    days.push_back({ observed(QDate(year, 12, 25)), "Christmas Day" });
    return days;
}

// Days from 1970-01-01 to 2100-12-31, one flag each, built once.
class Sessions {
public:
    Sessions()
        : m_origin(firstYear, 1, 1)
    {
        const QDate end(lastYear, 12, 31);
        m_open.resize(m_origin.daysTo(end) + 1);
        for (QDate day = m_origin; day <= end; day = day.addDays(1))
            m_open[index(day)] = day.dayOfWeek() < Qt::Saturday;
        for (int year = firstYear; year <= lastYear; ++year)
            for (const Holiday& holiday : holidaysOf(year))
                close(holiday.date);
        for (const auto& [ymd, name] : specialClosures)
            close(QDate(ymd[0], ymd[1], ymd[2]));
    }

    bool covers(QDate day) const { return day >= m_origin && index(day) < m_open.size(); }
    bool isOpen(QDate day) const { return covers(day) ? m_open[index(day)] : day.dayOfWeek() < Qt::Saturday; }

private:
    std::size_t index(QDate day) const { return static_cast<std::size_t>(m_origin.daysTo(day)); }
    void close(QDate day)
    {
        if (covers(day))
            m_open[index(day)] = false;
    }

    QDate m_origin;
    std::vector<bool> m_open;
};

const Sessions& sessions()
{
    static const Sessions table;
    return table;
}

} // namespace

bool isTradingDay(QDate date)
{
    return date.isValid() && sessions().isOpen(date);
}

std::optional<QString> closureReason(QDate date)
{
    if (!date.isValid() || date.dayOfWeek() >= Qt::Saturday || isTradingDay(date))
        return std::nullopt;
    for (const auto& [ymd, name] : specialClosures)
        if (date == QDate(ymd[0], ymd[1], ymd[2]))
            return QString::fromUtf8(name);
    for (const Holiday& holiday : holidaysOf(date.year()))
        if (holiday.date == date)
            return QString::fromUtf8(holiday.name);
    return std::nullopt;
}

QDate nextTradingDay(QDate date)
{
    do
        date = date.addDays(1);
    while (!isTradingDay(date));
    return date;
}

QDate previousTradingDay(QDate date)
{
    do
        date = date.addDays(-1);
    while (!isTradingDay(date));
    return date;
}

QDate tradingDayOnOrBefore(QDate date)
{
    return isTradingDay(date) ? date : previousTradingDay(date);
}

std::vector<QDate> tradingDays(QDate first, QDate last)
{
    std::vector<QDate> days;
    if (!first.isValid() || !last.isValid() || first > last)
        return days;
    days.reserve(static_cast<std::size_t>(first.daysTo(last) * 5 / 7 + 2));
    for (QDate day = first; day <= last; day = day.addDays(1))
        if (isTradingDay(day))
            days.push_back(day);
    return days;
}

QTime closingTime(QDate session)
{
    // The exchange has closed at 13:00 on these days since the early 1990s.
    if (session.year() >= 1993 && isTradingDay(session)) {
        const bool dayBeforeIndependence = session.month() == 7 && session.day() == 3;
        const bool christmasEve = session.month() == 12 && session.day() == 24;
        const bool dayAfterThanksgiving = session == nthWeekday(session.year(), 11, Qt::Thursday, 4).addDays(1);
        if (dayBeforeIndependence || christmasEve || dayAfterThanksgiving)
            return QTime(13, 0);
    }
    return QTime(16, 0);
}

QDate lastCompletedSession(const QDateTime& now)
{
    const QDateTime local = now.toTimeZone(QTimeZone("America/New_York"));
    const QDate today = local.date();
    if (isTradingDay(today) && local.time() >= closingTime(today))
        return today;
    return previousTradingDay(today);
}

} // namespace tessary::server
