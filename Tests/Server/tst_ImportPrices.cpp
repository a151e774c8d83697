#include "Support/TestSupport.h"
#include "TessaryServer/Data/Data.h"
#include "TestDatabase.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace tessary;
using namespace Qt::StringLiterals;
using namespace tessary::server;

namespace {

std::unique_ptr<MarketDatabase> openIn(const tessary::test::TestDatabase& store)
{
    const auto storage = store.open();
    auto database = storage ? storage->openMarket() : std::unexpected(storage.error());
    if (!database)
        qFatal("cannot open the store: %s", qPrintable(database.error().description()));
    return std::move(*database);
}

QString writeFile(const QTemporaryDir& dir, const QString& name, const QByteArray& content)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

int dataLines(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    return int(file.readAll().trimmed().count('\n'));
}

} // namespace

class ImportTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void realFilesKeepEveryRowAndTheSplit();
    void wholeDirectoryImportsInOneGo();
    void layouts_data();
    void layouts();
    void rejectedFiles_data();
    void rejectedFiles();
    void failingFileRollsBackTheWholeImport();
    void importReplacesSimulatedPrices();
    void constituentsUniverseImportsAsIs();
    void universeColumns_data();
    void universeColumns();
    void reopenedStoreKeepsData();
};

void ImportTests::initTestCase()
{
    TESSARY_REQUIRE_DATABASE(tessary::test::TestDatabase());
}

void ImportTests::realFilesKeepEveryRowAndTheSplit()
{
    TESSARY_REQUIRE_SHARED_DATA(shared);
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const QString aapl = shared + QStringLiteral("/daily/AAPL.csv");
    const QString brk = shared + QStringLiteral("/daily/BRK.B.csv");
    const QString abbv = shared + QStringLiteral("/daily/ABBV.csv");
    const ImportResult report = importPrices(*database, { aapl, brk, abbv });
    QVERIFY2(report, qPrintable(test::failureText(report)));
    QCOMPARE(report->files, 3);
    QCOMPARE(report->symbols, 3);
    QCOMPARE(report->rows, dataLines(aapl) + dataLines(brk) + dataLines(abbv));
    QVERIFY(report->problems.isEmpty());
    QCOMPARE(database->dataSource(), DataSource::imported);

    QVERIFY(database->find(u"BRK.B"));
    QCOMPARE(int(database->dailyBars(QStringLiteral("BRK.B"))->size()), dataLines(brk));
    const auto abbvBars = database->dailyBars(QStringLiteral("ABBV"));
    QCOMPARE(abbvBars->front().date, QDate(2013, 1, 2));
    QCOMPARE(database->lastMarketDate(), QDate(2021, 4, 21));

    // AAPL split 2:1 on 2000-06-21: the traded close halves, the adjusted close does not.
    const auto bars = database->dailyBars(QStringLiteral("AAPL"));
    const auto day = std::ranges::find(*bars, QDate(2000, 6, 21), &DailyBar::date);
    QVERIFY(day != bars->end() && day != bars->begin());
    const auto before = *(day - 1);
    QCOMPARE(before.date, QDate(2000, 6, 20));
    QCOMPARE(before.close, 101.25);
    QCOMPARE(day->close, 55.63);
    QCOMPARE(day->adjClose, 0.85556208303);
    QVERIFY(day->close / before.close < 0.6);
    QVERIFY(day->adjClose / before.adjClose > 1.05);
    // Warm reads hand out the same snapshot.
    QCOMPARE(database->dailyBars(QStringLiteral("AAPL")).get(), bars.get());
}

void ImportTests::wholeDirectoryImportsInOneGo()
{
    TESSARY_REQUIRE_SHARED_DATA(shared);
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const QDir daily(shared + QStringLiteral("/daily"));
    const QStringList files = daily.entryList({ QStringLiteral("*.csv") }, QDir::Files);
    int expectedRows = 0;
    for (const QString& file : files)
        expectedRows += dataLines(daily.filePath(file));
    const ImportResult report = importPrices(*database, { daily.path() });
    QVERIFY2(report, qPrintable(test::failureText(report)));
    QCOMPARE(report->files, int(files.size()));
    QCOMPARE(int(database->universe()->size()), int(files.size()));
    QCOMPARE(report->rows, expectedRows);
    QCOMPARE(database->dailyBarCount(), expectedRows);
}

