#include "PriceEngine.h"

#include "Metrics.h"
#include "TessaryWire/MarketTime.h"

#include <algorithm>
#include <span>

namespace tessary::server {

namespace {

void appendPoint(TickerSeries& series, qint64 time, double adjClose, double baseAdjClose)
{
    series.dates.push_back(time);
    series.performance.emplace_back(adjClose / baseAdjClose - 1.0);
    series.adjClose->emplace_back(adjClose);
}

// The previous close at its 16:00 instant, then every 15-minute bar of the sessions after it.
// Returns false when the store holds no 15-minute bars for those sessions.
bool appendIntradayPoints(
    TickerSeries& series, const DailyHistory& bars, BarRange range, const IntradayHistory& intraday)
{
    const qint64 from = marketCloseTime(bars[range.base].date);
    const qint64 to = marketCloseTime(bars[range.last].date);
    const auto first = std::upper_bound(
        intraday.begin(), intraday.end(), from, [](qint64 time, const IntradayBar& bar) { return time < bar.time; });
    const auto end = std::upper_bound(
        first, intraday.end(), to, [](qint64 time, const IntradayBar& bar) { return time < bar.time; });
    if (first == end)
        return false;
    const double base = bars[range.base].adjClose;
    const auto count = static_cast<std::size_t>(end - first) + 1;
    series.dates.reserve(count);
    series.performance.reserve(count);
    series.adjClose->reserve(count);
    appendPoint(series, from, base, base);
    for (auto bar = first; bar != end; ++bar)
        appendPoint(series, bar->time, bar->adjClose, base);
    return true;
}

} // namespace

TickerSeries tickerSeries(const QString& symbol, const DailyHistory& bars, BarRange range, BarInterval interval,
    const IntradayHistory* intraday)
{
    TickerSeries series { .ticker = symbol, .dates = {}, .performance = {}, .adjClose = OptionalValues {} };
    if (interval == BarInterval::fifteenMinutes) {
        if (intraday && appendIntradayPoints(series, bars, range, *intraday))
            return series;
        // Without 15-minute bars the sessions' closes still go out as real instants, so the
        // reply keeps one time scale.
        const double base = bars[range.base].adjClose;
        for (std::size_t i = range.base; i <= range.last; ++i)
            appendPoint(series, marketCloseTime(bars[i].date), bars[i].adjClose, base);
        return series;
    }

    const std::span<const DailyBar> window(bars.data() + range.base, range.last - range.base + 1);
    const auto kept
        = sampledBars(window, interval == BarInterval::weekly ? SamplingFrequency::weekly : SamplingFrequency::daily);
    series.dates.reserve(kept.size());
    series.performance.reserve(kept.size());
    series.adjClose->reserve(kept.size());
    const double base = window.front().adjClose;
    for (const std::size_t i : kept)
        appendPoint(series, dailyBarTime(window[i].date), window[i].adjClose, base);
    return series;
}

TickerRanking rankTicker(
    const QString& symbol, const DailyHistory& bars, BarRange range, QDate marketEnd, const MetricSelection& metrics)
{
    const DailyBar& base = bars[range.base];
    const DailyBar& last = bars[range.last];
    const std::span<const DailyBar> window(bars.data() + range.base, range.last - range.base + 1);
    const qint64 spanDays = base.date.daysTo(last.date);

    TickerRanking ranking;
    ranking.ticker = symbol;
    ranking.netReturn = netReturn(base.adjClose, last.adjClose);
    ranking.cagr = cagr(base.adjClose, last.adjClose, spanDays);
    if (metrics.volatility || metrics.sharpeRatio) {
        const SamplingFrequency frequency = volatilityFrequency(spanDays);
        const auto returns = sampledReturns(window, frequency);
        const auto annualised = volatility(returns, frequency);
        if (metrics.volatility)
            ranking.volatility = annualised;
        if (metrics.sharpeRatio)
            ranking.sharpeRatio = sharpeRatio(returns, frequency, annualised);
    }
    if (metrics.periodMaxDrawdown)
        ranking.periodMaxDrawdown = periodMaxDrawdown(window);
    ranking.startDate = MarketTime::formatDate(base.date);
    ranking.endValue = last.close;
    ranking.presetReturns = presetReturns(bars, marketEnd);
    return ranking;
}

QString dataSourceName(DataSource source)
{
    return source == DataSource::simulated ? QStringLiteral("simulated") : QStringLiteral("imported");
}

std::expected<PricesResponse, UnknownTickerError> computePrices(const MarketReader& market, const PricesQuery& query)
{
    PricesResponse response;
    QStringList skipped;
    const BarInterval interval = windowInterval(query.window);
    const QDate marketEnd = market.lastMarketDate().value_or(query.window.end);
    QDate actualStart;
    QDate actualEnd;
    std::optional<qint64> latestLive;

    market.prefetch(query.tickers);
    response.series.reserve(static_cast<std::size_t>(query.tickers.size()));
    response.rankings.reserve(static_cast<std::size_t>(query.tickers.size()));
    for (const QString& symbol : query.tickers) {
        const auto info = market.find(symbol);
        if (!info) {
            if (!query.skipUnknown)
                return std::unexpected(UnknownTickerError { symbol });
            skipped.append(symbol);
            continue;
        }
        const auto bars = market.dailyBars(symbol);
        const auto intraday = market.intradayBars(symbol);
        if (!intraday->empty())
            latestLive = std::max(latestLive.value_or(0), intraday->back().time);

        const auto range = barsInWindow(*bars, query.window);
        if (!range) {
            TickerRanking bare;
            bare.ticker = symbol;
            response.rankings.push_back(std::move(bare));
            continue;
        }
        const QDate first = (*bars)[range->base].date;
        const QDate last = (*bars)[range->last].date;
        actualStart = actualStart.isValid() ? std::min(actualStart, first) : first;
        actualEnd = actualEnd.isValid() ? std::max(actualEnd, last) : last;

        response.series.push_back(tickerSeries(symbol, *bars, *range, interval, intraday.get()));
        TickerRanking ranking = rankTicker(symbol, *bars, *range, marketEnd, query.metrics);
        ranking.marketCap = info->marketCap;
        response.rankings.push_back(std::move(ranking));
    }

    if (!actualStart.isValid()) {
        // Nothing had bars: report the window that was asked for.
        const QDate anchor
            = query.window.preset ? presetAnchor(*query.window.preset, query.window.end) : query.window.start;
        actualStart = anchor.isValid() ? anchor : query.window.end;
        actualEnd = query.window.end;
    }
    response.range = RangeSummary { .actualStart = MarketTime::formatDate(actualStart),
        .actualEnd = MarketTime::formatDate(actualEnd),
        .interval = intervalName(interval) };
    if (query.skipUnknown)
        response.skippedTickers = skipped;
    if (const auto lastDay = market.lastMarketDate()) {
        DataFreshness freshness;
        freshness.latestHistoricalTimestamp = marketCloseTimestamp(*lastDay);
        if (latestLive)
            freshness.latestLiveTimestamp = easternTimestamp(*latestLive);
        response.dataFreshness = freshness;
    }
    response.dataSource = dataSourceName(market.dataSource());
    if (market.dataSource() == DataSource::imported) {
        const DataOrigin origin = market.dataOrigin();
        response.dataProvider = origin.provider;
        response.dataRefreshedAt = origin.refreshedAt;
    }
    return response;
}

} // namespace tessary::server
