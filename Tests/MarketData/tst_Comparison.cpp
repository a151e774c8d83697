#include "Support/TestSupport.h"
#include "Tessary/Model/Comparison.h"

#include <QTest>
#include <QTimeZone>

using namespace tessary;
using test::utcInstant;

namespace {

constexpr qint64 dayMs = 86'400'000;
constexpr qint64 startMs = 1'704'153'600'000; // 2024-01-02T00:00:00Z

TickerSeries dailySeries(const QString& ticker, int bars, qint64 firstMs = startMs, const QList<int>& nulls = {})
{
    TickerSeries series;
    series.ticker = ticker;
    OptionalValues prices;
    for (int i = 0; i < bars; ++i) {
        series.dates.push_back(firstMs + i * dayMs);
        series.performance.push_back(nulls.contains(i) ? std::nullopt : std::optional(i / 1000.0));
        prices.push_back(100.0 + i);
    }
    series.adjClose = prices;
    return series;
}

TickerRanking ranking(const QString& ticker, std::optional<double> netReturn)
{
    TickerRanking ranking;
    ranking.ticker = ticker;
    ranking.netReturn = netReturn;
    return ranking;
}

PricesResponse response(std::vector<TickerSeries> series, std::vector<TickerRanking> rankings = {})
{
    PricesResponse response;
    response.range = RangeSummary { u"2024-01-02"_qs, u"2027-12-31"_qs, u"1D"_qs };
    response.series = std::move(series);
    response.rankings = std::move(rankings);
    return response;
}

// A list that, with the benchmark, requests exactly `n` distinct tickers; T0 is always in it.
QStringList listOfSize(int n)
{
    QStringList tickers;
    for (int i = 0; i < n - 1; ++i)
        tickers.append(QStringLiteral("T%1").arg(i));
    return n == 1 ? QStringList { u"T0"_qs } : tickers;
}

QString benchmarkFor(int n)
{
    return n == 1 ? u"T0"_qs : u"SPY"_qs;
}

QList<int> barIndices(const ChartSeries& series)
{
    QList<int> indices;
    for (const ChartPoint& point : series.points)
        indices.append(static_cast<int>((static_cast<qint64>(point.date * 1000) - startMs) / dayMs));
    return indices;
}

const ChartSeries* find(const Comparison& comparison, const QString& ticker)
{
    for (const ChartSeries& series : comparison.series) {
        if (series.ticker == ticker)
            return &series;
    }
    return nullptr;
}

} // namespace

class ComparisonTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void thinningKeepsTheBudget_data();
    void thinningKeepsTheBudget();
    void thinningStepsOverNulls_data();
    void thinningStepsOverNulls();
    void benchmarkAndRows_data();
    void benchmarkAndRows();
    void lateStarters_data();
    void lateStarters();
    void carriesResponseFacts();
};

void ComparisonTests::thinningKeepsTheBudget_data()
{
    QTest::addColumn<int>("requested");
    QTest::addColumn<int>("bars");
    QTest::addColumn<int>("budget");
    QTest::addColumn<int>("points");

    QTest::newRow("n=1, 600 bars kept whole") << 1 << 600 << 600 << 600;
    QTest::newRow("n=1, 1000 bars step 2") << 1 << 1000 << 600 << 501;
    QTest::newRow("n=1, 601 bars lands on last") << 1 << 601 << 600 << 301;
    QTest::newRow("n=166, 600 bars") << 166 << 600 << 600 << 600;
    QTest::newRow("n=167, 600 bars") << 167 << 600 << 598 << 301;
    QTest::newRow("n=200, 1260 bars") << 200 << 1260 << 500 << 421;
    QTest::newRow("n=666, 600 bars") << 666 << 600 << 150 << 151;
    QTest::newRow("n=667, 600 bars") << 667 << 600 << 150 << 151;
    QTest::newRow("n=667, 150 bars") << 667 << 150 << 150 << 150;
    QTest::newRow("n=1, one bar") << 1 << 1 << 600 << 1;
    QTest::newRow("n=1, no bars") << 1 << 0 << 600 << 0;
}