void ImportTests::layouts_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<QList<double>>("closes");
    QTest::addColumn<QList<double>>("adjusted");
    QTest::addColumn<QStringList>("problems");
    QTest::addColumn<bool>("closeUsedAsAdjusted");

    QTest::newRow("date,close,adjusted_close with dividend and split")
        << "msft.csv"
        << QByteArray("date,close,adjusted_close,dividend,split\n2020-01-02,10,9,0,1\n2020-01-03,11,10,0,1\n") << "MSFT"
        << QList<double> { 10, 11 } << QList<double> { 9, 10 } << QStringList {} << false;
    QTest::newRow("Yahoo-style Adj Close, upper-case header, CRLF")
        << "IBM.csv"
        << QByteArray("Date,Open,High,Low,Close,Adj Close,Volume\r\n2020-01-02,1,1,1,20,19,100\r\n"
                      "2020-01-03,1,1,1,21,20,100\r\n")
        << "IBM" << QList<double> { 20, 21 } << QList<double> { 19, 20 } << QStringList {} << false;
    QTest::newRow("timestamp layout, newest first")
        << "T.csv"
        << QByteArray("timestamp,open,high,low,close,adjusted_close,volume,dividend_amount,split_coefficient\n"
                      "2020-01-03,1,1,1,31,30,5,0,1\n2020-01-02,1,1,1,30,29,5,0,1\n")
        << "T" << QList<double> { 30, 31 } << QList<double> { 29, 30 } << QStringList {} << false;
    QTest::newRow("no adjusted column: the close is used")
        << "KO.csv" << QByteArray("Date,Close\n2020-01-02,50\n2020-01-03,51\n") << "KO" << QList<double> { 50, 51 }
        << QList<double> { 50, 51 } << QStringList {} << true;
    QTest::newRow("symbol column beats the file name")
        << "prices.csv" << QByteArray("Ticker,Date,Close\nbrk.b,2020-01-02,200\n") << "BRK.B" << QList<double> { 200 }
        << QList<double> { 200 } << QStringList {} << true;
    QTest::newRow("malformed rows are skipped with file:line")
        << "BAD.csv"
        << QByteArray("date,close,adjusted_close\n2020-01-02,10,10\nnot-a-date,1,1\n2020-01-06,abc,1\n"
                      "2020-01-07,12\n2020-01-08,-3,1\n2020-01-09,13,\n\n2020-01-10,14,14\n")
        << "BAD" << QList<double> { 10, 14 } << QList<double> { 10, 14 }
        << QStringList { u"BAD.csv:3: unreadable date \"not-a-date\""_s, u"BAD.csv:4: unreadable close \"abc\""_s,
               u"BAD.csv:5: expected 3 fields, found 2"_s, u"BAD.csv:6: unreadable close \"-3\""_s,
               u"BAD.csv:7: unreadable adjusted close \"\""_s }
        << false;
    QTest::newRow("duplicate dates keep the first")
        << "DUP.csv" << QByteArray("date,close,adjusted_close\n2020-01-02,10,10\n2020-01-03,11,11\n2020-01-02,99,99\n")
        << "DUP" << QList<double> { 10, 11 } << QList<double> { 10, 11 }
        << QStringList { u"DUP.csv:4: duplicate date 2020-01-02, skipped"_s } << false;
}

void ImportTests::layouts()
{
    QFETCH(QString, fileName);
    QFETCH(QByteArray, content);
    QFETCH(QString, symbol);
    QFETCH(QList<double>, closes);
    QFETCH(QList<double>, adjusted);
    QFETCH(QStringList, problems);
    QFETCH(bool, closeUsedAsAdjusted);
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const ImportResult report = importPrices(*database, { writeFile(dir, fileName, content) });
    QVERIFY2(report, qPrintable(test::failureText(report)));
    QCOMPARE(report->problems, problems);
    QCOMPARE(report->skippedRows, problems.size());
    QCOMPARE(report->notes.join(u' ').contains(u"using the close"), closeUsedAsAdjusted);
    const auto bars = database->dailyBars(symbol);
    QList<double> gotCloses, gotAdjusted;
    for (const DailyBar& bar : *bars) {
        gotCloses.push_back(bar.close);
        gotAdjusted.push_back(bar.adjClose);
    }
    QCOMPARE(gotCloses, closes);
    QCOMPARE(gotAdjusted, adjusted);
    QVERIFY(std::ranges::is_sorted(*bars, {}, &DailyBar::date));
}

