#include "TessaryServer/Data/Data.h"
#include "TessaryServer/Data/DemoUniverse.h"
#include "TessaryServer/Data/MarketRegimes.h"
#include "TessaryServer/Data/MarketSimulation.h"

#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <cmath>
#include <stop_token>

using namespace tessary;
using namespace tessary::server;

namespace {

std::unique_ptr<MarketDatabase> openIn(const QTemporaryDir& dir, const QString& name)
{
    auto database = MarketDatabase::open(dir.filePath(name));
    if (!database)
        qFatal("cannot open the store: %s", qPrintable(database.error().description()));
    return std::move(*database);
}

DemoOptions shortSpan(QDate lastDay, quint64 seed = 42)
{
    DemoOptions options;
    options.seed = seed;
    options.firstDay = QDate(2025, 10, 1);
    options.lastDay = lastDay;
    return options;
}

bool equalBars(const DailyHistory& a, const DailyHistory& b)
{
    return std::ranges::equal(a, b, [](const DailyBar& x, const DailyBar& y) {
        return x.date == y.date && x.close == y.close && x.adjClose == y.adjClose;
    });
}

bool equalBars(const IntradayHistory& a, const IntradayHistory& b)
{
    return std::ranges::equal(a, b, [](const IntradayBar& x, const IntradayBar& y) {
        return x.time == y.time && x.close == y.close && x.adjClose == y.adjClose;
    });
}

bool sameBars(const MarketReader& a, const MarketReader& b, QString* difference)
{
    const auto universe = a.universe();
    for (const TickerInfo& info : *universe) {
        if (!equalBars(*a.dailyBars(info.symbol), *b.dailyBars(info.symbol))) {
            *difference = info.symbol + QStringLiteral(" daily");
            return false;
        }
        if (!equalBars(*a.intradayBars(info.symbol), *b.intradayBars(info.symbol))) {
            *difference = info.symbol + QStringLiteral(" intraday");
            return false;
        }
    }
    return *universe == *b.universe();
}

std::vector<double> logReturns(const DailyHistory& bars, QDate from, QDate to)
{
    std::vector<double> returns;
    for (std::size_t i = 1; i < bars.size(); ++i)
        if (bars[i].date > from && bars[i].date <= to)
            returns.push_back(std::log(bars[i].adjClose / bars[i - 1].adjClose));
    return returns;
}

double correlation(const std::vector<double>& x, const std::vector<double>& y)
{
    const std::size_t n = std::min(x.size(), y.size());
    double mx = 0, my = 0;
    for (std::size_t i = 0; i < n; ++i)
        mx += x[i], my += y[i];
    mx /= n, my /= n;
    double sxy = 0, sxx = 0, syy = 0;
    for (std::size_t i = 0; i < n; ++i)
        sxy += (x[i] - mx) * (y[i] - my), sxx += (x[i] - mx) * (x[i] - mx), syy += (y[i] - my) * (y[i] - my);
    return sxy / std::sqrt(sxx * syy);
}

double closeOn(const DailyHistory& bars, QDate day)
{
    const auto found = std::ranges::lower_bound(bars, day, {}, &DailyBar::date);
    return found == bars.end() ? NAN : found->adjClose;
}

const demo::DemoSymbol& symbolNamed(const char* name)
{
    const auto& symbols = demo::demoSymbols();
    return *std::ranges::find(symbols, QString::fromLatin1(name), [](const auto& s) { return s.info.symbol; });
}

} // namespace

class DemoMarketTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void universeIsWellFormed();
    void sameSeedSameMarketOtherSeedOther();
    void extendingEqualsGeneratingInOneGo();
    void cancelledWritesLeaveTheMarketAsItWas();
    void runningServerKeepsTheMarketCurrent();
    void barsFollowTheCalendar();
    void laterListingsStartLater_data();
    void laterListingsStartLater();
    void prepareSeedsOnlyWhenAllowed();
    void historicalEpisodes_data();
    void historicalEpisodes();
    void correlationsFollowTheFactors();
    void adjustedClosesCarrySplitsAndDividends();

