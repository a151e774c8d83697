#include "MemoryMarket.h"
#include "TessaryServer/Http/Gzip.h"
#include "TessaryServer/Http/HttpTransport.h"
#include "TessaryServer/Http/JsonWriter.h"
#include "TessaryServer/Http/MarketHandlers.h"
#include "TessaryServer/Http/ServerEngine.h"
#include "TessaryWire/Json.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>
#include <QThread>
#include <QTimeZone>
#include <QUrlQuery>

#include <atomic>
#include <cmath>
#include <limits>
#include <random>

#include <zlib.h>

using namespace tessary;
using namespace tessary::server;
using server::test::dailyBarsFromText;
using server::test::MemoryMarket;

namespace {

struct Fetched {
    int status = 0;
    QByteArray contentType;
    QByteArray body;
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QByteArray etag;
    QByteArray contentEncoding;
};

Fetched fetch(QNetworkAccessManager& network, const QNetworkRequest& request)
{
    std::unique_ptr<QNetworkReply> reply(network.get(request));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    if (!reply->isFinished() && !finished.wait(10'000))
        qWarning("no reply from %s", qPrintable(request.url().toString()));
    return Fetched { reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
        reply->header(QNetworkRequest::ContentTypeHeader).toByteArray(), reply->readAll(), reply->error(),
        reply->rawHeader("ETag"), reply->rawHeader("Content-Encoding") };
}

Fetched fetch(QNetworkAccessManager& network, const QUrl& url)
{
    return fetch(network, QNetworkRequest(url));
}

TickerInfo info(const char* symbol, std::optional<QString> sector = std::nullopt, bool etf = false)
{
    TickerInfo ticker;
    ticker.symbol = QString::fromLatin1(symbol);
    ticker.name = ticker.symbol + QStringLiteral(" Corp");
    ticker.isEtf = etf;
    ticker.sector = std::move(sector);
    ticker.marketCap = etf ? std::nullopt : std::optional<double>(2.5e9);
    return ticker;
}

std::unique_ptr<MemoryMarket> smallMarket()
{
    auto market = std::make_unique<MemoryMarket>();
    market->addSymbol(info("AAA", QStringLiteral("Technology")),
        dailyBarsFromText(QStringLiteral("2020-12-30 10,2020-12-31 11,2021-01-04 12,2021-01-05 9,"
                                         "2021-01-06 13,2021-01-07 14,2021-01-08 15")));
    market->addSymbol(info("NOBARS"));
    market->addSymbol(info("ETF", std::nullopt, true),
        dailyBarsFromText(QStringLiteral("2021-01-06 50,2021-01-07 51,2021-01-08 52")));
    // A zero adjusted close at the base: every return against it is undefined.
    market->addSymbol(info("ZERO"), dailyBarsFromText(QStringLiteral("2020-12-31 1 0,2021-01-04 1 1,2021-01-08 1 2")));
    return market;
}

QString manyTickers(int count)
{
    QStringList symbols;
    for (int i = 0; i < count; ++i)
        symbols.append(QStringLiteral("T%1").arg(i));
    return symbols.join(u',');
}

QStringList sortedKeys(const QJsonObject& object)
{
    QStringList keys = object.keys();
    keys.sort();
    return keys;
}

} // namespace

class ServerEndpointTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void chartNumbers_data();
    void chartNumbers();
    void returnNumbers_data();
    void returnNumbers();
    void repeatedValueOutgrowsTheBuffer();
    void statusAndError_data();
    void statusAndError();
    void skipUnknownListsSymbolsAndKeepsKnownOnes();
    void pricesBodyHasTheWireShape();
    void metricsItemSelectsOptionalMetrics();
    void tickersAreColumns();
    void engineServesFromItsOwnThread();
    void engineReportsABusyPort();
    void gzipWhenAcceptedAndWorthIt_data();
    void gzipWhenAcceptedAndWorthIt();
    void gzipPartsJoinIntoOneMember_data();
    void gzipPartsJoinIntoOneMember();
    void unchangedDocumentsAnswer304_data();
    void unchangedDocumentsAnswer304();

private:
    QUrl engineURL(const QString& pathAndQuery);

    QUrl url(const QString& pathAndQuery) const;

    std::unique_ptr<MemoryMarket> m_market;
    std::unique_ptr<MarketHandlers> m_handlers;
    std::unique_ptr<HttpTransport> m_transport;
    quint16 m_port = 0;
    QNetworkAccessManager m_network;
    std::unique_ptr<ServerEngine> m_engine;
};

void ServerEndpointTests::initTestCase()
{
    m_market = smallMarket();
    m_handlers = std::make_unique<MarketHandlers>(*m_market);
    m_transport = std::make_unique<HttpTransport>(
        [handlers = m_handlers.get()](const HttpRequest& request) { return handlers->handle(request); });
    const auto port = m_transport->start(QHostAddress::LocalHost, 0);
    QVERIFY2(port, qPrintable(port ? QString() : port.error().description()));
    QVERIFY(*port != 0);
    m_port = *port;
}

QUrl ServerEndpointTests::url(const QString& pathAndQuery) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(pathAndQuery));
}