void ImportTests::rejectedFiles_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("error");
    QTest::newRow("unknown layout") << "X.csv" << QByteArray("day,price\n2020-01-02,1\n")
                                    << "X.csv: unknown layout (header \"day,price\")";
    QTest::newRow("empty file") << "Y.csv" << QByteArray() << "Y.csv: unknown layout";
    QTest::newRow("header only") << "Z.csv" << QByteArray("date,close\n") << "Z.csv: no usable price rows";
    QTest::newRow("file name is no symbol") << "my prices.csv" << QByteArray("date,close\n2020-01-02,1\n")
                                            << "my prices.csv: the file name is not a ticker symbol";
}

void ImportTests::rejectedFiles()
{
    QFETCH(QString, fileName);
    QFETCH(QByteArray, content);
    QFETCH(QString, error);
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const ImportResult report = importPrices(*database, { writeFile(dir, fileName, content) });
    QVERIFY(!report);
    QVERIFY2(report.error().reason.startsWith(error), qPrintable(report.error().reason));
    QVERIFY(report.error().lines().last().startsWith(u"import failed, nothing was imported: "));
    QVERIFY(database->universe()->empty());
}

void ImportTests::failingFileRollsBackTheWholeImport()
{
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const QString first = writeFile(dir, QStringLiteral("AAA.csv"), "date,close\n2020-01-02,1\n2020-01-03,2\n");
    QVERIFY(importPrices(*database, { first }));
    // A later import that replaces AAA and adds BBB fails on its third file: nothing changes.
    QDir(dir.path()).mkpath(QStringLiteral("batch"));
    writeFile(dir, QStringLiteral("batch/AAA.csv"), "date,close\n2021-01-04,5\n");
    writeFile(dir, QStringLiteral("batch/BBB.csv"), "date,close\n2021-01-04,7\n");
    writeFile(dir, QStringLiteral("batch/CCC.csv"), "when,what\nyesterday,1\n");
    const ImportResult report = importPrices(*database, { dir.filePath(QStringLiteral("batch")) });
    QVERIFY(!report);
    QVERIFY(report.error().reason.contains(u"CCC.csv"));
    QCOMPARE(database->universe()->size(), std::size_t(1));
    QCOMPARE(database->dailyBars(QStringLiteral("AAA"))->size(), std::size_t(2));
    QVERIFY(!database->find(u"BBB"));
    const ImportResult missing = importPrices(*database, { dir.filePath(QStringLiteral("nowhere")) });
    QVERIFY(!missing);
    QCOMPARE(missing.error().reason,
        dir.filePath(QStringLiteral("nowhere")) + QStringLiteral(": no such file or directory"));
}

void ImportTests::importReplacesSimulatedPrices()
{
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const auto seeded = database->write([](MarketDatabase::Writer& writer) -> std::expected<void, DataError> {
        for (const char* symbol : { "SIM", "KEEP" }) {
            writer.upsertSymbol(TickerInfo { .symbol = QString::fromLatin1(symbol),
                .name = QStringLiteral("Simulated %1").arg(QLatin1String(symbol)),
                .marketCap = {},
                .sector = QStringLiteral("Technology"),
                .industry = {},
                .exchange = {} });
            const DailyBar bar { QDate(2020, 1, 2), 1, 1 };
            writer.appendDailyBars(QString::fromLatin1(symbol), std::span(&bar, 1));
        }
        writer.setMeta(QString::fromLatin1(MarketDatabase::demoSeedKey), QStringLiteral("7"));
        return writer.setMeta(QString::fromLatin1(MarketDatabase::dataSourceKey), QStringLiteral("simulated"));
    });
    QVERIFY(seeded);
    QCOMPARE(database->dataSource(), DataSource::simulated);
    const ImportResult report
        = importPrices(*database, { writeFile(dir, QStringLiteral("SIM.csv"), "date,close\n2021-01-04,5\n") });
    QVERIFY(report);
    QVERIFY(report->notes.join(u' ').contains(u"simulated prices were removed"));
    QCOMPARE(database->dataSource(), DataSource::imported);
    QCOMPARE(database->demoSeed(), std::nullopt);
    QVERIFY(database->dailyBars(QStringLiteral("KEEP"))->empty());
    QCOMPARE(database->dailyBars(QStringLiteral("SIM"))->size(), std::size_t(1));
    // The metadata of the simulated universe stays.
    QCOMPARE(database->find(u"SIM")->name, QStringLiteral("Simulated SIM"));
    QCOMPARE(database->find(u"KEEP")->sector, QStringLiteral("Technology"));
}

