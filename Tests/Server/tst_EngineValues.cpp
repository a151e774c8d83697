#include "MemoryMarket.h"
#include "Support/TestSupport.h"
#include "TessaryServer/Engine/Metrics.h"
#include "TessaryServer/Engine/WindowRules.h"
#include "TessaryServer/Http/MarketHandlers.h"
#include "TessaryWire/Json.h"
#include "TessaryWire/MarketTime.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <cmath>

using namespace tessary;
using namespace tessary::server;
using server::test::dailyBarsFromText;
using server::test::MemoryMarket;

namespace {

QJsonObject expectedDocument()
{
    QFile file(QStringLiteral(TESSARY_SERVER_TEST_DIR "/engine_expected.json"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("engine_expected.json is missing");
    return QJsonDocument::fromJson(file.readAll()).object();
}

bool closeTo(double actual, double expected, double relative)
{
    return std::abs(actual - expected) <= relative * std::max(1.0, std::abs(expected));
}

QString day(QDate date)
{
    return MarketTime::formatDate(date);
}

std::optional<double> optionalNumber(const QJsonValue& value)
{
    return value.isDouble() ? std::optional<double>(value.toDouble()) : std::nullopt;
}

// A QJsonObject from a 200 response, or a test failure.
QJsonObject okBody(const HttpResponse& response)
{
    if (response.status != 200)
        qWarning("status %d: %s", response.status, response.body.constData());
    return QJsonDocument::fromJson(response.body).object();
}

} // namespace

Q_DECLARE_METATYPE(tessary::Timeframe)

class EngineValueTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void matchesIndependentValues_data();
    void matchesIndependentValues();
    void presetReturnsMatch_data();
    void presetReturnsMatch();
    void presetAnchors_data();
    void presetAnchors();
    void windowBars_data();
    void windowBars();
    void sampling_data();
    void sampling();
    void metricsPresence_data();
    void metricsPresence();
    void intradaySeries_data();
    void intradaySeries();

private:
    std::unique_ptr<MemoryMarket> m_realMarket;
};

void EngineValueTests::initTestCase()
{
    if (const auto directory = tessary::test::sharedDataDirectory()) {
        auto market = MemoryMarket::fromDailyCsvDirectory(*directory + QStringLiteral("/daily"));
        QVERIFY2(market, qPrintable(tessary::test::failureText(market)));
        m_realMarket = std::move(*market);
    }
}

void EngineValueTests::matchesIndependentValues_data()
{
    QTest::addColumn<QJsonObject>("query");
    QTest::addColumn<QString>("interval");
    QTest::addColumn<QJsonArray>("tickers");
    for (const QJsonValue value : expectedDocument()[u"cases"].toArray()) {
        const QJsonObject testCase = value.toObject();
        QTest::newRow(testCase[u"name"].toString().toUtf8().constData())
            << testCase[u"query"].toObject() << testCase[u"interval"].toString() << testCase[u"tickers"].toArray();
    }
}

void EngineValueTests::matchesIndependentValues()
{
    QFETCH(QJsonObject, query);
    QFETCH(QString, interval);
    QFETCH(QJsonArray, tickers);
    if (!m_realMarket)
        QSKIP("../shared/data is not present in this checkout");

    HttpRequest request;
    request.path = QStringLiteral("/prices");
    QStringList symbols;
    for (const QJsonValue expected : tickers)
        symbols.append(expected[u"ticker"].toString());
    request.query.emplace_back(QStringLiteral("tickers"), symbols.join(u','));
    for (auto it = query.begin(); it != query.end(); ++it)
        request.query.emplace_back(it.key(), it.value().toString());

    const QJsonObject body = okBody(MarketHandlers(*m_realMarket).handle(request));
    QCOMPARE(body[u"range"][u"interval"].toString(), interval);
    QCOMPARE(body[u"data_source"].toString(), QStringLiteral("imported"));
    const QJsonArray rankings = body[u"rankings"].toArray();
    const QJsonArray series = body[u"series"].toArray();
    QCOMPARE(rankings.size(), tickers.size());

    qsizetype seriesIndex = 0;
    for (qsizetype i = 0; i < tickers.size(); ++i) {
        const QJsonObject expected = tickers[i].toObject();
        const QJsonObject ranking = rankings[i].toObject();
        const QString symbol = expected[u"ticker"].toString();
        QCOMPARE(ranking[u"ticker"].toString(), symbol);
        if (!expected.contains(u"start_date")) {
            QCOMPARE(ranking.keys(), QStringList { QStringLiteral("ticker") });
            continue;
        }
        QCOMPARE(ranking[u"start_date"].toString(), expected[u"start_date"].toString());
        QCOMPARE(ranking[u"end_value"].toDouble(), expected[u"end_value"].toDouble());
        for (const char* metric : { "net_return", "cagr", "volatility", "sharpe_ratio", "period_max_drawdown" }) {
            const auto key = QLatin1StringView(metric);
            const auto actualValue = optionalNumber(ranking[key]);
            const auto expectedValue = optionalNumber(expected[key]);
            QVERIFY2(actualValue.has_value() == expectedValue.has_value(), qPrintable(symbol + u' ' + key));
            if (expectedValue) {
                QVERIFY2(closeTo(*actualValue, *expectedValue, 1e-9),
                    qPrintable(
                        QStringLiteral("%1 %2: %3 vs %4").arg(symbol, key).arg(*actualValue).arg(*expectedValue)));
            }
        }
        QVERIFY(ranking[u"market_cap"].isDouble());

        const QJsonObject path = series[seriesIndex++].toObject();
        QCOMPARE(path[u"ticker"].toString(), symbol);
        const QJsonArray dates = path[u"dates"].toArray();
        const QJsonArray performance = path[u"performance"].toArray();
        QCOMPARE(dates.size(), expected[u"points"].toInteger());
        QCOMPARE(performance.size(), dates.size());
        QCOMPARE(path[u"adjClose"].toArray().size(), dates.size());
        QCOMPARE(dates.first().toInteger(), expected[u"first_time"].toInteger());
        QCOMPARE(dates.last().toInteger(), expected[u"last_time"].toInteger());
        QCOMPARE(performance.first().toDouble(), 0.0);
        QVERIFY(closeTo(performance.last().toDouble(), expected[u"last_performance"].toDouble(), 1e-7));
    }
    QCOMPARE(series.size(), seriesIndex);
}

void EngineValueTests::presetReturnsMatch_data()
{
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<QJsonObject>("expected");
    const QJsonObject all = expectedDocument()[u"preset_returns"].toObject();
    for (auto it = all.begin(); it != all.end(); ++it)
        QTest::newRow(it.key().toUtf8().constData()) << it.key() << it.value().toObject();
}

void EngineValueTests::presetReturnsMatch()
{
    QFETCH(QString, symbol);
    QFETCH(QJsonObject, expected);
    if (!m_realMarket)
        QSKIP("../shared/data is not present in this checkout");
    const auto returns = presetReturns(*m_realMarket->dailyBars(symbol), *m_realMarket->lastMarketDate());
    QCOMPARE(returns.size(), std::size_t(timeframeCount));
    for (const auto& [preset, value] : returns) {
        const auto wanted = optionalNumber(expected[preset]);
        QVERIFY2(value.has_value() == wanted.has_value(), qPrintable(preset));
        if (wanted)
            QVERIFY2(closeTo(*value, *wanted, 1e-12), qPrintable(preset));
    }
}

void EngineValueTests::presetAnchors_data()
{
    QTest::addColumn<Timeframe>("preset");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("anchor");
    QTest::newRow("1W") << Timeframe::oneWeek << "2021-04-21"
                        << "2021-04-14";
    QTest::newRow("15D across a month") << Timeframe::fifteenDay << "2021-03-05"
                                        << "2021-02-18";
    QTest::newRow("1M clamps to February") << Timeframe::oneMonth << "2021-03-31"
                                           << "2021-02-28";
    QTest::newRow("1M clamps to leap day") << Timeframe::oneMonth << "2020-03-31"
                                           << "2020-02-29";
    QTest::newRow("3M into a 30-day month") << Timeframe::threeMonth << "2021-12-31"
                                            << "2021-09-30";
    QTest::newRow("9M across a year") << Timeframe::nineMonth << "2021-04-21"
                                      << "2020-07-21";
    QTest::newRow("YTD is the last day of last year") << Timeframe::ytd << "2021-01-04"
                                                      << "2020-12-31";
    QTest::newRow("1Y from a leap day") << Timeframe::oneYear << "2020-02-29"
                                        << "2019-02-28";
    QTest::newRow("4Y onto a leap day") << Timeframe::fourYear << "2024-02-29"
                                        << "2020-02-29";
    QTest::newRow("40Y") << Timeframe::fortyYear << "2026-04-17"
                         << "1986-04-17";
}

void EngineValueTests::presetAnchors()
{
    QFETCH(Timeframe, preset);
    QFETCH(QString, end);
    QFETCH(QString, anchor);
    QCOMPARE(day(presetAnchor(preset, *MarketTime::parseDate(end))), anchor);
}

void EngineValueTests::windowBars_data()
{
    QTest::addColumn<QString>("bars");
    QTest::addColumn<QString>("preset"); // empty: the range below
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("expected"); // "base..last" or "none"

    // Thu 31 Dec, then the first week of 2021 (Fri 1 Jan is a holiday).
    const QString week
        = QStringLiteral("2020-12-30 1,2020-12-31 2,2021-01-04 3,2021-01-05 4,2021-01-06 5,2021-01-07 6,2021-01-08 7");
    QTest::newRow("YTD base is the last bar of last year") << week << "YTD"
                                                           << ""
                                                           << "2021-01-08"
                                                           << "2020-12-31..2021-01-08";
    QTest::newRow("1W anchor on a holiday takes the bar before") << week << "1W"
                                                                 << ""
                                                                 << "2021-01-08"
                                                                 << "2020-12-31..2021-01-08";
    QTest::newRow("1D is the close before the last session") << week << "1D"
                                                             << ""
                                                             << "2021-01-08"
                                                             << "2021-01-07..2021-01-08";
    QTest::newRow("3D counts sessions, not days") << week << "3D"
                                                  << ""
                                                  << "2021-01-08"
                                                  << "2021-01-05..2021-01-08";
    QTest::newRow("a late listing starts at its first bar") << QStringLiteral("2021-01-06 5,2021-01-07 6") << "1M"
                                                            << ""
                                                            << "2021-01-08"
                                                            << "2021-01-06..2021-01-07";
    QTest::newRow("3D with two bars starts at the first") << QStringLiteral("2021-01-07 6,2021-01-08 7") << "3D"
                                                          << ""
                                                          << "2021-01-08"
                                                          << "2021-01-07..2021-01-08";
    QTest::newRow("nothing traded after the anchor") << QStringLiteral("2020-06-01 1,2020-06-02 2") << "1M"
                                                     << ""
                                                     << "2021-01-08"
                                                     << "none";
    QTest::newRow("a stale symbol has no recent sessions")
        << QStringLiteral("2020-12-21 1,2020-12-22 2,2020-12-23 3") << "1D"
        << ""
        << "2021-01-08"
        << "none";
    QTest::newRow("range starts at the first bar on or after start") << week << ""
                                                                     << "2021-01-01"
                                                                     << "2021-01-06"
                                                                     << "2021-01-04..2021-01-06";
    QTest::newRow("range end between bars") << week << ""
                                            << "2020-12-30"
                                            << "2021-01-03"
                                            << "2020-12-30..2020-12-31";
    QTest::newRow("range with no bars inside") << week << ""
                                               << "2021-01-01"
                                               << "2021-01-03"
                                               << "none";
    QTest::newRow("range after the last bar") << week << ""
                                              << "2021-02-01"
                                              << "2021-03-01"
                                              << "none";
    QTest::newRow("one-day range on a session") << week << ""
                                                << "2021-01-05"
                                                << "2021-01-05"
                                                << "2021-01-05..2021-01-05";
}

void EngineValueTests::windowBars()
{
    QFETCH(QString, bars);
    QFETCH(QString, preset);
    QFETCH(QString, start);
    QFETCH(QString, end);
    QFETCH(QString, expected);
    const DailyHistory history = dailyBarsFromText(bars);
    const QDate endDate = *MarketTime::parseDate(end);
    const PriceWindow window = preset.isEmpty() ? rangeWindow(*MarketTime::parseDate(start), endDate)
                                                : presetWindow(*Timeframes::fromRawValue(preset), endDate, false);
    const auto range = barsInWindow(history, window);
    const QString actual = range
        ? day(history[range->base].date) + QStringLiteral("..") + day(history[range->last].date)
        : QStringLiteral("none");
    QCOMPARE(actual, expected);
}

void EngineValueTests::sampling_data()
{
    QTest::addColumn<QString>("bars");
    QTest::addColumn<int>("frequency");
    QTest::addColumn<QString>("kept");

    // ISO week 53 of 2020 runs Mon 28 Dec to Sun 3 Jan.
    const QString turnOfYear = QStringLiteral(
        "2020-12-23 1,2020-12-24 1,2020-12-28 1,2020-12-31 1,2021-01-04 1,2021-01-05 1,2021-01-11 1,2021-01-12 1");
    QTest::newRow("weekly keeps the base, then week ends")
        << turnOfYear << int(SamplingFrequency::weekly) << "2020-12-23 2020-12-24 2020-12-31 2021-01-05 2021-01-12";
    QTest::newRow("monthly keeps the base, then month ends")
        << turnOfYear << int(SamplingFrequency::monthly) << "2020-12-23 2020-12-31 2021-01-12";
    QTest::newRow("a base that ends its week is kept once")
        << QStringLiteral("2021-01-08 1,2021-01-11 1,2021-01-15 1") << int(SamplingFrequency::weekly)
        << "2021-01-08 2021-01-15";
    QTest::newRow("daily keeps everything")
        << QStringLiteral("2021-01-08 1,2021-01-11 1") << int(SamplingFrequency::daily) << "2021-01-08 2021-01-11";
    QTest::newRow("single bar") << QStringLiteral("2021-01-08 1") << int(SamplingFrequency::monthly) << "2021-01-08";
}

void EngineValueTests::sampling()
{
    QFETCH(QString, bars);
    QFETCH(int, frequency);
    QFETCH(QString, kept);
    const DailyHistory history = dailyBarsFromText(bars);
    QStringList days;
    for (const std::size_t i : sampledBars(history, static_cast<SamplingFrequency>(frequency)))
        days.append(day(history[i].date));
    QCOMPARE(days.join(u' '), kept);
}

void EngineValueTests::metricsPresence_data()
{
    QTest::addColumn<QString>("bars");
    QTest::addColumn<bool>("hasCagr");
    QTest::addColumn<bool>("hasVolatility");
    QTest::addColumn<bool>("hasSharpe");
    QTest::addColumn<double>("drawdown");

    QTest::newRow("364 days: no cagr") << QStringLiteral("2020-01-02 10,2020-06-01 8,2020-12-31 12") << false << true
                                       << true << -0.2;
    QTest::newRow("365 days: cagr") << QStringLiteral("2020-01-02 10,2020-06-01 8,2021-01-01 12") << true << true
                                    << true << -0.2;
    QTest::newRow("one return: no volatility")
        << QStringLiteral("2020-01-02 10,2020-01-03 11") << false << false << false << 0.0;
    QTest::newRow("flat: zero volatility, no sharpe")
        << QStringLiteral("2020-01-02 10,2020-01-03 10,2020-01-06 10") << false << true << false << 0.0;
    QTest::newRow("drawdown after a new peak")
        << QStringLiteral("2020-01-02 10,2020-01-03 20,2020-01-06 15,2020-01-07 5") << false << true << true << -0.75;
}

void EngineValueTests::metricsPresence()
{
    QFETCH(QString, bars);
    QFETCH(bool, hasCagr);
    QFETCH(bool, hasVolatility);
    QFETCH(bool, hasSharpe);
    QFETCH(double, drawdown);
    MemoryMarket market;
    TickerInfo info;
    info.symbol = QStringLiteral("X");
    market.addSymbol(info, dailyBarsFromText(bars));
    const DailyHistory& history = *market.dailyBars(info.symbol);
    HttpRequest request;
    request.path = QStringLiteral("/prices");
    request.query = { { QStringLiteral("tickers"), QStringLiteral("X") },
        { QStringLiteral("start"), day(history.front().date) }, { QStringLiteral("end"), day(history.back().date) } };
    const QJsonObject ranking = okBody(MarketHandlers(market).handle(request))[u"rankings"][0].toObject();
    QCOMPARE(ranking.contains(u"cagr"), hasCagr);
    QCOMPARE(ranking.contains(u"volatility"), hasVolatility);
    QCOMPARE(ranking.contains(u"sharpe_ratio"), hasSharpe);
    QVERIFY(closeTo(ranking[u"period_max_drawdown"].toDouble(), drawdown, 1e-12));
    QVERIFY(!ranking.contains(u"market_cap"));
}

void EngineValueTests::intradaySeries_data()
{
    QTest::addColumn<QString>("preset");
    QTest::addColumn<bool>("withIntraday");
    QTest::addColumn<QString>("interval");
    QTest::addColumn<QStringList>("times"); // New York times of the points
    QTest::addColumn<QList<double>>("performance");

    const QStringList withBars = { QStringLiteral("2021-01-07T16:00:00"), QStringLiteral("2021-01-08T09:45:00"),
        QStringLiteral("2021-01-08T10:00:00"), QStringLiteral("2021-01-08T16:00:00") };
    QTest::newRow("1D: previous close, then 15-minute bars")
        << "1D" << true << "15min" << withBars << QList<double> { 0, 0.1, -0.1, 0.2 };
    QTest::newRow("1D without 15-minute bars: closes at 16:00")
        << "1D" << false << "15min"
        << QStringList { QStringLiteral("2021-01-07T16:00:00"), QStringLiteral("2021-01-08T16:00:00") }
        << QList<double> { 0, 0.4 };
}

void EngineValueTests::intradaySeries()
{
    QFETCH(QString, preset);
    QFETCH(bool, withIntraday);
    QFETCH(QString, interval);
    QFETCH(QStringList, times);
    QFETCH(QList<double>, performance);

    const auto instant = [](const char* text) {
        return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate).toMSecsSinceEpoch();
    };
    IntradayHistory intraday;
    if (withIntraday) {
        // A bar of the previous session must not leak into a 1D window.
        intraday
            = { { instant("2021-01-07T15:45:00-05:00"), 9.9, 9.9 }, { instant("2021-01-08T09:45:00-05:00"), 11, 11 },
                  { instant("2021-01-08T10:00:00-05:00"), 9, 9 }, { instant("2021-01-08T16:00:00-05:00"), 12, 12 } };
    }
    MemoryMarket market;
    TickerInfo info;
    info.symbol = QStringLiteral("X");
    market.addSymbol(info, dailyBarsFromText(QStringLiteral("2021-01-06 9,2021-01-07 10,2021-01-08 14")), intraday);
    market.setDataSource(DataSource::simulated);