private:
    std::unique_ptr<demo::MarketSimulation> m_full;
};

void DemoMarketTests::initTestCase()
{
    m_full = std::make_unique<demo::MarketSimulation>(DemoOptions {}.seed, QDate(1985, 1, 2), QDate(2026, 11, 20));
}

void DemoMarketTests::universeIsWellFormed()
{
    const auto& universe = demoUniverse();
    QVERIFY(universe.size() >= 300);
    QSet<QString> symbols;
    int etfs = 0, funds = 0;
    for (const TickerInfo& info : universe) {
        QVERIFY2(!symbols.contains(info.symbol), qPrintable(info.symbol));
        symbols.insert(info.symbol);
        QVERIFY2(!info.name.isEmpty() && info.marketCap && *info.marketCap > 0, qPrintable(info.symbol));
        etfs += info.isEtf;
        funds += info.isFund;
        if (!info.isEtf && !info.isFund)
            QVERIFY2(demo::sectorIndex(info.sector) >= 0 && info.industry && info.exchange, qPrintable(info.symbol));
    }
    QVERIFY(std::ranges::is_sorted(universe, {}, &TickerInfo::symbol));
    QVERIFY(etfs >= 50 && funds >= 10);
    for (const char* required : { "SPY", "QQQ", "DIA", "IWM", "VTI", "XLK", "XLF", "XLV", "XLE", "XLY", "XLP", "XLI",
             "XLB", "XLU", "XLRE", "XLC", "AGG", "SCHD", "VFIAX", "BRK.B" })
        QVERIFY2(symbols.contains(QString::fromLatin1(required)), required);
}

void DemoMarketTests::sameSeedSameMarketOtherSeedOther()
{
    QTemporaryDir dir;
    auto first = openIn(dir, QStringLiteral("a"));
    auto second = openIn(dir, QStringLiteral("b"));
    QVERIFY(generateDemoMarket(*first, shortSpan(QDate(2025, 11, 14))));
    QVERIFY(generateDemoMarket(*second, shortSpan(QDate(2025, 11, 14))));
    QString difference;
    QVERIFY2(sameBars(*first, *second, &difference), qPrintable(difference));
    QCOMPARE(first->dataSource(), DataSource::simulated);
    QCOMPARE(first->demoSeed(), quint64(42));
    QCOMPARE(first->lastMarketDate(), QDate(2025, 11, 14));
    QVERIFY(!generateDemoMarket(*first, shortSpan(QDate(2025, 11, 14))));
    // Another seed is another market.
    const demo::MarketSimulation other(43, QDate(2025, 10, 1), QDate(2025, 11, 14));
    const auto& spy = symbolNamed("SPY");
    QVERIFY(!equalBars(other.dailyHistory(spy), *first->dailyBars(QStringLiteral("SPY"))));
    QVERIFY(equalBars(demo::MarketSimulation(42, QDate(2025, 10, 1), QDate(2025, 11, 14)).dailyHistory(spy),
        *first->dailyBars(QStringLiteral("SPY"))));
}

void DemoMarketTests::extendingEqualsGeneratingInOneGo()
{
    QTemporaryDir dir;
    auto stepwise = openIn(dir, QStringLiteral("stepwise"));
    auto direct = openIn(dir, QStringLiteral("direct"));
    QVERIFY(generateDemoMarket(*stepwise, shortSpan(QDate(2025, 11, 7))));
    std::vector<double> progress;
    const auto extended = extendDemoMarket(*stepwise, QDate(2025, 11, 23), [&](double p) { progress.push_back(p); });
    QVERIFY(extended);
    QCOMPARE(extended->lastDay, QDate(2025, 11, 21));
    QVERIFY(!progress.empty() && std::ranges::is_sorted(progress) && progress.back() == 1.0);
    QVERIFY(generateDemoMarket(*direct, shortSpan(QDate(2025, 11, 21))));
    QString difference;
    QVERIFY2(sameBars(*stepwise, *direct, &difference), qPrintable(difference));
    QCOMPARE(stepwise->lastDemoDate(), QDate(2025, 11, 21));
    // Nothing to do when already current.
    QCOMPARE(extendDemoMarket(*stepwise, QDate(2025, 11, 21))->dailyBars, 0);
}

