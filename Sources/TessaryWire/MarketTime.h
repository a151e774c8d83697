#pragma once

#include <QDate>
#include <QDateTime>
#include <QLocale>
#include <QString>
#include <QTimeZone>

#include <optional>

namespace tessary::MarketTime {

// The US market's clock: intraday bars, the latest quote and every market date.
QTimeZone eastern();
// Daily and longer bars are dated at midnight UTC.
QTimeZone utc();

inline constexpr auto dateFormat = "yyyy-MM-dd";

// Reads the first ten characters of `text` as a market day ("yyyy-MM-dd", no locale).
std::optional<QDate> parseDate(QStringView text);
QString formatDate(QDate date);

// The market date (New York) of an instant; "today" for the market is date(now).
QString date(const QDateTime& instant);
QDate dateOf(const QDateTime& instant);
// The locale the app writes dates and times in: the user's, except that the C locale (no
// choice made, as on a bare server or in a test) reads as US English, the language of the
// app's texts.
QLocale displayLocale();
// A time of day on the market's clock, in the display locale: "3:45 PM ET" in the US.
QString time(const QDateTime& instant);

QDateTime fromMilliseconds(double millisecondsSince1970);

} // namespace tessary::MarketTime