    HttpRequest request;
    request.path = QStringLiteral("/prices");
    request.query = { { QStringLiteral("tickers"), QStringLiteral("X") }, { QStringLiteral("preset"), preset },
        { QStringLiteral("intraday"), QStringLiteral("true") } };
    const QJsonObject body = okBody(MarketHandlers(market).handle(request));
    QCOMPARE(body[u"range"][u"interval"].toString(), interval);
    QCOMPARE(body[u"data_source"].toString(), QStringLiteral("simulated"));
    const QJsonObject series = body[u"series"][0].toObject();
    QStringList actualTimes;
    QList<double> actualPerformance;
    for (const QJsonValue time : series[u"dates"].toArray()) {
        actualTimes.append(QDateTime::fromMSecsSinceEpoch(time.toInteger(), MarketTime::eastern())
                               .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")));
    }
    for (const QJsonValue value : series[u"performance"].toArray())
        actualPerformance.append(std::round(value.toDouble() * 1e6) / 1e6);
    QCOMPARE(actualTimes, times);
    QCOMPARE(actualPerformance, performance);
    // Metrics always come from the daily closes.
    QVERIFY(closeTo(body[u"rankings"][0][u"net_return"].toDouble(), 0.4, 1e-12));
    const QJsonObject freshness = body[u"data_freshness"].toObject();
    QCOMPARE(freshness[u"latest_historical_timestamp"].toString(), QStringLiteral("2021-01-08T16:00:00-05:00"));
    QCOMPARE(freshness.contains(u"latest_live_timestamp"), withIntraday);
}

QTEST_GUILESS_MAIN(EngineValueTests)
#include "tst_EngineValues.moc"
