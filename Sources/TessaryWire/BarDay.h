#pragma once

#include <QDate>
#include <QDateTime>
#include <QStringView>

namespace tessary {

// Whether bars of this interval text ("15min", "1h", "1D", "1W") are intraday.
bool isIntradayInterval(QStringView interval);

// The market day a bar time falls on: intraday bars are real instants (New York's day), daily
// and longer bars sit at midnight UTC of their own day.
QDate barDay(QStringView interval, const QDateTime& instant);

} // namespace tessary
