#include "MarketTime.h"

#include <QLocale>

#include <cmath>

namespace tessary::MarketTime {

QTimeZone eastern()
{
    static const QTimeZone zone("America/New_York");
    return zone;
}

QTimeZone utc()
{
    return QTimeZone::utc();
}

std::optional<QDate> parseDate(QStringView text)
{
    const QStringView day = text.left(10);
    // QDate::fromString accepts single-digit fields for "yyyy-MM-dd" in some versions; a
    // market day is always exactly ten characters.
    if (day.size() != 10 || day[4] != u'-' || day[7] != u'-')
        return std::nullopt;
    const QDate parsed = QDate::fromString(day.toString(), QString::fromLatin1(dateFormat));
    if (!parsed.isValid())
        return std::nullopt;
    return parsed;
}

QString formatDate(QDate date)
{
    // QDate::toString with a format string is locale-free: digits and dashes only.
    return date.toString(QString::fromLatin1(dateFormat));
}

QDate dateOf(const QDateTime& instant)
{
    return instant.toTimeZone(eastern()).date();
}

QString date(const QDateTime& instant)
{
    return formatDate(dateOf(instant));
}

QLocale displayLocale()
{
    const QLocale locale;
    return locale.language() == QLocale::C ? QLocale(QLocale::English, QLocale::UnitedStates) : locale;
}

QString time(const QDateTime& instant)
{
    // On the user's clock, 12 or 24 hours, like every other time and date the app shows.
    const QLocale locale = displayLocale();
    return locale.toString(instant.toTimeZone(eastern()).time(), locale.timeFormat(QLocale::ShortFormat))
        + QStringLiteral(" ET");
}

QDateTime fromMilliseconds(double millisecondsSince1970)
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::floor(millisecondsSince1970)), QTimeZone::utc());
}

} // namespace tessary::MarketTime