void ServerEndpointTests::chartNumbers_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << 0.0 << "0";
    QTest::newRow("eight digits of a fraction") << 0.596878742448 << "0.59687874";
    QTest::newRow("negative") << -0.0183647 << "-0.0183647";
    QTest::newRow("small, leading zeros") << 0.000012345678912 << "0.000012345679";
    QTest::newRow("trailing zeros dropped") << 0.125 << "0.125";
    QTest::newRow("whole number") << 100.0 << "100";
    QTest::newRow("rounding carries into a new digit") << 9.9999999951 << "10";
    QTest::newRow("more whole digits than kept") << 123456789.7 << "123456790";
    QTest::newRow("tiny falls back to an exponent") << 1.5e-12 << "1.5e-12";
    QTest::newRow("huge falls back to an exponent") << -2.5e20 << "-2.5e+20";
    QTest::newRow("infinity is no value") << std::numeric_limits<double>::infinity() << "null";
    QTest::newRow("NaN is no value") << std::numeric_limits<double>::quiet_NaN() << "null";
}

void ServerEndpointTests::chartNumbers()
{
    QFETCH(double, value);
    QFETCH(QString, text);
    JsonWriter json;
    json.beginArray().number(value, JsonWriter::chartDigits).number(value, JsonWriter::chartDigits).endArray();
    QCOMPARE(QString::fromLatin1(json.take()), QStringLiteral("[%1,%1]").arg(text));
}

void ServerEndpointTests::returnNumbers_data()
{
    // Written to eight significant digits of the growth factor 1 + r.
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << 0.0 << "0";
    QTest::newRow("small gain: seven places") << 0.0012345678 << "0.0012346";
    QTest::newRow("small loss: eight places") << -0.0183647123 << "-0.01836471";
    QTest::newRow("half the value lost") << -0.512345678 << "-0.51234568";
    QTest::newRow("tenfold: six places") << 12.3456789 << "12.345679";
    QTest::newRow("nearly all lost: the factor's digits") << -0.9512345678 << "-0.951234568";
    QTest::newRow("below a factor of 0.001: its steps") << -0.99999987654 << "-0.9999998765";
    QTest::newRow("rounds to nothing, without a sign") << -4e-9 << "0";
    QTest::newRow("rounding carries") << 0.99999999 << "1";
    QTest::newRow("huge falls back to an exponent") << 2.5e20 << "2.5e+20";
    QTest::newRow("NaN is no value") << std::numeric_limits<double>::quiet_NaN() << "null";
}

void ServerEndpointTests::returnNumbers()
{
    QFETCH(double, value);
    QFETCH(QString, text);
    const std::optional<double> values[] = { value, value };
    JsonWriter json;
    json.returnArray(values, JsonWriter::chartDigits);
    QCOMPARE(QString::fromLatin1(json.take()), QStringLiteral("[%1,%1]").arg(text));
}

void ServerEndpointTests::repeatedValueOutgrowsTheBuffer()
{
    const std::vector<qint64> dates(40, 1'704'153'600'000);
    JsonWriter json;
    json.beginArray();
    const qsizetype begin = json.size();
    json.integerArray(dates);
    const qsizetype end = json.size();
    json.repeat(begin, end).repeat(begin, end).endArray();
    const QByteArray text = json.take();
    const QByteArray one = text.mid(begin, end - begin);
    QCOMPARE(text, '[' + one + ',' + one + ',' + one + ']');
}