void ComparisonTests::thinningKeepsTheBudget()
{
    QFETCH(int, requested);
    QFETCH(int, bars);
    QFETCH(int, budget);
    QFETCH(int, points);

    QCOMPARE(pointBudget(requested), budget);
    const Comparison comparison
        = buildComparison(response({ dailySeries(u"T0"_qs, bars) }), listOfSize(requested), benchmarkFor(requested));
    const ChartSeries* series = find(comparison, u"T0"_qs);
    QCOMPARE(series ? static_cast<int>(series->points.size()) : 0, points);
    if (!series)
        return;
    // Every line starts at the first bar and ends on the latest one.
    QCOMPARE(barIndices(*series).front(), 0);
    QCOMPARE(barIndices(*series).back(), bars - 1);
    QCOMPARE(series->points.back().price(), std::optional(100.0 + bars - 1));
    QCOMPARE(series->points.back().date, (startMs + (bars - 1) * dayMs) / 1000.0);
}

void ComparisonTests::thinningStepsOverNulls_data()
{
    QTest::addColumn<int>("bars");
    QTest::addColumn<QList<int>>("nulls");
    QTest::addColumn<QList<int>>("head");
    QTest::addColumn<QList<int>>("tail");
    QTest::addColumn<int>("count");

    // 667 requested tickers: budget 150, so 300 bars are walked in steps of 2.
    QList<int> even;
    QList<int> all;
    for (int i = 0; i < 300; ++i) {
        (i % 2 ? all : even).append(i);
        if (i % 2 == 0)
            all.append(i);
    }
    QTest::newRow("first bar null") << 300 << QList<int> { 0 } << QList<int> { 2, 4 } << QList<int> { 298, 299 } << 150;
    QTest::newRow("null run skips whole steps")
        << 300 << QList<int> { 2, 3, 4, 5 } << QList<int> { 0, 6, 8 } << QList<int> { 298, 299 } << 149;
    QTest::newRow("last bar null") << 300 << QList<int> { 299 } << QList<int> { 0, 2 } << QList<int> { 296, 298 }
                                   << 150;
    QTest::newRow("every stop null") << 300 << even << QList<int> { 299 } << QList<int> { 299 } << 1;
    QTest::newRow("all null") << 300 << all << QList<int> {} << QList<int> {} << 0;
}

void ComparisonTests::thinningStepsOverNulls()
{
    QFETCH(int, bars);
    QFETCH(QList<int>, nulls);
    QFETCH(QList<int>, head);
    QFETCH(QList<int>, tail);
    QFETCH(int, count);

    const Comparison comparison
        = buildComparison(response({ dailySeries(u"T0"_qs, bars, startMs, nulls) }, { ranking(u"T0"_qs, 0.1) }),
            listOfSize(667), u"SPY"_qs);
    // A ticker without a single value has no line but keeps its row.
    QCOMPARE(comparison.rows.size(), 1u);
    const ChartSeries* series = find(comparison, u"T0"_qs);
    QCOMPARE(series ? static_cast<int>(series->points.size()) : 0, count);
    if (!series)
        return;
    const QList<int> indices = barIndices(*series);
    QCOMPARE(indices.first(head.size()), head);
    QCOMPARE(indices.last(tail.size()), tail);
    QVERIFY(std::ranges::is_sorted(indices));
}

void ComparisonTests::benchmarkAndRows_data()
{
    QTest::addColumn<QStringList>("tickers");
    QTest::addColumn<std::optional<double>>("benchmarkNet");
    QTest::addColumn<QStringList>("lines"); // drawn tickers, "*" marks the benchmark line
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<std::optional<double>>("aaplVsBenchmark");

    QTest::newRow("benchmark apart") << QStringList { u"AAPL"_qs, u"MSFT"_qs } << std::optional(0.10)
                                     << QStringList { u"AAPL"_qs, u"MSFT"_qs, u"SPY*"_qs }
                                     << QStringList { u"AAPL"_qs, u"MSFT"_qs } << std::optional(0.15);
    QTest::newRow("benchmark is a member")
        << QStringList { u"SPY"_qs, u"AAPL"_qs } << std::optional(0.10) << QStringList { u"AAPL"_qs, u"SPY"_qs }
        << QStringList { u"AAPL"_qs, u"SPY"_qs } << std::optional(0.15);
    QTest::newRow("benchmark without return")
        << QStringList { u"AAPL"_qs } << std::optional<double>() << QStringList { u"AAPL"_qs, u"SPY*"_qs }
        << QStringList { u"AAPL"_qs } << std::optional<double>();
}