void DemoMarketTests::cancelledWritesLeaveTheMarketAsItWas()
{
    QTemporaryDir dir;
    auto database = openIn(dir, QStringLiteral("cancelled"));
    auto reference = openIn(dir, QStringLiteral("reference"));
    // Stopped a few symbols in, as when the app quits during its first start.
    std::stop_source stopGenerating;
    const auto cancelSoon = [](std::stop_source& stop) {
        return [&stop](double fraction) {
            if (fraction > 0.1)
                stop.request_stop();
        };
    };
    QVERIFY(!generateDemoMarket(
        *database, shortSpan(QDate(2025, 11, 7)), cancelSoon(stopGenerating), stopGenerating.get_token()));
    QVERIFY(database->isEmpty());
    QCOMPARE(database->dailyBarCount(), 0);
    // The next start does the whole work again.
    QVERIFY(generateDemoMarket(*database, shortSpan(QDate(2025, 11, 7))));
    QVERIFY(generateDemoMarket(*reference, shortSpan(QDate(2025, 11, 7))));
    QString difference;
    QVERIFY2(sameBars(*database, *reference, &difference), qPrintable(difference));

    const qint64 bars = database->dailyBarCount();
    std::stop_source stopExtending;
    QVERIFY(!extendDemoMarket(*database, QDate(2025, 11, 21), cancelSoon(stopExtending), stopExtending.get_token()));
    QCOMPARE(database->dailyBarCount(), bars);
    QCOMPARE(database->lastDemoDate(), QDate(2025, 11, 7));
    QVERIFY(extendDemoMarket(*database, QDate(2025, 11, 21)));
    QCOMPARE(database->lastDemoDate(), QDate(2025, 11, 21));
}

void DemoMarketTests::runningServerKeepsTheMarketCurrent()
{
    QTemporaryDir dir;
    auto database = openIn(dir, QStringLiteral("kept"));
    QVERIFY(generateDemoMarket(*database, shortSpan(QDate(2025, 11, 7))));
    QDate today(2025, 11, 9); // a Sunday: nothing new since Friday
    QStringList failures;
    DemoMarketKeeper keeper(
        *database, std::chrono::milliseconds(10), [&] { return today; },
        [&](const QString& message) { failures.append(message); });
    keeper.extendNow();
    QCOMPARE(database->lastDemoDate(), QDate(2025, 11, 7));
    // Days pass with the server running: its own timer adds them.
    today = QDate(2025, 11, 14);
    QTRY_COMPARE(database->lastDemoDate(), QDate(2025, 11, 14));
    QCOMPARE(database->lastMarketDate(), QDate(2025, 11, 14));
    today = QDate(2025, 11, 23);
    QTRY_COMPARE(database->lastDemoDate(), QDate(2025, 11, 21));
    QVERIFY2(failures.isEmpty(), qPrintable(failures.join(u'\n')));
}

