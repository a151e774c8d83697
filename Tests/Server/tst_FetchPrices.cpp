#include "Support/FixtureServer.h"
#include "Support/TestSupport.h"
#include "TessaryServer/Data/Data.h"
#include "TessaryServer/Fetch/PriceFetch.h"
#include "TessaryServer/Fetch/ProviderClient.h"
#include "TessaryServer/Fetch/RefreshSchedule.h"
#include "TessaryServer/Fetch/UniverseFetch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace tessary;
using namespace tessary::server;
using test::FixtureServer;
using test::ScriptedReply;

namespace {

const QString executable = QStringLiteral(TESSARY_SERVER_EXECUTABLE);
const QDate today(2024, 1, 10);

std::unique_ptr<MarketDatabase> openIn(const QTemporaryDir& dir)
{
    auto database = MarketDatabase::open(dir.filePath(QStringLiteral("store")));
    if (!database)
        qFatal("cannot open the store: %s", qPrintable(database.error().description()));
    return std::move(*database);
}

ScriptedReply reply(int status, QByteArray body, QByteArray type = "text/csv")
{
    return ScriptedReply { status, std::move(body), std::move(type) };
}

ScriptedReply csv(QByteArray body)
{
    return reply(200, std::move(body));
}

// Waits seldom: the tests are about what is asked and stored, not about waiting.
FetchPolicy quickPolicy()
{
    return FetchPolicy { 1000, 2, std::chrono::milliseconds(20), std::chrono::milliseconds(2000) };
}

ProviderSettings settingsFor(const QString& name, const FixtureServer& server, const QString& layout = {})
{
    ProviderSettings settings { name, server.baseUrl().toString(), {}, layout, {}, quickPolicy() };
    if (name == u"url-template")
        settings.urlTemplate = server.baseUrl().toString() + QStringLiteral("/csv/{symbol}?from={start}&to={end}");
    return settings;
}

QString pathFor(const QString& provider)
{
    if (provider == u"stooq")
        return QStringLiteral("/q/d/l/");
    if (provider == u"tiingo")
        return QStringLiteral("/tiingo/daily/AAA/prices");
    return QStringLiteral("/csv/AAA");
}

SymbolFetch fetchOne(MarketDatabase& database, const ProviderSettings& settings, const QString& symbol = u"AAA"_qs)
{
    const auto provider = makePriceProvider(settings);
    if (!provider)
        qFatal("no provider: %s", qPrintable(provider.error()));
    ProviderClient client(settings.policy);
    return fetchSymbol(database, client, *provider, symbol, today);
}

QByteArray dateCloseCsv(const QList<std::tuple<const char*, double, double>>& rows)
{
    QByteArray body = "date,close,adjusted_close\n";
    for (const auto& [date, close, adjusted] : rows)
        body += QByteArray(date) + ',' + QByteArray::number(close) + ',' + QByteArray::number(adjusted) + '\n';
    return body;
}

const QByteArray threeDays
    = dateCloseCsv({ { "2024-01-02", 10, 9 }, { "2024-01-03", 11, 10 }, { "2024-01-04", 12, 11 } });

} // namespace

class FetchTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void providerAnswers_data();
    void providerAnswers();
    void incrementalFetch_data();
    void incrementalFetch();
    void rateLimitHoldsAtTheProvider();
    void dailySchedule_data();
    void dailySchedule();
    void universeListings_data();
    void universeListings();
    void commandReportsEachSymbolAndHidesTheKey();
    void serveAnswersWhileRefreshing();
};

