#include "WindowRules.h"

#include <algorithm>

namespace tessary::server {

namespace {

// A symbol whose last bar is older than this has no sessions in a 1–3 day window, even though
// counting back through its own bars would find some.
constexpr qint64 sessionStalenessDays = 7;

// Five years of daily bars are still a reasonable reply; longer windows are served weekly.
constexpr qint64 longestDailyWindowDays = 1827;

bool tradedRecently(const DailyBar& last, QDate end)
{
    return last.date.daysTo(end) < sessionStalenessDays;
}

} // namespace

PriceWindow presetWindow(Timeframe preset, QDate marketEnd, bool intraday)
{
    return PriceWindow { .preset = preset, .start = {}, .end = marketEnd, .intraday = intraday };
}

PriceWindow rangeWindow(QDate start, QDate end)
{
    return PriceWindow { .preset = std::nullopt, .start = start, .end = end, .intraday = false };
}

int presetSessions(Timeframe preset)
{
    switch (preset) {
    case Timeframe::oneDay:
        return 1;
    case Timeframe::twoDay:
        return 2;
    case Timeframe::threeDay:
        return 3;
    default:
        return 0;
    }
}

QDate presetAnchor(Timeframe preset, QDate end)
{
    // QDate::addMonths and addYears clamp a day past the month's end (Mar 31 − 1M = Feb 28/29,
    // Feb 29 − 1Y = Feb 28), which is the rule we want.
    switch (preset) {
    case Timeframe::oneDay:
    case Timeframe::twoDay:
    case Timeframe::threeDay:
        return {};
    case Timeframe::oneWeek:
        return end.addDays(-7);
    case Timeframe::fifteenDay:
        return end.addDays(-15);
    case Timeframe::oneMonth:
        return end.addMonths(-1);
    case Timeframe::twoMonth:
        return end.addMonths(-2);
    case Timeframe::threeMonth:
        return end.addMonths(-3);
    case Timeframe::sixMonth:
        return end.addMonths(-6);
    case Timeframe::nineMonth:
        return end.addMonths(-9);
    case Timeframe::ytd:
        return QDate(end.year() - 1, 12, 31);
    case Timeframe::oneYear:
        return end.addYears(-1);
    case Timeframe::twoYear:
        return end.addYears(-2);
    case Timeframe::threeYear:
        return end.addYears(-3);
    case Timeframe::fourYear:
        return end.addYears(-4);
    case Timeframe::fiveYear:
        return end.addYears(-5);
    case Timeframe::sevenYear:
        return end.addYears(-7);
    case Timeframe::tenYear:
        return end.addYears(-10);
    case Timeframe::fifteenYear:
        return end.addYears(-15);
    case Timeframe::twentyYear:
        return end.addYears(-20);
    case Timeframe::twentyFiveYear:
        return end.addYears(-25);
    case Timeframe::thirtyYear:
        return end.addYears(-30);
    case Timeframe::thirtyFiveYear:
        return end.addYears(-35);
    case Timeframe::fortyYear:
        return end.addYears(-40);
    }
    return {};
}

std::optional<std::size_t> lastBarOnOrBefore(const DailyHistory& bars, QDate date)
{
    const auto after = std::upper_bound(
        bars.begin(), bars.end(), date, [](QDate day, const DailyBar& bar) { return day < bar.date; });
    if (after == bars.begin())
        return std::nullopt;
    return static_cast<std::size_t>(after - bars.begin()) - 1;
}

std::optional<std::size_t> firstBarOnOrAfter(const DailyHistory& bars, QDate date)
{
    const auto found = std::lower_bound(
        bars.begin(), bars.end(), date, [](const DailyBar& bar, QDate day) { return bar.date < day; });
    if (found == bars.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - bars.begin());
}

std::optional<std::size_t> presetBase(const DailyHistory& bars, Timeframe preset, QDate end)
{
    const auto last = lastBarOnOrBefore(bars, end);
    if (!last)
        return std::nullopt;
    if (const auto sessions = static_cast<std::size_t>(presetSessions(preset)); sessions > 0) {
        if (*last < sessions || !tradedRecently(bars[*last], end))
            return std::nullopt;
        return *last - sessions;
    }
    const auto base = lastBarOnOrBefore(bars, presetAnchor(preset, end));
    if (!base || *base == *last)
        return std::nullopt;
    return base;
}

std::optional<BarRange> barsInWindow(const DailyHistory& bars, const PriceWindow& window)
{
    if (!window.end.isValid())
        return std::nullopt;
    const auto last = lastBarOnOrBefore(bars, window.end);
    if (!last)
        return std::nullopt;

    if (!window.preset) {
        const auto base = firstBarOnOrAfter(bars, window.start);
        if (!base || *base > *last)
            return std::nullopt;
        return BarRange { *base, *last };
    }

    if (const auto sessions = static_cast<std::size_t>(presetSessions(*window.preset)); sessions > 0) {
        if (!tradedRecently(bars[*last], window.end))
            return std::nullopt;
        return BarRange { *last >= sessions ? *last - sessions : 0, *last };
    }

    // A symbol listed after the anchor starts at its own first bar.
    const auto base = lastBarOnOrBefore(bars, presetAnchor(*window.preset, window.end));
    if (!base)
        return BarRange { 0, *last };
    if (*base == *last)
        return std::nullopt; // nothing traded inside the window
    return BarRange { *base, *last };
}

qint64 windowSpanDays(const PriceWindow& window)
{
    if (!window.preset)
        return window.start.daysTo(window.end);
    if (const int sessions = presetSessions(*window.preset); sessions > 0)
        return sessions;
    return presetAnchor(*window.preset, window.end).daysTo(window.end);
}

BarInterval windowInterval(const PriceWindow& window)
{
    if (window.preset && window.intraday && presetSessions(*window.preset) > 0)
        return BarInterval::fifteenMinutes;
    return windowSpanDays(window) <= longestDailyWindowDays ? BarInterval::daily : BarInterval::weekly;
}

QString intervalName(BarInterval interval)
{
    switch (interval) {
    case BarInterval::fifteenMinutes:
        return QStringLiteral("15min");
    case BarInterval::daily:
        return QStringLiteral("1D");
    case BarInterval::weekly:
        return QStringLiteral("1W");
    }
    return {};
}

} // namespace tessary::server