void ComparisonTests::benchmarkAndRows()
{
    QFETCH(QStringList, tickers);
    QFETCH(std::optional<double>, benchmarkNet);
    QFETCH(QStringList, lines);
    QFETCH(QStringList, rows);
    QFETCH(std::optional<double>, aaplVsBenchmark);

    // The service also answers for a ticker nobody asked for (a stale cache, say): it is dropped.
    const PricesResponse prices = response({ dailySeries(u"AAPL"_qs, 10), dailySeries(u"OLD"_qs, 10),
                                               dailySeries(u"MSFT"_qs, 10), dailySeries(u"SPY"_qs, 10) },
        { ranking(u"AAPL"_qs, 0.25), ranking(u"OLD"_qs, 0.5), ranking(u"SPY"_qs, benchmarkNet),
            ranking(u"MSFT"_qs, {}) });
    const Comparison comparison = buildComparison(prices, tickers, u"SPY"_qs);

    QStringList drawn;
    for (const ChartSeries& series : comparison.series)
        drawn.append(series.ticker + (series.isBenchmark ? u"*"_qs : QString()));
    QCOMPARE(drawn, lines);
    QStringList ranked;
    for (const RankRow& row : comparison.rows)
        ranked.append(row.ticker);
    QCOMPARE(ranked, rows);

    QVERIFY(comparison.benchmarkRow);
    QCOMPARE(comparison.benchmarkRow->ticker, u"SPY");
    QCOMPARE(comparison.benchmarkReturn, benchmarkNet);
    QCOMPARE(comparison.rows.front().vsBenchmark.has_value(), aaplVsBenchmark.has_value());
    if (aaplVsBenchmark)
        QVERIFY(qFuzzyCompare(*comparison.rows.front().vsBenchmark, *aaplVsBenchmark));
    for (const RankRow& row : comparison.rows) {
        if (row.ticker == u"MSFT")
            QVERIFY2(!row.vsBenchmark, "a missing return is never compared as zero");
    }
}

void ComparisonTests::lateStarters_data()
{
    QTest::addColumn<qint64>("offsetMs"); // first bar of LATE after the period start
    QTest::addColumn<bool>("late");

    constexpr qint64 thirtyDays = 30 * dayMs;
    QTest::newRow("20 days") << 20 * dayMs << false;
    QTest::newRow("30 days less 1 s") << thirtyDays - 1000 << false;
    QTest::newRow("exactly 30 days") << thirtyDays << false;
    QTest::newRow("30 days and 1 s") << thirtyDays + 1000 << true;
    QTest::newRow("31 days") << 31 * dayMs << true;
}