void FetchTests::providerAnswers_data()
{
    QTest::addColumn<QString>("provider");
    QTest::addColumn<QString>("layout");
    QTest::addColumn<QList<ScriptedReply>>("replies");
    QTest::addColumn<QString>("line");
    QTest::addColumn<double>("lastAdjusted"); // 0: nothing may be stored

    const QByteArray dailyCsv = "Date,Open,High,Low,Close,Volume\n2024-01-02,1,1,1,185.64,1\n"
                                "2024-01-03,1,1,1,184.25,1\n2024-01-04,1,1,1,181.91,1\n";
    QTest::newRow("daily csv") << u"stooq"_qs << QString() << QList { csv(dailyCsv) } << u"AAA: fetched 3 bars"_qs
                               << 181.91;
    QTest::newRow("daily csv, unknown symbol") << u"stooq"_qs << QString() << QList { csv("No data") }
                                               << u"AAA: failed: the provider has no prices for this symbol"_qs << 0.0;
    QTest::newRow("daily csv, over its limit")
        << u"stooq"_qs << QString() << QList { csv("Exceeded the daily hits limit") }
        << u"AAA: failed: the provider said \"Exceeded the daily hits limit\""_qs << 0.0;

    const QByteArray json = R"([{"date":"2024-01-03T00:00:00.000Z","close":184.25,"adjClose":183.1,"divCash":0.0,
        "splitFactor":1.0},{"date":"2024-01-02T00:00:00.000Z","close":185.64,"adjClose":184.5,"divCash":0.0,
        "splitFactor":1.0}])";
    QTest::newRow("json, newest first") << u"tiingo"_qs << QString() << QList { reply(200, json, "application/json") }
                                        << u"AAA: fetched 2 bars"_qs << 183.1;
    QTest::newRow("json, empty history") << u"tiingo"_qs << QString() << QList { reply(200, "[]", "application/json") }
                                         << u"AAA: failed: the provider has no prices for this symbol"_qs << 0.0;
    QTest::newRow("json, unknown symbol")
        << u"tiingo"_qs << QString()
        << QList { reply(404, R"({"detail":"Error: Ticker 'AAA' not found"})", "application/json") }
        << u"AAA: failed: HTTP 404: Error: Ticker 'AAA' not found"_qs << 0.0;
    QTest::newRow("json, cut short") << u"tiingo"_qs << QString()
                                     << QList { reply(200, json.left(json.size() - 20), "application/json") }
                                     << u"AAA: failed: unreadable answer (unterminated object at byte 199)"_qs << 0.0;

    QTest::newRow("date-close layout") << u"url-template"_qs << u"date-close"_qs << QList { csv(threeDays) }
                                       << u"AAA: fetched 3 bars"_qs << 11.0;
    QTest::newRow("ohlcv layout") << u"url-template"_qs << u"ohlcv"_qs
                                  << QList { csv("Date,Open,High,Low,Close,Adj Close,Volume\n"
                                                 "2024-01-02,1,1,1,185.64,184.53,82488700\n") }
                                  << u"AAA: fetched 1 bars"_qs << 184.53;
    QTest::newRow("timestamp layout")
        << u"url-template"_qs << u"timestamp"_qs
        << QList { csv("timestamp,open,high,low,close,adjusted_close,volume,dividend_amount,split_coefficient\n"
                       "2024-01-03,1,1,1,184.25,183.2,1,0.0000,1.0\n2024-01-02,1,1,1,185.64,184.5,1,0.0000,1.0\n") }
        << u"AAA: fetched 2 bars"_qs << 183.2;
    QTest::newRow("layout other than named")
        << u"url-template"_qs << u"timestamp"_qs << QList { csv(threeDays) }
        << u"AAA: failed: the answer is not in the timestamp layout (header \"date,close,adjusted_close\")"_qs << 0.0;
    QTest::newRow("header only") << u"url-template"_qs << u"date-close"_qs
                                 << QList { csv("date,close,adjusted_close\n") }
                                 << u"AAA: failed: the provider has no prices for this symbol"_qs << 0.0;
    QTest::newRow("garbled row") << u"url-template"_qs << u"date-close"_qs
                                 << QList { csv(threeDays + "2024-01-05,12.") }
                                 << u"AAA: failed: unreadable answer (AAA:5: expected 3 fields, found 2)"_qs << 0.0;

    QTest::newRow("recovers from 503 and 429")
        << u"url-template"_qs << u"date-close"_qs
        << QList { reply(503, "busy"),
               ScriptedReply { 429, "slow down", "text/plain", {}, false, { { "Retry-After", "0" } } }, csv(threeDays) }
        << u"AAA: fetched 3 bars"_qs << 11.0;
    QTest::newRow("5xx until the retries run out")
        << u"url-template"_qs << u"date-close"_qs << QList { reply(500, "oops") }
        << u"AAA: failed: HTTP 500 after 3 attempts"_qs << 0.0;
    ScriptedReply cut = csv(threeDays);
    cut.truncate = true;
    QTest::newRow("connection dropped mid-body") << u"url-template"_qs << u"date-close"_qs << QList { cut }
                                                 << u"AAA: failed: Connection closed after 3 attempts"_qs << 0.0;
    QTest::newRow("timeout") << u"url-template"_qs << u"date-close"_qs << QList { ScriptedReply::silent() }
                             << u"AAA: failed: timed out after 3 attempts"_qs << 0.0;
}