void ServerEndpointTests::statusAndError_data()
{
    QTest::addColumn<QString>("request");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("error"); // empty for a 200

    QTest::newRow("no tickers item") << "/prices?preset=1Y" << 400 << "no tickers given";
    QTest::newRow("only commas") << "/prices?tickers=,,&preset=1Y" << 400 << "no tickers given";
    QTest::newRow("unparsable start") << "/prices?tickers=AAA&start=2021-13-01&end=2021-12-31" << 400
                                      << "start is not a date (yyyy-MM-dd): \"2021-13-01\"";
    QTest::newRow("date with a time") << "/prices?tickers=AAA&start=2021-01-01&end=2021-01-05T10:00" << 400
                                      << "end is not a date (yyyy-MM-dd): \"2021-01-05T10:00\"";
    QTest::newRow("start after end") << "/prices?tickers=AAA&start=2021-02-01&end=2021-01-01" << 400
                                     << "start 2021-02-01 is after end 2021-01-01";
    QTest::newRow("end without start") << "/prices?tickers=AAA&end=2021-01-01" << 400 << "end needs a start";
    QTest::newRow("unknown preset") << "/prices?tickers=AAA&preset=6Y" << 400 << "unknown preset: 6Y";
    QTest::newRow("bad flag") << "/prices?tickers=AAA&preset=1Y&skip_unknown=maybe" << 400
                              << "skip_unknown must be true or false, not \"maybe\"";
    QTest::newRow("unknown metric") << "/prices?tickers=AAA&metrics=volatility,alpha" << 400 << "unknown metric: alpha";
    QTest::newRow("202 tickers") << QStringLiteral("/prices?skip_unknown=true&tickers=") + manyTickers(202) << 400
                                 << "too many tickers: 202 (at most 201)";
    QTest::newRow("201 tickers") << QStringLiteral("/prices?skip_unknown=true&tickers=") + manyTickers(200)
            + QStringLiteral(",AAA")
                                 << 200 << "";
    QTest::newRow("unknown ticker") << "/prices?tickers=AAA,XYZ&preset=1M" << 404 << "unknown ticker: XYZ";
    QTest::newRow("lower-case symbol and preset") << "/prices?tickers=aaa&preset=ytd" << 200 << "";
    QTest::newRow("range past the data") << "/prices?tickers=AAA&start=2020-01-01&end=2030-01-01" << 200 << "";
    QTest::newRow("limit zero") << "/tickergraph/related?limit=0&tickers=AAA" << 400
                                << "limit must be a whole number from 1 to 50, not \"0\"";
    QTest::newRow("limit too large") << "/tickergraph/related?limit=51" << 400
                                     << "limit must be a whole number from 1 to 50, not \"51\"";
    QTest::newRow("limit not a number") << "/tickergraph/related?limit=ten" << 400
                                        << "limit must be a whole number from 1 to 50, not \"ten\"";
    QTest::newRow("related") << "/tickergraph/related?limit=15&tickers=AAA" << 200 << "";
    QTest::newRow("related without tickers") << "/tickergraph/related?limit=15" << 200 << "";
    QTest::newRow("tickers") << "/tickers" << 200 << "";
    QTest::newRow("catalog") << "/data/collections.json" << 200 << "";
    QTest::newRow("unknown path") << "/nowhere" << 404 << "not found: /nowhere";
}

void ServerEndpointTests::statusAndError()
{
    QFETCH(QString, request);
    QFETCH(int, status);
    QFETCH(QString, error);
    const Fetched reply = fetch(m_network, url(request));
    QCOMPARE(reply.status, status);
    QCOMPARE(reply.contentType, QByteArray("application/json"));
    const auto body = parseJsonObject(reply.body);
    QVERIFY2(body, reply.body.left(200).constData());
    if (error.isEmpty()) {
        QVERIFY(!body->contains(u"error"));
    } else {
        // The whole body is the one error string.
        QCOMPARE(body->keys(), QStringList { QStringLiteral("error") });
        QCOMPARE((*body)[u"error"].toString(), error);
    }
}