void ImportTests::constituentsUniverseImportsAsIs()
{
    TESSARY_REQUIRE_SHARED_DATA(shared);
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const QString file = shared + QStringLiteral("/sp500-constituents.csv");
    const ImportResult report = importUniverse(*database, file);
    QVERIFY2(report, qPrintable(test::failureText(report)));
    QCOMPARE(report->symbols, dataLines(file));
    QVERIFY(report->problems.isEmpty());
    const auto mmm = database->find(u"MMM");
    QVERIFY(mmm);
    QCOMPARE(mmm->name, QStringLiteral("3M"));
    QCOMPARE(mmm->sector, QStringLiteral("Industrials"));
    QCOMPARE(mmm->industry, QStringLiteral("Industrial Conglomerates"));
    QVERIFY(!mmm->isEtf && !mmm->isFund);
    QVERIFY(database->find(u"BRK.B"));
    QVERIFY(std::ranges::is_sorted(*database->universe(), {}, &TickerInfo::symbol));
}

void ImportTests::universeColumns_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QList<TickerInfo>>("expected");
    QTest::addColumn<QStringList>("problems");
    QTest::newRow("type column, market cap with suffix, exchange")
        << QByteArray("Ticker,Company,Sector,Industry,Exchange,Type,Market Cap\n"
                      "spy,SPDR S&P 500 ETF Trust,,,NYSE Arca,ETF,\n"
                      "VFIAX,Vanguard 500 Index Admiral,,,,Mutual Fund,\n"
                      "AAPL,Apple Inc.,Technology,Consumer Electronics,NASDAQ,Common Stock,3.4T\n")
        << QList<TickerInfo> { { u"AAPL"_s, u"Apple Inc."_s, false, false, 3.4e12, u"Technology"_s,
                                   u"Consumer Electronics"_s, u"NASDAQ"_s },
               { u"SPY"_s, u"SPDR S&P 500 ETF Trust"_s, true, false, std::nullopt, std::nullopt, std::nullopt,
                   u"NYSE Arca"_s },
               { u"VFIAX"_s, u"Vanguard 500 Index Admiral"_s, false, true, std::nullopt, std::nullopt, std::nullopt,
                   std::nullopt } }
        << QStringList {};
    QTest::newRow("flag columns, bad rows skipped")
        << QByteArray("Symbol,Name,ETF,Fund,MarketCap\nQQQ,Invesco QQQ,Y,N,\n,No symbol,N,N,\n"
                      "XYZ,Bad flag,maybe,N,\nABC,Bad cap,N,N,lots\nQQQ,Twice,Y,N,\n")
        << QList<TickerInfo> { { u"QQQ"_s, u"Invesco QQQ"_s, true, false, std::nullopt, std::nullopt, std::nullopt,
               std::nullopt } }
        << QStringList { u"u.csv:3: no symbol, skipped"_s, u"u.csv:4: unreadable flag \"maybe\", skipped"_s,
               u"u.csv:5: unreadable market cap \"lots\", skipped"_s, u"u.csv:6: QQQ listed twice, skipped"_s };
}

void ImportTests::universeColumns()
{
    QFETCH(QByteArray, content);
    QFETCH(QList<TickerInfo>, expected);
    QFETCH(QStringList, problems);
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    auto database = openIn(store);
    const ImportResult report = importUniverse(*database, writeFile(dir, QStringLiteral("u.csv"), content));
    QVERIFY2(report, qPrintable(test::failureText(report)));
    QCOMPARE(report->problems, problems);
    const auto universe = database->universe();
    QCOMPARE(QList<TickerInfo>(universe->begin(), universe->end()), expected);
    const ImportResult unknown
        = importUniverse(*database, writeFile(dir, QStringLiteral("v.csv"), "Name,Sector\nApple,Tech\n"));
    QVERIFY(!unknown && unknown.error().reason.contains(u"expected a Symbol or Ticker column"));
}

void ImportTests::reopenedStoreKeepsData()
{
    QTemporaryDir dir;
    const tessary::test::TestDatabase store;
    {
        auto database = openIn(store);
        QVERIFY(importPrices(*database, { writeFile(dir, QStringLiteral("AAA.csv"), "date,close\n2020-01-02,1.5\n") }));
    }
    auto reopened = openIn(store);
    QCOMPARE(reopened->dailyBars(QStringLiteral("AAA"))->front().close, 1.5);
    QCOMPARE(reopened->dataSource(), DataSource::imported);
    QVERIFY(tessary::test::TestDatabase::onPostgres()
        || QFile::exists(QDir(store.dataDirectory()).filePath(QStringLiteral("market.sqlite"))));
}

QTEST_GUILESS_MAIN(ImportTests)
#include "tst_ImportPrices.moc"