void FetchTests::providerAnswers()
{
    QFETCH(QString, provider);
    QFETCH(QString, layout);
    QFETCH(QList<ScriptedReply>, replies);
    QFETCH(QString, line);
    QFETCH(double, lastAdjusted);

    FixtureServer server;
    server.scriptSequence(pathFor(provider), replies);
    QTemporaryDir dir;
    auto database = openIn(dir);
    QTemporaryDir keys;
    ProviderSettings settings = settingsFor(provider, server, layout);
    settings.policy.timeout = std::chrono::milliseconds(200);
    settings.keyFile = keys.filePath(u"key"_qs);
    QFile keyFile(settings.keyFile);
    QVERIFY(keyFile.open(QIODevice::WriteOnly) && keyFile.write("secret-key\n") > 0);
    keyFile.close();

    const SymbolFetch result = fetchOne(*database, settings);
    QCOMPARE(result.line(), line);
    // Each retry waits twice as long as the one before, unless the provider said how long.
    const auto& requests = server.requests();
    auto wait = settings.policy.backoff;
    for (qsizetype i = 1; i < requests.size(); ++i, wait *= 2) {
        if (replies.value(i - 1, replies.back()).headers.isEmpty())
            QVERIFY2(requests[i].received - requests[i - 1].received >= wait, qPrintable(QString::number(i)));
    }
    const auto bars = database->dailyBars(u"AAA"_qs);
    if (lastAdjusted == 0) {
        QVERIFY(bars->empty());
        QVERIFY(!database->find(u"AAA"));
        return;
    }
    QCOMPARE(bars->back().adjClose, lastAdjusted);
    QCOMPARE(bars->front().date, QDate(2024, 1, 2));
    QCOMPARE(database->dataSource(), DataSource::imported);
    QCOMPARE(database->dataOrigin().provider, std::optional(provider == u"url-template" ? u"127.0.0.1"_qs : provider));

    const test::RecordedRequest& request = server.requests().back();
    // The whole history was asked for, up to today; a key only ever travels in a header.
    QVERIFY2(request.query.contains("1970") && request.query.contains("2024"), request.query.constData());
    QVERIFY(!request.query.contains("secret"));
    if (provider == u"tiingo")
        QCOMPARE(request.header("Authorization"), QByteArray("Token secret-key"));
    if (provider == u"stooq")
        QVERIFY(request.query.contains("s=aaa.us"));
}

void FetchTests::incrementalFetch_data()
{
    QTest::addColumn<QByteArray>("second");
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("requests");
    QTest::addColumn<int>("stored");
    QTest::addColumn<double>("firstAdjusted");

    QTest::newRow("new days are appended")
        << dateCloseCsv({ { "2024-01-04", 12, 11 }, { "2024-01-05", 13, 12 }, { "2024-01-08", 14, 13 } })
        << u"AAA: fetched 2 bars"_qs << 2 << 5 << 9.0;
    QTest::newRow("nothing new") << dateCloseCsv({ { "2024-01-04", 12, 11 } }) << u"AAA: unchanged"_qs << 2 << 3 << 9.0;
    QTest::newRow("empty answer") << QByteArray("date,close,adjusted_close\n") << u"AAA: unchanged"_qs << 2 << 3 << 9.0;
    // A dividend lowered every adjusted close before it: the whole history is asked again.
    QTest::newRow("adjusted close moved")
        << dateCloseCsv({ { "2024-01-04", 12, 10.5 }, { "2024-01-05", 13, 12 } })
        << u"AAA: fetched 4 bars (whole history: past adjusted closes changed)"_qs << 3 << 4 << 8.5;
}

