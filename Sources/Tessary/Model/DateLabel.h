#pragma once

#include <QDate>
#include <QLocale>
#include <QString>

#include "TessaryWire/MarketTime.h"

#include <optional>

namespace tessary::DateLabel {

// A market day text ("2009-03-09") as a date; anything else is nothing.
std::optional<QDate> parse(QStringView text);
// Dates follow the user's locale everywhere, on the axis and in every text alike: a day with
// an abbreviated month name, in the locale's own order ("MMM d, yyyy" in the US,
// "d. MMM yyyy" in Germany).
QString dayFormat(const QLocale& locale = MarketTime::displayLocale());
// The same without the year ("MMM d", "d. MMM").
QString monthDayFormat(const QLocale& locale = MarketTime::displayLocale());
// An hour, and an hour with minutes, on the locale's clock ("h AP" and "h:mm AP", or "H:mm").
QString hourFormat(bool withMinutes, const QLocale& locale = MarketTime::displayLocale());
// A day as the app shows it: "Mar 9, 2009" in the US.
QString display(QDate date);
// The display form of a market day text, or the text itself when it is not one.
QString display(QStringView text);

} // namespace tessary::DateLabel