void ComparisonTests::lateStarters()
{
    QFETCH(qint64, offsetMs);
    QFETCH(bool, late);

    // LATE's return over its shorter run beats everything, which is exactly why it must not
    // be set beside the others once it counts as late.
    TickerRanking lateRanking = ranking(u"LATE"_qs, 0.9);
    lateRanking.cagr = lateRanking.volatility = lateRanking.sharpeRatio = lateRanking.periodMaxDrawdown = 0.5;
    lateRanking.endValue = 42.0;
    const PricesResponse prices = response(
        { dailySeries(u"SPY"_qs, 60), dailySeries(u"EARLY"_qs, 60), dailySeries(u"LATE"_qs, 30, startMs + offsetMs) },
        { ranking(u"SPY"_qs, 0.05), ranking(u"EARLY"_qs, 0.1), lateRanking });
    const Comparison comparison = buildComparison(prices, { u"EARLY"_qs, u"LATE"_qs }, u"SPY"_qs);
    QCOMPARE(comparison.start, QDateTime::fromMSecsSinceEpoch(startMs, QTimeZone::utc()));
    QCOMPARE(comparison.lateStarters.size(), late ? 1u : 0u);
    if (late) {
        QCOMPARE(comparison.lateStarters.front().ticker, u"LATE");
        QCOMPARE(comparison.lateStarters.front().firstDate.toMSecsSinceEpoch(), startMs + offsetMs);
    }
    for (const RankRow& row : comparison.rows) {
        QCOMPARE(row.incomplete, late && row.ticker == u"LATE");
        if (row.ticker != u"LATE")
            continue;
        for (const auto metric :
            { row.netReturn, row.vsBenchmark, row.cagr, row.volatility, row.sharpe, row.maxDrawdown })
            QCOMPARE(metric.has_value(), !late);
        QCOMPARE(row.price, 42.0);
        if (late)
            QCOMPARE(row.startDate, QDateTime::fromMSecsSinceEpoch(startMs + offsetMs, QTimeZone::utc()).date());
    }

    // Alone, it is still measured from the day the period begins, not from its own first bar.
    const Comparison alone
        = buildComparison(response({ dailySeries(u"LATE"_qs, 30, startMs + offsetMs) }), { u"LATE"_qs }, u"LATE"_qs);
    QCOMPARE(alone.lateStarters.size(), late ? 1u : 0u);
}

void ComparisonTests::carriesResponseFacts()
{
    PricesResponse prices = response({ dailySeries(u"AAPL"_qs, 5) });
    prices.series.front().adjClose->resize(3); // the last two closes left out
    TickerRanking apple = ranking(u"AAPL"_qs, 0.3);
    apple.startDate = u"2024-01-02T00:00:00Z"_qs;
    apple.presetReturns = { { { u"1M"_qs, 0.02 }, { u"10Y"_qs, std::nullopt }, { u"5W"_qs, 0.5 } } };
    apple.endValue = 104.0;
    apple.periodMaxDrawdown = -0.2;
    prices.rankings = { apple };
    prices.range.interval = u"15min"_qs;
    prices.skippedTickers = QStringList { u"NOPE"_qs };
    prices.dataFreshness = DataFreshness { u"2024-01-05T21:00:00Z"_qs, u"2030-01-01T00:00:00Z"_qs };
    prices.dataSource = u"simulated"_qs;

    const QDateTime now = utcInstant("2024-01-06T12:00:00Z");
    const Comparison first = buildComparison(prices, { u"AAPL"_qs }, u"SPY"_qs, now);
    const Comparison second = buildComparison(prices, { u"AAPL"_qs }, u"SPY"_qs, now);
    QVERIFY(!first.id.isNull());
    QVERIFY(first.id != second.id);
    QCOMPARE(first.series, second.series);
    const std::vector<ChartPoint>& points = first.series.front().points;
    QCOMPARE(points[2].price(), std::optional(102.0));
    QCOMPARE(points[3].price(), std::nullopt);

    QCOMPARE(first.interval, u"15min");
    QCOMPARE(first.skipped, QStringList { u"NOPE"_qs });
    QCOMPARE(first.dataSource, std::optional(u"simulated"_qs));
    QCOMPARE(first.lastQuote, std::optional(utcInstant("2024-01-05T21:00:00Z")));
    QVERIFY(!first.benchmarkRow && !first.benchmarkReturn);

    const RankRow& row = first.rows.front();
    QCOMPARE(row.startDate, std::optional(QDate(2024, 1, 2)));
    decltype(RankRow::presetReturns) presetReturns {};
    presetReturns[static_cast<std::size_t>(Timeframe::oneMonth)] = 0.02;
    QVERIFY(row.presetReturns == presetReturns);
    QCOMPARE(row.price, std::optional(104.0));
    QCOMPARE(row.maxDrawdown, std::optional(-0.2));
    QVERIFY(!row.cagr && !row.vsBenchmark);

    QVERIFY(buildComparison(response({}), { u"AAPL"_qs }, u"SPY"_qs).series.empty());
}

QTEST_GUILESS_MAIN(ComparisonTests)
#include "tst_Comparison.moc"
