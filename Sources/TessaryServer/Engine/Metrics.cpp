#include "Metrics.h"

#include "TessaryWire/MarketTime.h"
#include "TessaryWire/Timeframe.h"
#include "WindowRules.h"

#include <QDateTime>
#include <QTime>

#include <cmath>
#include <numeric>

namespace tessary::server {

namespace {

constexpr qint64 millisecondsPerDay = 86'400'000;
constexpr qint64 julianDayOfEpoch = 2'440'588; // 1970-01-01

// The Julian day on which the week or month after the one holding `date` begins. Julian day 0
// was a Monday, so whole weeks of Julian days are exactly the ISO weeks. Comparing against
// this boundary, rather than taking every bar's week or month apart, keeps calendar
// arithmetic off the per-bar path of 40-year windows.
qint64 nextPeriodStart(QDate date, SamplingFrequency frequency)
{
    switch (frequency) {
    case SamplingFrequency::daily:
        return date.toJulianDay() + 1;
    case SamplingFrequency::weekly:
        return (date.toJulianDay() / 7 + 1) * 7;
    case SamplingFrequency::monthly: {
        int year = 0;
        int month = 0;
        date.getDate(&year, &month, nullptr);
        return QDate(year, month, 1).addMonths(1).toJulianDay();
    }
    }
    return 0;
}

} // namespace

int periodsPerYear(SamplingFrequency frequency)
{
    switch (frequency) {
    case SamplingFrequency::daily:
        return 252;
    case SamplingFrequency::weekly:
        return 52;
    case SamplingFrequency::monthly:
        return 12;
    }
    return 1;
}

std::vector<std::size_t> sampledBars(std::span<const DailyBar> bars, SamplingFrequency frequency)
{
    std::vector<std::size_t> kept;
    if (bars.empty())
        return kept;
    kept.reserve(frequency == SamplingFrequency::daily ? bars.size() : bars.size() / 4 + 2);
    kept.push_back(0);
    qint64 boundary = nextPeriodStart(bars[1 % bars.size()].date, frequency);
    for (std::size_t i = 1; i < bars.size(); ++i) {
        if (i + 1 == bars.size()) {
            kept.push_back(i);
        } else if (bars[i + 1].date.toJulianDay() >= boundary) {
            kept.push_back(i);
            boundary = nextPeriodStart(bars[i + 1].date, frequency);
        }
    }
    return kept;
}

SamplingFrequency volatilityFrequency(qint64 spanDays)
{
    if (spanDays <= 731)
        return SamplingFrequency::daily;
    if (spanDays <= 3653)
        return SamplingFrequency::weekly;
    return SamplingFrequency::monthly;
}

std::vector<double> sampledReturns(std::span<const DailyBar> bars, SamplingFrequency frequency)
{
    const auto kept = sampledBars(bars, frequency);
    std::vector<double> returns;
    if (kept.size() < 2)
        return returns;
    returns.reserve(kept.size() - 1);
    for (std::size_t i = 1; i < kept.size(); ++i)
        returns.push_back(bars[kept[i]].adjClose / bars[kept[i - 1]].adjClose - 1.0);
    return returns;
}

double netReturn(double baseAdjClose, double lastAdjClose)
{
    return lastAdjClose / baseAdjClose - 1.0;
}

std::optional<double> cagr(double baseAdjClose, double lastAdjClose, qint64 calendarDays)
{
    if (calendarDays < 365)
        return std::nullopt;
    return std::pow(lastAdjClose / baseAdjClose, 365.25 / static_cast<double>(calendarDays)) - 1.0;
}

std::optional<double> volatility(std::span<const double> returns, SamplingFrequency frequency)
{
    if (returns.size() < 2)
        return std::nullopt;
    const double count = static_cast<double>(returns.size());
    const double mean = std::accumulate(returns.begin(), returns.end(), 0.0) / count;
    double squares = 0;
    for (const double r : returns)
        squares += (r - mean) * (r - mean);
    return std::sqrt(squares / (count - 1.0)) * std::sqrt(static_cast<double>(periodsPerYear(frequency)));
}

std::optional<double> sharpeRatio(
    std::span<const double> returns, SamplingFrequency frequency, std::optional<double> annualisedVolatility)
{
    if (!annualisedVolatility || *annualisedVolatility == 0.0 || returns.empty())
        return std::nullopt;
    const double mean = std::accumulate(returns.begin(), returns.end(), 0.0) / static_cast<double>(returns.size());
    return mean * periodsPerYear(frequency) / *annualisedVolatility;
}

double periodMaxDrawdown(std::span<const DailyBar> bars)
{
    double peak = 0;
    double deepest = 0;
    for (const DailyBar& bar : bars) {
        peak = std::max(peak, bar.adjClose);
        deepest = std::min(deepest, bar.adjClose / peak - 1.0);
    }
    return deepest;
}

std::vector<std::pair<QString, std::optional<double>>> presetReturns(const DailyHistory& bars, QDate marketEnd)
{
    std::vector<std::pair<QString, std::optional<double>>> returns;
    returns.reserve(timeframeCount);
    const auto last = lastBarOnOrBefore(bars, marketEnd);
    for (const Timeframe preset : Timeframes::all()) {
        std::optional<double> value;
        if (last) {
            if (const auto base = presetBase(bars, preset, marketEnd))
                value = netReturn(bars[*base].adjClose, bars[*last].adjClose);
        }
        returns.emplace_back(Timeframes::rawValue(preset), value);
    }
    return returns;
}

qint64 dailyBarTime(QDate date)
{
    return (date.toJulianDay() - julianDayOfEpoch) * millisecondsPerDay;
}

qint64 marketCloseTime(QDate date)
{
    return QDateTime(date, QTime(16, 0), MarketTime::eastern()).toMSecsSinceEpoch();
}

QString marketCloseTimestamp(QDate date)
{
    return QDateTime(date, QTime(16, 0), MarketTime::eastern()).toString(Qt::ISODate);
}

QString easternTimestamp(qint64 millisecondsSince1970)
{
    return QDateTime::fromMSecsSinceEpoch(millisecondsSince1970, MarketTime::eastern()).toString(Qt::ISODate);
}

} // namespace tessary::server