void FetchTests::incrementalFetch()
{
    QFETCH(QByteArray, second);
    QFETCH(QString, line);
    QFETCH(int, requests);
    QFETCH(int, stored);
    QFETCH(double, firstAdjusted);

    FixtureServer server;
    const QByteArray rewritten = dateCloseCsv(
        { { "2024-01-02", 10, 8.5 }, { "2024-01-03", 11, 9.5 }, { "2024-01-04", 12, 10.5 }, { "2024-01-05", 13, 12 } });
    server.scriptSequence(u"/csv/AAA"_qs, { csv(threeDays), csv(second), csv(rewritten) });
    QTemporaryDir dir;
    auto database = openIn(dir);
    const ProviderSettings settings = settingsFor(u"url-template"_qs, server, u"date-close"_qs);
    QCOMPARE(fetchOne(*database, settings).line(), u"AAA: fetched 3 bars"_qs);

    QCOMPARE(fetchOne(*database, settings).line(), line);
    QCOMPARE(server.requests().size(), requests);
    // The second request starts at the last stored day, to compare its adjusted close.
    QVERIFY2(server.requests()[1].query.startsWith("from=2024-01-04&to=2024-01-10"), server.requests()[1].query);
    const auto bars = database->dailyBars(u"AAA"_qs);
    QCOMPARE(int(bars->size()), stored);
    QCOMPARE(bars->front().adjClose, firstAdjusted);
}

void FetchTests::rateLimitHoldsAtTheProvider()
{
    FixtureServer server;
    QStringList symbols;
    for (const char* symbol : { "A", "B", "C", "D", "E", "F", "G" }) {
        symbols.push_back(QString::fromLatin1(symbol));
        server.script(u"/csv/"_qs + symbols.back(), csv(threeDays));
    }
    QTemporaryDir dir;
    auto database = openIn(dir);
    ProviderSettings settings = settingsFor(u"url-template"_qs, server, u"date-close"_qs);
    settings.policy.requestsPerSecond = 3;
    const auto provider = makePriceProvider(settings);
    QVERIFY(provider);
    const auto results = fetchPrices(*database, settings, *provider, symbols, [](const SymbolFetch&) {});
    QCOMPARE(int(results.size()), 7);
    QCOMPARE(server.requests().size(), 7);
    // No second at the fixture holds more than three requests (a little slack for the
    // loopback's own delivery jitter).
    for (qsizetype i = 0; i + 3 < server.requests().size(); ++i) {
        const auto span = server.requests()[i + 3].received - server.requests()[i].received;
        QVERIFY2(span >= std::chrono::milliseconds(950), qPrintable(QString::number(i)));
    }
    QVERIFY(database->dataOrigin().refreshedAt);
}

void FetchTests::dailySchedule_data()
{
    QTest::addColumn<QString>("last"); // empty: never refreshed
    QTest::addColumn<QString>("now");
    QTest::addColumn<QString>("next"); // "now": due at once

    // New York is UTC-5 in winter, UTC-4 in summer; 18:00 there is 23:00Z or 22:00Z.
    QTest::newRow("never refreshed") << QString() << u"2024-01-09T15:00:00Z"_qs << u"now"_qs;
    QTest::newRow("before today's") << u"2024-01-08T23:05:00Z"_qs << u"2024-01-09T20:00:00Z"_qs
                                    << u"2024-01-09T23:00:00Z"_qs;
    QTest::newRow("after today's") << u"2024-01-09T23:01:00Z"_qs << u"2024-01-10T01:00:00Z"_qs
                                   << u"2024-01-10T23:00:00Z"_qs;
    QTest::newRow("missed yesterday's") << u"2024-01-08T23:05:00Z"_qs << u"2024-01-10T15:00:00Z"_qs << u"now"_qs;
    QTest::newRow("friday over a holiday monday")
        << u"2024-01-12T23:01:00Z"_qs << u"2024-01-13T12:00:00Z"_qs << u"2024-01-16T23:00:00Z"_qs;
    QTest::newRow("into summer time") << u"2024-03-08T23:01:00Z"_qs << u"2024-03-09T12:00:00Z"_qs
                                      << u"2024-03-11T22:00:00Z"_qs;
}

void FetchTests::dailySchedule()
{
    QFETCH(QString, last);
    QFETCH(QString, now);
    QFETCH(QString, next);
    const QDateTime at = QDateTime::fromString(now, Qt::ISODate);
    const auto previous = last.isEmpty() ? std::nullopt : std::optional(QDateTime::fromString(last, Qt::ISODate));
    const QDateTime due = nextRefresh(previous, at, QTime(18, 0));
    QCOMPARE(due.toUTC(), next == u"now" ? at.toUTC() : QDateTime::fromString(next, Qt::ISODate).toUTC());
}