void ServerEndpointTests::skipUnknownListsSymbolsAndKeepsKnownOnes()
{
    const Fetched reply
        = fetch(m_network, url(QStringLiteral("/prices?tickers=AAA,XYZ,NOBARS,QQQ,aaa&skip_unknown=true&preset=1W")));
    QCOMPARE(reply.status, 200);
    const QJsonObject body = QJsonDocument::fromJson(reply.body).object();
    QCOMPARE(body[u"skipped_tickers"].toArray(), (QJsonArray { QStringLiteral("XYZ"), QStringLiteral("QQQ") }));
    const QJsonArray series = body[u"series"].toArray();
    QCOMPARE(series.size(), 1);
    QCOMPARE(series[0][u"ticker"].toString(), QStringLiteral("AAA"));
    const QJsonArray rankings = body[u"rankings"].toArray();
    QCOMPARE(rankings.size(), 2);
    QCOMPARE(rankings[0][u"ticker"].toString(), QStringLiteral("AAA"));
    QCOMPARE(rankings[1].toObject(), (QJsonObject { { QStringLiteral("ticker"), QStringLiteral("NOBARS") } }));
}

void ServerEndpointTests::pricesBodyHasTheWireShape()
{
    const Fetched reply = fetch(m_network,
        url(QStringLiteral("/prices?tickers=AAA,ZERO,ETF&skip_unknown=true&metrics=volatility,sharpe,"
                           "period_max_drawdown&preset=YTD&intraday=false")));
    QCOMPARE(reply.status, 200);
    // Top-level keys in the order the app's records list them.
    QVERIFY(reply.body.startsWith(
        R"({"range":{"actual_start":"2020-12-31","actual_end":"2021-01-08","interval":"1D"},"series":[)"));
    const QJsonObject body = QJsonDocument::fromJson(reply.body).object();
    QCOMPARE(sortedKeys(body),
        (QStringList { QStringLiteral("data_freshness"), QStringLiteral("data_source"), QStringLiteral("range"),
            QStringLiteral("rankings"), QStringLiteral("series"), QStringLiteral("skipped_tickers") }));
    QCOMPARE(body[u"data_source"].toString(), QStringLiteral("imported"));
    QCOMPARE(body[u"data_freshness"].toObject(),
        (QJsonObject {
            { QStringLiteral("latest_historical_timestamp"), QStringLiteral("2021-01-08T16:00:00-05:00") } }));

    const QJsonObject aaa = body[u"series"][0].toObject();
    QCOMPARE(sortedKeys(aaa),
        (QStringList { QStringLiteral("adjClose"), QStringLiteral("dates"), QStringLiteral("performance"),
            QStringLiteral("ticker") }));
    // Daily bars sit at midnight UTC of their trading day.
    QCOMPARE(aaa[u"dates"][0].toInteger(),
        QDateTime(QDate(2020, 12, 31), QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch());
    // Returns travel with eight significant digits of their growth factor.
    QCOMPARE(aaa[u"performance"][3].toDouble(), 0.1818182);

    // Returns against a zero price are points without a value, not a broken document.
    const QJsonObject zero = body[u"series"][1].toObject();
    QCOMPARE(zero[u"performance"].toArray(), (QJsonArray { QJsonValue(), QJsonValue(), QJsonValue() }));
    QCOMPARE(zero[u"adjClose"].toArray(), (QJsonArray { 0, 1, 2 }));
    const QJsonObject zeroRanking = body[u"rankings"][1].toObject();
    QVERIFY(!zeroRanking.contains(u"net_return"));

    const QJsonObject ranking = body[u"rankings"][0].toObject();
    QCOMPARE(sortedKeys(ranking),
        (QStringList { QStringLiteral("end_value"), QStringLiteral("market_cap"), QStringLiteral("net_return"),
            QStringLiteral("period_max_drawdown"), QStringLiteral("preset_returns"), QStringLiteral("sharpe_ratio"),
            QStringLiteral("start_date"), QStringLiteral("ticker"), QStringLiteral("volatility") }));
    QCOMPARE(ranking[u"end_value"].toDouble(), 15.0);
    QCOMPARE(ranking[u"period_max_drawdown"].toDouble(), 9.0 / 12.0 - 1.0);
    const QJsonObject presetReturns = ranking[u"preset_returns"].toObject();
    QCOMPARE(presetReturns.size(), 24);
    QCOMPARE(presetReturns[u"YTD"].toDouble(), 15.0 / 11.0 - 1.0);
    QVERIFY(presetReturns[u"1Y"].isNull());
    // The ETF has no market cap: the key is left out, not null.
    QVERIFY(!body[u"rankings"][2].toObject().contains(u"market_cap"));
    QCOMPARE(body[u"rankings"][2][u"start_date"].toString(), QStringLiteral("2021-01-06"));
}

void ServerEndpointTests::metricsItemSelectsOptionalMetrics()
{
    const Fetched reply = fetch(m_network, url(QStringLiteral("/prices?tickers=AAA&metrics=volatility&preset=YTD")));
    const QJsonObject ranking = QJsonDocument::fromJson(reply.body)[u"rankings"][0].toObject();
    QVERIFY(ranking.contains(u"volatility"));
    QVERIFY(!ranking.contains(u"sharpe_ratio"));
    QVERIFY(!ranking.contains(u"period_max_drawdown"));
    QVERIFY(ranking.contains(u"net_return"));
}

void ServerEndpointTests::tickersAreColumns()
{
    const Fetched reply = fetch(m_network, url(QStringLiteral("/tickers")));
    const QJsonObject body = QJsonDocument::fromJson(reply.body).object();
    QCOMPARE(body[u"data_source"].toString(), QStringLiteral("imported"));
    const QJsonObject columns = body[u"tickers"].toObject();
    QCOMPARE(sortedKeys(columns),
        (QStringList { QStringLiteral("companyNames"), QStringLiteral("exchanges"), QStringLiteral("industries"),
            QStringLiteral("isEtf"), QStringLiteral("isFund"), QStringLiteral("marketCaps"), QStringLiteral("sectors"),
            QStringLiteral("tickers") }));
    QCOMPARE(columns[u"tickers"].toArray(),
        (QJsonArray {
            QStringLiteral("AAA"), QStringLiteral("ETF"), QStringLiteral("NOBARS"), QStringLiteral("ZERO") }));
    QCOMPARE(columns[u"isEtf"].toArray(), (QJsonArray { false, true, false, false }));
    QCOMPARE(columns[u"sectors"].toArray(),
        (QJsonArray { QStringLiteral("Technology"), QJsonValue(), QJsonValue(), QJsonValue() }));
    QCOMPARE(columns[u"marketCaps"].toArray(), (QJsonArray { 2.5e9, QJsonValue(), 2.5e9, 2.5e9 }));
    QCOMPARE(columns[u"companyNames"][1].toString(), QStringLiteral("ETF Corp"));
}

void ServerEndpointTests::engineServesFromItsOwnThread()
{
    std::atomic<QThread*> openedOn = nullptr;
    ServerOptions options;
    options.openMarket
        = [&openedOn](const MarketProgress& progress) -> std::expected<std::unique_ptr<MarketReader>, DataError> {
        openedOn = QThread::currentThread();
        progress(0.5);
        auto market = smallMarket();
        market->setDataSource(DataSource::simulated);
        return std::unique_ptr<MarketReader>(std::move(market));
    };
    ServerEngine engine;
    QSignalSpy started(&engine, &ServerEngine::started);
    QSignalSpy progress(&engine, &ServerEngine::progress);
    engine.start(options);
    QVERIFY(started.wait(10'000));
    QVERIFY(openedOn.load() != nullptr);
    QVERIFY(openedOn.load() != QThread::currentThread());
    QVERIFY(progress.size() >= 2);

    const QUrl base = started.front().front().toUrl();
    QCOMPARE(engine.url(), std::optional<QUrl>(base));
    QCOMPARE(base.host(), QStringLiteral("127.0.0.1"));
    QVERIFY(base.port() > 0);
    const Fetched reply = fetch(m_network, base.resolved(QUrl(QStringLiteral("/tickers"))));
    QCOMPARE(reply.status, 200);
    QCOMPARE(QJsonDocument::fromJson(reply.body)[u"data_source"].toString(), QStringLiteral("simulated"));

    engine.stop();
    QVERIFY(!engine.isRunning());
    QVERIFY(!engine.url());
    const Fetched afterStop = fetch(m_network, base.resolved(QUrl(QStringLiteral("/tickers"))));
    QCOMPARE(afterStop.error, QNetworkReply::ConnectionRefusedError);
}

void ServerEndpointTests::engineReportsABusyPort()
{
    ServerOptions options;
    options.port = m_port; // the fixture server holds it
    options.openMarket = [](const MarketProgress&) -> std::expected<std::unique_ptr<MarketReader>, DataError> {
        return std::unique_ptr<MarketReader>(smallMarket());
    };
    ServerEngine engine;
    QSignalSpy failed(&engine, &ServerEngine::failed);
    engine.start(options);
    QVERIFY(failed.wait(10'000));
    QCOMPARE(failed.front().front().toString(), QStringLiteral("cannot listen on 127.0.0.1:%1").arg(m_port));
    QVERIFY(!engine.isRunning());

    options.host = QStringLiteral("example.org");
    engine.start(options);
    QVERIFY(failed.wait(10'000));
    QCOMPARE(failed.back().front().toString(), QStringLiteral("not an IP address: example.org"));
}

// The service as the app and a self-hosting user run it, started once for the tests that
// need the whole reply path.
QUrl ServerEndpointTests::engineURL(const QString& pathAndQuery)
{
    if (!m_engine) {
        ServerOptions options;
        options.openMarket = [](const MarketProgress&) -> std::expected<std::unique_ptr<MarketReader>, DataError> {
            return std::unique_ptr<MarketReader>(smallMarket());
        };
        m_engine = std::make_unique<ServerEngine>();
        QSignalSpy started(m_engine.get(), &ServerEngine::started);
        m_engine->start(options);
        if (!started.wait(10'000))
            qWarning("the service did not start");
    }
    return m_engine->url().value_or(QUrl()).resolved(QUrl(pathAndQuery));
}

void ServerEndpointTests::gzipPartsJoinIntoOneMember_data()
{
    QTest::addColumn<int>("threads");
    QTest::addColumn<QString>("literal"); // none, the digit runs, or one range over both joins
    QTest::newRow("one part") << 1 << "digits";
    QTest::newRow("three parts") << 3 << "none";
    QTest::newRow("three parts, the digits literal") << 3 << "digits";
    QTest::newRow("three parts, a literal range across the joins") << 3 << "middle";
}

void ServerEndpointTests::gzipPartsJoinIntoOneMember()
{
    QFETCH(int, threads);
    QFETCH(QString, literal);
    // Dates that repeat from one array to the next within deflate's reach, between runs of
    // unrelated digits: seven megabytes, enough for three parts.
    std::mt19937 random(7);
    QByteArray dates;
    for (qint64 day = 0; day < 1300; ++day)
        dates += QByteArray::number(1'600'000'000'000 + day * 86'400'000) + ',';
    QByteArray data;
    ByteRanges ranges;
    while (data.size() < 7'000'000) {
        data += dates;
        const qsizetype begin = data.size();
        for (int i = 0; i < 1000; ++i)
            data += QByteArray::number(std::uniform_real_distribution<double>(0, 500)(random), 'f', 5) + ',';
        ranges.append({ begin, data.size() });
    }
    if (literal == u"none")
        ranges.clear();
    if (literal == u"middle")
        ranges = { { data.size() / 4, data.size() * 3 / 4 } };
    const QByteArray coded = gzip(data, 1, ranges, threads);
    QVERIFY(coded.startsWith("\x1f\x8b"));

    // zlib checks the CRC and the length in the trailer as it reads.
    z_stream stream {};
    QCOMPARE(inflateInit2(&stream, 15 + 16), Z_OK);
    QByteArray plain(data.size() + 1, Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(coded.data()));
    stream.avail_in = static_cast<uInt>(coded.size());
    stream.next_out = reinterpret_cast<Bytef*>(plain.data());
    stream.avail_out = static_cast<uInt>(plain.size());
    const int result = inflate(&stream, Z_FINISH);
    plain.truncate(static_cast<qsizetype>(stream.total_out));
    inflateEnd(&stream);
    QCOMPARE(result, Z_STREAM_END);
    QCOMPARE(stream.avail_in, 0U);
    QVERIFY(plain == data);
    // Each part sees the text before it: a join costs a block's code tables, not the repeats
    // across it.
    QVERIFY(coded.size() <= gzip(data, 1, ranges, 1).size() + 1024 * (threads - 1));
}

void ServerEndpointTests::gzipWhenAcceptedAndWorthIt_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("acceptEncoding");
    QTest::addColumn<bool>("coded");
    const QString catalog = QStringLiteral("/data/collections.json");
    QTest::newRow("accepted") << catalog << QByteArrayLiteral("gzip, deflate") << true;
    QTest::newRow("accepted with a weight") << catalog << QByteArrayLiteral("br;q=1.0, GZIP;q=0.5") << true;
    QTest::newRow("refused by weight") << catalog << QByteArrayLiteral("gzip;q=0") << false;
    QTest::newRow("not offered") << catalog << QByteArrayLiteral("identity") << false;
    QTest::newRow("prices, the number arrays coded apart")
        << QStringLiteral("/prices?tickers=AAA,ETF,ZERO&preset=YTD") << QByteArrayLiteral("gzip") << true;
    QTest::newRow("body under a kilobyte") << QStringLiteral("/tickers") << QByteArrayLiteral("gzip") << false;
}

void ServerEndpointTests::gzipWhenAcceptedAndWorthIt()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, acceptEncoding);
    QFETCH(bool, coded);
    const QUrl url = engineURL(path);
    // Set by hand, the header makes Qt hand over the bytes as they came.
    QNetworkRequest raw(url);
    raw.setRawHeader("Accept-Encoding", acceptEncoding);
    const Fetched sent = fetch(m_network, raw);
    QCOMPARE(sent.status, 200);
    const QByteArray& wire = sent.body;
    QCOMPARE(sent.contentEncoding, coded ? QByteArrayLiteral("gzip") : QByteArray());
    QCOMPARE(wire.startsWith("\x1f\x8b"), coded);

    // What the app gets: Qt asks for gzip by itself and decodes it to the plain body.
    QNetworkRequest plain(url);
    plain.setRawHeader("Accept-Encoding", "identity");
    const Fetched identity = fetch(m_network, plain);
    const Fetched decoded = fetch(m_network, QNetworkRequest(url));
    QCOMPARE(decoded.status, 200);
    QVERIFY(QJsonDocument::fromJson(decoded.body).isObject());
    if (coded)
        QVERIFY(wire.size() < decoded.body.size());
    else
        QCOMPARE(wire, decoded.body);
    QCOMPARE(identity.body, decoded.body);
}

void ServerEndpointTests::unchangedDocumentsAnswer304_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("ifNoneMatch"); // %1 stands for the tag just received
    QTest::addColumn<int>("status");
    for (const QString& path : { QStringLiteral("/tickers"), QStringLiteral("/data/collections.json") }) {
        const QByteArray name = path.toUtf8();
        QTest::newRow(name + " current") << path << QByteArrayLiteral("%1") << 304;
        QTest::newRow(name + " weak, among others") << path << QByteArrayLiteral("\"old\", W/%1") << 304;
        QTest::newRow(name + " any") << path << QByteArrayLiteral("*") << 304;
        QTest::newRow(name + " stale") << path << QByteArrayLiteral("\"old\"") << 200;
    }
}

void ServerEndpointTests::unchangedDocumentsAnswer304()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, ifNoneMatch);
    QFETCH(int, status);
    const QUrl url = engineURL(path);
    const Fetched first = fetch(m_network, url);
    const QByteArray& tag = first.etag;
    QVERIFY(tag.startsWith('"') && tag.endsWith('"') && tag.size() > 2);

    QNetworkRequest again(url);
    again.setRawHeader("If-None-Match", QByteArray(ifNoneMatch).replace("%1", tag));
    const Fetched second = fetch(m_network, again);
    QCOMPARE(second.status, status);
    QCOMPARE(second.etag, tag);
    QCOMPARE(second.body, status == 304 ? QByteArray() : first.body);
}

QTEST_GUILESS_MAIN(ServerEndpointTests)
#include "tst_ServerEndpoints.moc"