void DemoMarketTests::barsFollowTheCalendar()
{
    QTemporaryDir dir;
    auto database = openIn(dir, QStringLiteral("calendar"));
    // The last five sessions include the 13:00 close of Christmas Eve.
    QVERIFY(generateDemoMarket(*database, shortSpan(QDate(2025, 12, 29))));
    const std::vector<QDate> sessions = tradingDays(QDate(2025, 10, 1), QDate(2025, 12, 29));
    const QTimeZone newYork("America/New_York");
    const auto universe = database->universe();
    for (const TickerInfo& info : *universe) {
        const auto bars = database->dailyBars(info.symbol);
        QVERIFY2(!bars->empty(), qPrintable(info.symbol));
        QVERIFY2(std::ranges::all_of(*bars, [](const DailyBar& b) { return isTradingDay(b.date) && b.close > 0; }),
            qPrintable(info.symbol));
        QVERIFY(std::ranges::adjacent_find(*bars, std::greater_equal<>(), &DailyBar::date) == bars->end());
        const auto intraday = database->intradayBars(info.symbol);
        QCOMPARE(intraday->size(), std::size_t(4 * 26 + 14));
        for (const IntradayBar& bar : *intraday) {
            const QDateTime time = QDateTime::fromMSecsSinceEpoch(bar.time, newYork);
            QVERIFY(time.time().minute() % 15 == 0 && time.time() > QTime(9, 30) && time.time() <= QTime(16, 0));
        }
        // Each session's last bar is the day's close.
        QCOMPARE(intraday->back().close, bars->back().close);
        QCOMPARE(QDateTime::fromMSecsSinceEpoch(intraday->back().time, newYork),
            QDateTime(QDate(2025, 12, 29), QTime(16, 0), newYork));
    }
    QCOMPARE(database->dailyBars(QStringLiteral("SPY"))->size(), sessions.size());
}

void DemoMarketTests::laterListingsStartLater_data()
{
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<int>("firstYear");
    for (const auto& [symbol, year] : { std::pair { "SPY", 1993 }, { "QQQ", 1999 }, { "XLC", 2018 }, { "ABBV", 2013 },
             { "CARR", 2020 }, { "IBIT", 2024 }, { "META", 2012 }, { "AAPL", 1985 } })
        QTest::newRow(symbol) << QString::fromLatin1(symbol) << year;
}

void DemoMarketTests::laterListingsStartLater()
{
    QFETCH(QString, symbol);
    QFETCH(int, firstYear);
    const auto& demo = demo::demoSymbols();
    const auto found = std::ranges::find(demo, symbol, [](const auto& s) { return s.info.symbol; });
    QVERIFY(found != demo.end());
    const DailyHistory bars = m_full->dailyHistory(*found);
    QCOMPARE(bars.front().date.year(), firstYear);
    QCOMPARE(bars.back().date, QDate(2026, 11, 20));
}

void DemoMarketTests::prepareSeedsOnlyWhenAllowed()
{
    QTemporaryDir dir;
    auto disabled = openIn(dir, QStringLiteral("disabled"));
    QCOMPARE(prepareMarket(*disabled, false)->symbols, 0);
    QVERIFY(disabled->isEmpty());
    // An imported store is never touched by the demo.
    auto imported = openIn(dir, QStringLiteral("imported"));
    QVERIFY(imported->write([](MarketDatabase::Writer& w) { return w.ensureSymbol(QStringLiteral("AAA")); }));
    QCOMPARE(prepareMarket(*imported, true)->symbols, 0);
    QCOMPARE(imported->universe()->size(), std::size_t(1));
    // A simulated store is brought up to date.
    auto simulated = openIn(dir, QStringLiteral("simulated"));
    QVERIFY(generateDemoMarket(*simulated, shortSpan(QDate(2026, 10, 1))));
    const auto prepared = prepareMarket(*simulated, true);
    QVERIFY(prepared);
    QVERIFY(prepared->dailyBars > 0);
    QCOMPARE(simulated->lastMarketDate(), lastCompletedSession(QDateTime::currentDateTimeUtc()));
}

