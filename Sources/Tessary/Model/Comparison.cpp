#include "Comparison.h"

#include "TessaryWire/Freshness.h"
#include "TessaryWire/MarketTime.h"

#include <QHash>

#include <algorithm>
#include <map>

namespace tessary {

int pointBudget(qsizetype requested)
{
    const qsizetype n = std::max<qsizetype>(requested, 1);
    if (n > 666)
        return 150;
    return static_cast<int>(std::min<qsizetype>(100000 / n, 600));
}

namespace {

std::optional<double> valueAt(const OptionalValues& values, std::size_t i)
{
    return i < values.size() ? values[i] : std::nullopt;
}

void keepBar(std::vector<ChartPoint>& points, const TickerSeries& series, std::size_t i)
{
    points.emplace_back(static_cast<double>(series.dates[i]) / 1000.0, *series.performance[i],
        series.adjClose ? valueAt(*series.adjClose, i) : std::nullopt);
}

// Every step-th bar, sliding forward by whole steps past nulls, and always the last bar
// when it has a value, so each line ends on the latest quote.
std::vector<ChartPoint> thin(const TickerSeries& series, int budget)
{
    const std::size_t count = std::min(series.dates.size(), series.performance.size());
    const auto perLine = static_cast<std::size_t>(budget);
    const std::size_t step = std::max<std::size_t>((count + perLine - 1) / perLine, 1);
    // Each kept bar lies at least one step past the previous one, plus the last bar: reserving
    // exactly that leaves no unused capacity in a comparison that may be kept for a while.
    std::vector<ChartPoint> points;
    points.reserve(std::min(count, (count + step - 1) / step + 1));
    std::optional<std::size_t> lastKept;
    for (std::size_t i = 0; i < count; i += step) {
        while (i < count && !series.performance[i])
            i += step;
        if (i >= count)
            break;
        keepBar(points, series, i);
        lastKept = i;
    }
    if (count > 0 && lastKept != count - 1 && series.performance[count - 1])
        keepBar(points, series, count - 1);
    return points;
}

// The first bar that has a value, in milliseconds.
std::optional<qint64> firstBar(const TickerSeries& series)
{
    const std::size_t count = std::min(series.dates.size(), series.performance.size());
    for (std::size_t i = 0; i < count; ++i) {
        if (series.performance[i])
            return series.dates[i];
    }
    return std::nullopt;
}

RankRow rowOf(const TickerRanking& ranking)
{
    RankRow row;
    row.ticker = ranking.ticker;
    row.netReturn = ranking.netReturn;
    row.cagr = ranking.cagr;
    row.volatility = ranking.volatility;
    row.sharpe = ranking.sharpeRatio;
    row.maxDrawdown = ranking.periodMaxDrawdown;
    row.price = ranking.endValue;
    row.marketCap = ranking.marketCap;
    if (ranking.startDate)
        row.startDate = MarketTime::parseDate(*ranking.startDate);
    if (ranking.presetReturns) {
        for (const auto& [preset, value] : *ranking.presetReturns) {
            const auto period = Timeframes::fromRawValue(preset);
            if (value && period)
                row.presetReturns[static_cast<std::size_t>(*period)] = *value;
        }
    }
    return row;
}

// A late starter's metrics cover only part of the period, so putting them beside the others
// would rank a shorter run as if it were the whole one; they show NA instead. The start date
// stays for the hover text that explains the gap.
void blankMetrics(RankRow& row)
{
    row.netReturn.reset();
    row.cagr.reset();
    row.volatility.reset();
    row.sharpe.reset();
    row.maxDrawdown.reset();
}

std::optional<double> difference(std::optional<double> value, std::optional<double> reference)
{
    if (!value || !reference)
        return std::nullopt;
    return *value - *reference;
}

} // namespace

Comparison buildComparison(
    const PricesResponse& response, const QStringList& tickers, const QString& benchmark, const QDateTime& now)
{
    Comparison comparison;
    comparison.id = QUuid::createUuid();
    comparison.interval = response.range.interval;
    comparison.skipped = response.skippedTickers.value_or(QStringList());
    comparison.dataSource = response.dataSource;
    comparison.dataProvider = response.dataProvider;
    if (response.dataRefreshedAt) {
        const QDateTime refreshed = QDateTime::fromString(*response.dataRefreshedAt, Qt::ISODate);
        if (refreshed.isValid())
            comparison.dataRefreshed = refreshed;
    }
    if (response.dataFreshness)
        comparison.lastQuote = lastQuote(*response.dataFreshness, now);

    // Each ticker's place in the list, looked up once per line rather than searched for.
    QHash<QString, qsizetype> positions;
    positions.reserve(tickers.size());
    for (qsizetype i = tickers.size() - 1; i >= 0; --i)
        positions.insert(tickers[i], i);
    const bool benchmarkIsMember = positions.contains(benchmark);
    const int budget = pointBudget(positions.size() + (benchmarkIsMember ? 0 : 1));
    const auto requested = [&](const QString& ticker) { return ticker == benchmark || positions.contains(ticker); };

    // First bars in response order, so late starters come out in the order of the lines.
    std::vector<std::pair<QString, qint64>> firstBars;
    firstBars.reserve(response.series.size());
    comparison.series.reserve(response.series.size());
    for (const TickerSeries& series : response.series) {
        if (!requested(series.ticker))
            continue;
        if (const auto first = firstBar(series))
            firstBars.emplace_back(series.ticker, *first);
        std::vector<ChartPoint> points = thin(series, budget);
        if (points.empty())
            continue;
        const bool isBenchmark = series.ticker == benchmark && !benchmarkIsMember;
        comparison.series.push_back(
            ChartSeries { series.ticker, std::move(points), isBenchmark, positions.value(series.ticker, 0) });
    }

    // The period starts at the service's first covered day or the earliest bar, whichever
    // comes first; a list whose every ticker started late is still measured from the day
    // the period begins.
    std::optional<qint64> startMs;
    if (const auto day = MarketTime::parseDate(response.range.actualStart))
        startMs = QDateTime(*day, QTime(0, 0), MarketTime::utc()).toMSecsSinceEpoch();
    for (const auto& [ticker, first] : firstBars)
        startMs = std::min(startMs.value_or(first), first);
    if (startMs)
        comparison.start = QDateTime::fromMSecsSinceEpoch(*startMs, MarketTime::utc());

    // The service only reports where each ticker's data starts; whether that makes it a late
    // starter is decided here alone, so every display agrees.
    std::map<QString, QDateTime> late;
    for (const auto& [ticker, first] : firstBars) {
        if (first - *startMs > lateStartSeconds * 1000) {
            const QDateTime firstDate = QDateTime::fromMSecsSinceEpoch(first, MarketTime::utc());
            comparison.lateStarters.push_back(LateStarter { ticker, firstDate });
            late.emplace(ticker, firstDate);
        }
    }

    comparison.rows.reserve(response.rankings.size());
    for (const TickerRanking& ranking : response.rankings) {
        if (!requested(ranking.ticker))
            continue;
        RankRow& row = comparison.rows.emplace_back(rowOf(ranking));
        if (const auto first = late.find(row.ticker); first != late.end()) {
            row.incomplete = true;
            blankMetrics(row);
            if (!row.startDate)
                row.startDate = first->second.date();
        }
    }

    const auto benchmarkRow = std::ranges::find(comparison.rows, benchmark, &RankRow::ticker);
    if (benchmarkRow != comparison.rows.end())
        comparison.benchmarkReturn = benchmarkRow->netReturn;
    for (RankRow& row : comparison.rows)
        row.vsBenchmark = difference(row.netReturn, comparison.benchmarkReturn);
    if (benchmarkRow != comparison.rows.end())
        comparison.benchmarkRow = *benchmarkRow;
    if (!benchmarkIsMember)
        std::erase_if(comparison.rows, [&](const RankRow& row) { return row.ticker == benchmark; });
    return comparison;
}

QDate barDay(const Comparison& comparison, const QDateTime& instant)
{
    return barDay(comparison.interval, instant);
}

} // namespace tessary
