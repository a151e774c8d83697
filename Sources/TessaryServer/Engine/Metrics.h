#pragma once

#include "TessaryServer/MarketReader.h"

#include <QDate>
#include <QString>

#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace tessary::server {

// How often closes are sampled for a return series.
enum class SamplingFrequency { daily, weekly, monthly };

// Periods of a frequency in one year, used to annualise (252 sessions, 52 weeks, 12 months).
int periodsPerYear(SamplingFrequency frequency);

// Positions (into `bars`) of the closes a sampled series keeps: every bar when daily;
// otherwise the first bar, then the last bar of each ISO week or calendar month. The final
// bar always ends the last, possibly partial, period, so it is always kept.
std::vector<std::size_t> sampledBars(std::span<const DailyBar> bars, SamplingFrequency frequency);

// Volatility looks at daily returns up to two years (731 days), weekly up to ten (3,653),
// monthly beyond: enough returns to be meaningful without day-to-day noise over decades.
SamplingFrequency volatilityFrequency(qint64 spanDays);

// Simple returns between consecutive sampled adjusted closes of `bars` (base bar first).
std::vector<double> sampledReturns(std::span<const DailyBar> bars, SamplingFrequency frequency);

// Last over base adjusted close, minus one.
double netReturn(double baseAdjClose, double lastAdjClose);

// Compound annual growth: the net growth spread over the calendar days from base to last,
// with 365.25-day years. Under one year it would extrapolate a few weeks' luck into an annual
// rate, so it is absent.
std::optional<double> cagr(double baseAdjClose, double lastAdjClose, qint64 calendarDays);

// Sample standard deviation (n − 1) of the returns, annualised by √(periods per year). Absent
// with fewer than two returns.
std::optional<double> volatility(std::span<const double> returns, SamplingFrequency frequency);

// Annualised mean return over volatility, with no risk-free rate. Absent when volatility is
// absent or zero (a flat line has no risk to reward).
std::optional<double> sharpeRatio(
    std::span<const double> returns, SamplingFrequency frequency, std::optional<double> annualisedVolatility);

// Deepest fall from a running peak over every daily bar of the window: min(close / peak − 1),
// zero when the price never fell below an earlier close.
double periodMaxDrawdown(std::span<const DailyBar> bars);

// Return over every preset ending at the market's last day, keyed by preset raw value in
// preset order; null where the history starts after that preset's base.
std::vector<std::pair<QString, std::optional<double>>> presetReturns(const DailyHistory& bars, QDate marketEnd);

// A bar's time on the wire: daily and weekly bars sit at 00:00 UTC of their trading day.
qint64 dailyBarTime(QDate date);
// The instant of the 16:00 New York close of a trading day.
qint64 marketCloseTime(QDate date);
// The 16:00 New York close of a day as ISO 8601 with its offset ("2021-04-21T16:00:00-04:00").
QString marketCloseTimestamp(QDate date);
QString easternTimestamp(qint64 millisecondsSince1970);

} // namespace tessary::server