void DemoMarketTests::historicalEpisodes_data()
{
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<QDate>("from");
    QTest::addColumn<QDate>("to");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");
    QTest::newRow("1987 crash") << "FCNTX" << QDate(1987, 8, 25) << QDate(1987, 10, 19) << -0.55 << -0.15;
    QTest::newRow("dot-com bust, Nasdaq") << "QQQ" << QDate(2000, 3, 24) << QDate(2002, 10, 9) << -0.9 << -0.55;
    QTest::newRow("dot-com bust, S&P") << "SPY" << QDate(2000, 3, 24) << QDate(2002, 10, 9) << -0.65 << -0.25;
    QTest::newRow("financial crisis") << "SPY" << QDate(2007, 10, 9) << QDate(2009, 3, 9) << -0.75 << -0.35;
    QTest::newRow("financial crisis, banks") << "XLF" << QDate(2007, 10, 9) << QDate(2009, 3, 9) << -0.95 << -0.6;
    QTest::newRow("covid crash") << "SPY" << QDate(2020, 2, 19) << QDate(2020, 3, 23) << -0.5 << -0.2;
    QTest::newRow("2022 bear") << "SPY" << QDate(2022, 1, 3) << QDate(2022, 10, 12) << -0.45 << -0.1;
    QTest::newRow("2022 long bonds") << "TLT" << QDate(2022, 1, 3) << QDate(2022, 10, 12) << -0.5 << -0.15;
    QTest::newRow("2022 energy rally") << "XLE" << QDate(2022, 1, 3) << QDate(2022, 10, 12) << 0.1 << 1.5;
    QTest::newRow("bull market 2009-2020") << "SPY" << QDate(2009, 3, 9) << QDate(2020, 2, 19) << 1.0 << 6.0;
}

void DemoMarketTests::historicalEpisodes()
{
    QFETCH(QString, symbol);
    QFETCH(QDate, from);
    QFETCH(QDate, to);
    QFETCH(double, low);
    QFETCH(double, high);
    const DailyHistory bars = m_full->dailyHistory(symbolNamed(symbol.toLatin1().constData()));
    const double change = closeOn(bars, to) / closeOn(bars, from) - 1;
    QVERIFY2(change >= low && change <= high, qPrintable(QString::number(change)));
}

void DemoMarketTests::correlationsFollowTheFactors()
{
    const QDate from(2011, 1, 1), to(2019, 12, 31);
    auto returns = [&](const char* s) { return logReturns(m_full->dailyHistory(symbolNamed(s)), from, to); };
    const auto spy = returns("SPY"), voo = returns("VOO"), xlk = returns("XLK"), msft = returns("MSFT"),
               xom = returns("XOM"), tlt = returns("TLT"), gld = returns("GLD");
    QVERIFY(correlation(spy, voo) > 0.97);
    QVERIFY(correlation(xlk, msft) > 0.45);
    QVERIFY(correlation(xlk, msft) > correlation(xom, msft));
    QVERIFY(std::abs(correlation(spy, tlt)) < 0.3);
    QVERIFY(std::abs(correlation(spy, gld)) < 0.3);
    QVERIFY(correlation(spy, xom) > 0.3);
}

void DemoMarketTests::adjustedClosesCarrySplitsAndDividends()
{
    int splits = 0;
    // Every third symbol keeps the test quick and still meets every kind of profile.
    for (std::size_t index = 0; index < demo::demoSymbols().size(); index += 3) {
        const demo::DemoSymbol& symbol = demo::demoSymbols()[index];
        const DailyHistory bars = m_full->dailyHistory(symbol);
        for (std::size_t i = 1; i < bars.size(); ++i) {
            const double closeStep = bars[i].close / bars[i - 1].close;
            const double adjustedStep = bars[i].adjClose / bars[i - 1].adjClose;
            // A split moves the close but never the adjusted close.
            if (closeStep < 0.55 * adjustedStep) {
                ++splits;
                QVERIFY2(symbol.info.isEtf == false && symbol.info.isFund == false, qPrintable(symbol.info.symbol));
            }
            QVERIFY2(adjustedStep > 0.5 && adjustedStep < 2.0, qPrintable(symbol.info.symbol));
        }
        // On the reference day adjusted and traded closes agree; before it dividends make the
        // adjusted close the lower one.
        const auto reference = std::ranges::find(bars, QDate(2025, 12, 31), &DailyBar::date);
        QVERIFY(reference != bars.end());
        QCOMPARE(reference->adjClose, reference->close);
        QVERIFY(bars.front().adjClose <= bars.front().close * 1.000001);
    }
    QVERIFY(splits > 10);
}

QTEST_GUILESS_MAIN(DemoMarketTests)
#include "tst_DemoMarket.moc"