void FetchTests::universeListings_data()
{
    QTest::addColumn<QByteArray>("otherTrailer");
    QTest::addColumn<QString>("error"); // empty: imported

    QTest::newRow("complete") << QByteArray("File Creation Time: 0110202418:01||||||||\n") << QString();
    QTest::newRow("cut short") << QByteArray() << u"the listing file ends early (no \"File Creation Time\" line)"_qs;
}

void FetchTests::universeListings()
{
    QFETCH(QByteArray, otherTrailer);
    QFETCH(QString, error);
    FixtureServer server;
    server.script(u"/nasdaqlisted.txt"_qs,
        csv("Symbol|Security Name|Market Category|Test Issue|Financial Status|Round Lot Size|ETF|NextShares\n"
            "AAPL|Apple Inc. - Common Stock|Q|N|N|100|N|N\nQQQ|Invesco QQQ Trust, Series 1|G|N|N|100|Y|N\n"
            "ZXZZT|NASDAQ TEST STOCK|G|Y|N|100|N|N\nFile Creation Time: 0110202418:01|||||||\n"));
    server.script(u"/otherlisted.txt"_qs,
        csv("ACT Symbol|Security Name|Exchange|CQS Symbol|ETF|Round Lot Size|Test Issue|NASDAQ Symbol\n"
            "BRK.B|Berkshire Hathaway Inc. New Common Stock|N|BRK.B|N|100|N|BRK=B\n"
            "SPY|SPDR S&P 500 ETF Trust|P|SPY|Y|100|N|SPY\n"
            + otherTrailer));
    QTemporaryDir dir;
    auto database = openIn(dir);
    const ImportResult imported = fetchUniverse(*database, settingsFor(u"us-listings"_qs, server));
    if (!error.isEmpty()) {
        QVERIFY(!imported);
        QCOMPARE(imported.error().reason, error);
        QVERIFY(database->isEmpty());
        return;
    }
    QVERIFY2(imported, qPrintable(test::failureText(imported)));
    QCOMPARE(imported->symbols, 4);
    QVERIFY(!database->find(u"ZXZZT"));
    const auto qqq = database->find(u"QQQ");
    QVERIFY(qqq && qqq->isEtf);
    QCOMPARE(qqq->name, u"Invesco QQQ Trust, Series 1"_qs);
    QCOMPARE(qqq->exchange, std::optional(u"NASDAQ"_qs));
    const auto brk = database->find(u"BRK.B");
    QVERIFY(brk && !brk->isEtf);
    QCOMPARE(brk->exchange, std::optional(u"NYSE"_qs));
    QCOMPARE(database->find(u"SPY")->exchange, std::optional(u"NYSE Arca"_qs));
}

void FetchTests::commandReportsEachSymbolAndHidesTheKey()
{
    FixtureServer server;
    const QByteArray json = R"([{"date":"2024-01-02T00:00:00.000Z","close":10.0,"adjClose":9.0}])";
    server.script(u"/tiingo/daily/AAA/prices"_qs, reply(200, json, "application/json"));
    server.script(u"/tiingo/daily/BRK-B/prices"_qs, reply(200, json, "application/json"));
    server.script(u"/tiingo/daily/ZZZ/prices"_qs,
        reply(404, R"({"detail":"Error: Ticker 'ZZZ' not found"})", "application/json"));
    QTemporaryDir dir;
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TESSARY_TIINGO_TOKEN"_qs, u"token-0123456789"_qs);
    process.setProcessEnvironment(environment);
    process.start(executable,
        { u"fetch"_qs, u"prices"_qs, u"--provider"_qs, u"tiingo"_qs, u"--data-dir"_qs, dir.path(), u"--base-url"_qs,
            server.baseUrl().toString(), u"--retries=0"_qs, u"AAA"_qs, u"ZZZ"_qs, u"brk.b"_qs });
    QVERIFY(QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, 60'000));
    const QString out = QString::fromUtf8(process.readAllStandardOutput());
    const QString err = QString::fromUtf8(process.readAllStandardError());
    QCOMPARE(process.exitCode(), 1);
    QCOMPARE(out, u"AAA: fetched 1 bars\nBRK.B: fetched 1 bars\n"_qs);
    QCOMPARE(err, u"ZZZ: failed: HTTP 404: Error: Ticker 'ZZZ' not found\n"_qs);
    QCOMPARE(server.requests().front().header("Authorization"), QByteArray("Token token-0123456789"));

    // A second run of everything stored asks each symbol for its new days only.
    process.start(executable,
        { u"fetch"_qs, u"prices"_qs, u"--provider"_qs, u"tiingo"_qs, u"--data-dir"_qs, dir.path(), u"--base-url"_qs,
            server.baseUrl().toString(), u"--all"_qs });
    QVERIFY(QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, 60'000));
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()), u"AAA: unchanged\nBRK.B: unchanged\n"_qs);
    QVERIFY(!process.readAllStandardError().contains("token-0123456789"));
}

void FetchTests::serveAnswersWhileRefreshing()
{
    QTemporaryDir dir;
    {
        auto database = openIn(dir);
        QVERIFY(storeImportedBars(*database, u"AAA"_qs,
            std::vector<DailyBar> { { QDate(2024, 1, 2), 10, 9 }, { QDate(2024, 1, 3), 11, 10 } }, BarWrite::replace,
            u"url-template"_qs));
    }
    FixtureServer provider;
    ScriptedReply slow = csv(dateCloseCsv({ { "2024-01-03", 11, 10 }, { "2024-01-04", 12, 11 } }));
    // Long enough that the two requests below land inside it even on a loaded machine.
    slow.delay = std::chrono::milliseconds(6000);
    provider.script(u"/csv/AAA"_qs, slow);

    QProcess server;
    server.start(executable,
        { u"serve"_qs, u"--data-dir"_qs, dir.filePath(u"store"_qs), u"--no-demo"_qs, u"--refresh"_qs, u"daily@18:30"_qs,
            u"--provider"_qs, u"url-template"_qs, u"--layout"_qs, u"date-close"_qs, u"--url-template"_qs,
            provider.baseUrl().toString() + u"/csv/{symbol}?from={start}"_qs });
    QVERIFY(QTest::qWaitFor([&server] { return server.canReadLine(); }, 60'000));
    const QString listening = QString::fromUtf8(server.readLine()).trimmed();
    QVERIFY2(listening.startsWith(u"listening on "), qPrintable(listening));
    const QUrl base(listening.mid(13));

    QNetworkAccessManager network;
    const auto get = [&](const QString& path) {
        std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(base.resolved(QUrl(path)))));
        if (!QTest::qWaitFor([&reply] { return reply->isFinished(); }, 10'000))
            qWarning("GET %s did not finish", qPrintable(path));
        return QJsonDocument::fromJson(reply->readAll()).object();
    };
    // The store never refreshed, so the refresh starts at once; the provider takes its time.
    QVERIFY(QTest::qWaitFor([&provider] { return !provider.requests().isEmpty(); }, 10'000));
    QCOMPARE(get(u"/tickers"_qs).value(u"tickers").toObject().value(u"tickers").toArray().size(), 1);
    const QJsonObject during = get(u"/healthz"_qs).value(u"refresh").toObject();
    QCOMPARE(during.value(u"running").toBool(), true);
    QCOMPARE(during.value(u"schedule").toString(), u"daily@18:30"_qs);

    QJsonObject after;
    QVERIFY(QTest::qWaitFor(
        [&] {
            after = get(u"/healthz"_qs).value(u"refresh").toObject();
            return !after.value(u"running").toBool();
        },
        20'000));
    QVERIFY(after.value(u"failures").toArray().isEmpty());
    QVERIFY(!after.value(u"last_refresh").toString().isEmpty());
    QVERIFY(after.value(u"next_refresh").toString() > after.value(u"last_refresh").toString());
    const QJsonObject prices = get(u"/prices?tickers=AAA&start=2024-01-01&end=2024-01-31"_qs);
    QCOMPARE(prices.value(u"data_provider").toString(), u"127.0.0.1"_qs);
    QCOMPARE(prices.value(u"data_refreshed_at").toString(), after.value(u"last_refresh").toString());
    QCOMPARE(prices.value(u"range").toObject().value(u"actual_end").toString(), u"2024-01-04"_qs);
    server.terminate();
    QVERIFY(server.waitForFinished(10'000));
}

QTEST_GUILESS_MAIN(FetchTests)
#include "tst_FetchPrices.moc"
