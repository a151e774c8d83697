#include "Support/FixtureServer.h"
#include "Support/TaskRunner.h"
#include "Support/TestSupport.h"
#include "Tessary/MarketData/MarketData.h"
#include "Tessary/Shell/Environment.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QTest>
#include <QTimer>

using namespace tessary;
using namespace std::chrono_literals;
using test::FixtureServer;
using test::runTask;
using test::ScriptedReply;

namespace {

QByteArray body(const char* name)
{
    QFile file(QStringLiteral(TESSARY_BODIES_DIR "/") + QLatin1StringView(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test body %s", name);
    return file.readAll();
}

enum class Call { tickers, pricesPreset, pricesRange, related };

QStringList symbols(int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list.append(QStringLiteral("T%1").arg(i));
    return list;
}

// Runs one call and reduces its outcome to "ok" or the error, so every endpoint fits one table.
std::optional<std::optional<MarketDataError>> run(
    const APIClient& client, Call call, const QStringList& tickers, Timeframe timeframe, Cancellation cancellation = {})
{
    const auto outcome = [](const auto& result) -> std::optional<MarketDataError> {
        if (result)
            return std::nullopt;
        return result.error();
    };
    switch (call) {
    case Call::tickers:
        if (auto result = runTask(client.tickers(cancellation)))
            return outcome(*result);
        break;
    case Call::pricesPreset:
        if (auto result
            = runTask(client.prices(tickers, timeframe, std::nullopt, Timeframes::isIntraday(timeframe), cancellation)))
            return outcome(*result);
        break;
    case Call::pricesRange:
        if (auto result = runTask(client.prices(
                tickers, timeframe, ClampedRange { u"2020-02-19"_qs, u"2020-03-23"_qs }, false, cancellation)))
            return outcome(*result);
        break;
    case Call::related:
        if (auto result = runTask(client.related(tickers, 15, cancellation)))
            return outcome(*result);
        break;
    }
    return std::nullopt;
}

} // namespace

Q_DECLARE_METATYPE(Call)
Q_DECLARE_METATYPE(tessary::test::ScriptedReply)
Q_DECLARE_METATYPE(tessary::Timeframe)

class APIClientTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void requestsAreExact_data();
    void requestsAreExact();
    void statusPaths_data();
    void statusPaths();
    void universeArrivesAsRecords();
    void misbehavingServerFailsInTime_data();
    void misbehavingServerFailsInTime();
    void slowServerWithinTimeoutSucceeds();
    void cancellationAbortsTheRequest();
    void cancelledBeforeStartNeverSends();
    void networkGoneEndsTheRequest();
    void refusedConnectionIsTransportError();
    void environmentServiceURLs_data();
    void environmentServiceURLs();

private:
    std::unique_ptr<FixtureServer> m_server;
    QNetworkAccessManager m_network;
};

void APIClientTests::init()
{
    m_server = std::make_unique<FixtureServer>();
    m_server->script(u"/prices"_qs, ScriptedReply::json(body("prices-minimal.json")));
    m_server->script(u"/api/v2/prices"_qs, ScriptedReply::json(body("prices-minimal.json")));
    m_server->script(u"/tickers"_qs, ScriptedReply::json(body("tickers-valid.json")));
    m_server->script(u"/tickergraph/related"_qs, ScriptedReply::json(body("related-valid.json")));
}

void APIClientTests::requestsAreExact_data()
{
    QTest::addColumn<Call>("call");
    QTest::addColumn<QStringList>("tickers");
    QTest::addColumn<Timeframe>("timeframe");
    QTest::addColumn<QString>("basePath");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("query");

    const QByteArray fixed = "skip_unknown=true&metrics=volatility,sharpe,period_max_drawdown";
    const QStringList three { u"AAPL"_qs, u"BRK.B"_qs, u"SPY"_qs };
    QTest::newRow("tickers has no query") << Call::tickers << QStringList() << Timeframe::oneYear << ""
                                          << "/tickers" << QByteArray();
    QTest::newRow("prices 1Y") << Call::pricesPreset << three << Timeframe::oneYear << ""
                               << "/prices"
                               << "tickers=AAPL,BRK.B,SPY&" + fixed + "&preset=1Y&intraday=false";
    QTest::newRow("prices 1D is intraday") << Call::pricesPreset << three << Timeframe::oneDay << ""
                                           << "/prices"
                                           << "tickers=AAPL,BRK.B,SPY&" + fixed + "&preset=1D&intraday=true";
    QTest::newRow("prices 3D is intraday") << Call::pricesPreset << three << Timeframe::threeDay << ""
                                           << "/prices"
                                           << "tickers=AAPL,BRK.B,SPY&" + fixed + "&preset=3D&intraday=true";
    QTest::newRow("prices 1W is daily") << Call::pricesPreset << three << Timeframe::oneWeek << ""
                                        << "/prices"
                                        << "tickers=AAPL,BRK.B,SPY&" + fixed + "&preset=1W&intraday=false";
    QTest::newRow("prices range drops preset")
        << Call::pricesRange << three << Timeframe::threeDay << ""
        << "/prices"
        << "tickers=AAPL,BRK.B,SPY&" + fixed + "&start=2020-02-19&end=2020-03-23";
    QTest::newRow("prices cuts at 201") << Call::pricesPreset << symbols(250) << Timeframe::ytd << ""
                                        << "/prices"
                                        << "tickers=" + symbols(201).join(u',').toLatin1() + "&" + fixed
            + "&preset=YTD&intraday=false";
    QTest::newRow("prices keeps 201") << Call::pricesPreset << symbols(201) << Timeframe::fortyYear << ""
                                      << "/prices"
                                      << "tickers=" + symbols(201).join(u',').toLatin1() + "&" + fixed
            + "&preset=40Y&intraday=false";
    QTest::newRow("base with a path") << Call::pricesPreset << QStringList { u"AAPL"_qs } << Timeframe::oneMonth
                                      << "/api/v2"
                                      << "/api/v2/prices"
                                      << "tickers=AAPL&" + fixed + "&preset=1M&intraday=false";
    QTest::newRow("related") << Call::related << QStringList { u"AAPL"_qs, u"MSFT"_qs } << Timeframe::oneYear << ""
                             << "/tickergraph/related" << QByteArray("limit=15&tickers=AAPL,MSFT");
    QTest::newRow("related without symbols") << Call::related << QStringList() << Timeframe::oneYear << ""
                                             << "/tickergraph/related" << QByteArray("limit=15");
}

void APIClientTests::requestsAreExact()
{
    QFETCH(Call, call);
    QFETCH(QStringList, tickers);
    QFETCH(Timeframe, timeframe);
    QFETCH(QString, basePath);
    QFETCH(QString, path);
    QFETCH(QByteArray, query);

    QUrl base = m_server->baseUrl();
    base.setPath(basePath);
    const auto outcome = run(APIClient(base, &m_network), call, tickers, timeframe);
    QVERIFY2(outcome, "the request did not finish");
    QVERIFY2(!*outcome, qPrintable((*outcome)->description()));

    QCOMPARE(m_server->requests().size(), 1);
    const test::RecordedRequest& request = m_server->requests().front();
    QCOMPARE(request.method, "GET");
    QCOMPARE(request.path, path);
    QCOMPARE(request.query, query);
    QCOMPARE(request.header("User-Agent"), "Tessary-Mac/0.2");
    QVERIFY(request.header("Accept").isNull());
    QVERIFY(request.header("Authorization").isNull());
}

void APIClientTests::statusPaths_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("description");

    QTest::newRow("404 with error body") << 404 << QByteArray("application/json")
                                         << QByteArray(R"({"error":"unknown ticker"})") << "api"
                                         << "unknown ticker";
    QTest::newRow("500 with HTML") << 500 << QByteArray("text/html")
                                   << QByteArray("<html><h1>Internal Server Error</h1></html>") << "api"
                                   << "Server returned 500";
    QTest::newRow("502 empty") << 502 << QByteArray() << QByteArray() << "api"
                               << "Server returned 502";
    QTest::newRow("400 non-string error")
        << 400 << QByteArray("application/json") << QByteArray(R"({"error":7})") << "api"
        << "Server returned 400";
    QTest::newRow("429 with error body") << 429 << QByteArray("application/json")
                                         << QByteArray(R"({"error":"slow down"})") << "api"
                                         << "slow down";
    QTest::newRow("200 that does not decode")
        << 200 << QByteArray("application/json") << body("prices-performance-string.json") << "decoding"
        << "The data couldn’t be read at “series[0].performance[2]”: expected a number, found a string.";
    QTest::newRow("200 HTML") << 200 << QByteArray("text/html") << QByteArray("<html></html>") << "decoding"
                              << "The data couldn’t be read: ";
    QTest::newRow("204 empty") << 204 << QByteArray() << QByteArray() << "decoding"
                               << "The data couldn’t be read: the body is empty.";
    QTest::newRow("200 valid") << 200 << QByteArray("application/json") << body("prices-full.json") << "ok"
                               << "";
}

void APIClientTests::statusPaths()
{
    QFETCH(int, status);
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, reply);
    QFETCH(QString, kind);
    QFETCH(QString, description);

    m_server->script(u"/prices"_qs, ScriptedReply { status, reply, contentType });
    const APIClient client(m_server->baseUrl(), &m_network);
    const auto result = runTask(client.prices({ u"AAPL"_qs }, Timeframe::oneYear, std::nullopt, false));
    QVERIFY2(result, "the request did not finish");
    if (kind == u"ok") {
        QVERIFY2(*result, qPrintable(test::failureText(result)));
        QCOMPARE((*result)->series.size(), 2u);
        return;
    }
    QVERIFY(!*result);
    const MarketDataError& error = result->error();
    if (kind == u"api") {
        QCOMPARE(error.apiError() ? error.apiError()->status : -1, status);
        QCOMPARE(error.description(), description);
    } else {
        // Syntax errors are worded by the parser in use; the opening is ours.
        QVERIFY2(error.decodingError(), qPrintable(error.description()));
        QVERIFY2(error.description().startsWith(description), qPrintable(error.description()));
    }
}

void APIClientTests::universeArrivesAsRecords()
{
    const APIClient client(m_server->baseUrl(), &m_network);
    const auto result = runTask(client.tickers());
    QVERIFY(result && *result);
    QCOMPARE((*result)->size(), 3u);
    QCOMPARE((*result)->at(1).name, u"VOO");
    QVERIFY((*result)->at(2).isFund);
}

void APIClientTests::misbehavingServerFailsInTime_data()
{
    QTest::addColumn<ScriptedReply>("reply");
    QTest::addColumn<QNetworkReply::NetworkError>("code");

    const QByteArray prices = body("prices-minimal.json");
    QTest::newRow("never answers") << ScriptedReply::silent() << QNetworkReply::TimeoutError;
    QTest::newRow("hangs up mid-reply") << ScriptedReply::cutOff(prices) << QNetworkReply::RemoteHostClosedError;
    // Qt's own transfer timeout never fires here: a byte arrives every tenth of a second.
    QTest::newRow("10 bytes a second") << ScriptedReply::trickled(prices, 10) << QNetworkReply::TimeoutError;
    QTest::newRow("50 MB body") << ScriptedReply::json(QByteArray(50 * 1024 * 1024, ' '))
                                << QNetworkReply::UnknownContentError;
}

void APIClientTests::misbehavingServerFailsInTime()
{
    QFETCH(ScriptedReply, reply);
    QFETCH(QNetworkReply::NetworkError, code);
    m_server->script(u"/prices"_qs, reply);
    APIClient client(m_server->baseUrl(), &m_network);
    client.setTimeout(1s);
    const auto result = runTask(client.prices({ u"AAPL"_qs }, Timeframe::oneYear, std::nullopt, false));
    QVERIFY2(result, "the client waited past its timeout");
    QVERIFY(!*result);
    QVERIFY2(result->error().transportError(), qPrintable(test::failureText(*result)));
    QCOMPARE(result->error().transportError()->code, code);
    QVERIFY(!result->error().description().isEmpty());
}

void APIClientTests::slowServerWithinTimeoutSucceeds()
{
    m_server->script(u"/prices"_qs, ScriptedReply { 200, body("prices-minimal.json"), "application/json", 300ms });
    APIClient client(m_server->baseUrl(), &m_network);
    client.setTimeout(2s);
    const auto result = runTask(client.prices({ u"AAPL"_qs }, Timeframe::oneYear, std::nullopt, false));
    QVERIFY(result);
    QVERIFY2(*result, qPrintable(test::failureText(result)));
}

void APIClientTests::cancellationAbortsTheRequest()
{
    m_server->script(u"/prices"_qs, ScriptedReply::silent());
    const APIClient client(m_server->baseUrl(), &m_network);
    Cancellation cancellation;
    QTimer::singleShot(100ms, [cancellation]() mutable { cancellation.cancel(); });
    const auto result = runTask(client.prices({ u"AAPL"_qs }, Timeframe::oneYear, std::nullopt, false, cancellation));
    QVERIFY2(result, "cancelling did not end the request");
    QVERIFY(!*result);
    QVERIFY2(result->error().isCancelled(), qPrintable(test::failureText(result)));
    QCOMPARE(m_server->requests().size(), 1);
}

void APIClientTests::cancelledBeforeStartNeverSends()
{
    const APIClient client(m_server->baseUrl(), &m_network);
    Cancellation cancellation;
    cancellation.cancel();
    const auto outcome = run(client, Call::related, { u"AAPL"_qs }, Timeframe::oneYear, cancellation);
    QVERIFY(outcome && *outcome);
    QVERIFY((*outcome)->isCancelled());
    // A request that is sent afterwards is the first the server sees.
    const auto after = run(client, Call::tickers, {}, Timeframe::oneYear);
    QVERIFY(after);
    QTRY_VERIFY(m_server->idle());
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(m_server->requests().front().path, u"/tickers"_qs);
}

// Closing a window deletes its network manager with the replies in flight: the requests must
// still end, or their coroutines wait forever and everything they hold leaks.
void APIClientTests::networkGoneEndsTheRequest()
{
    m_server->script(u"/prices"_qs, ScriptedReply::silent());
    auto* network = new QNetworkAccessManager;
    const APIClient client(m_server->baseUrl(), network);
    QTimer::singleShot(100ms, network, &QObject::deleteLater);
    const auto result = runTask(client.prices({ u"AAPL"_qs }, Timeframe::oneYear, std::nullopt, false));
    QVERIFY2(result, "the request outlived its network manager");
    QVERIFY(!*result);
    QVERIFY2(result->error().isCancelled(), qPrintable(test::failureText(*result)));
}

void APIClientTests::refusedConnectionIsTransportError()
{
    QUrl closed;
    {
        FixtureServer gone;
        closed = gone.baseUrl();
    }
    const auto outcome = run(APIClient(closed, &m_network), Call::tickers, {}, Timeframe::oneYear);
    QVERIFY(outcome && *outcome);
    QVERIFY2((*outcome)->transportError(), qPrintable((*outcome)->description()));
    QCOMPARE((*outcome)->transportError()->code, QNetworkReply::ConnectionRefusedError);
    QVERIFY(!(*outcome)->description().isEmpty());
}

void APIClientTests::environmentServiceURLs_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<std::optional<QString>>("value");
    QTest::addColumn<bool>("accepted");
    using Value = std::optional<QString>;
    QTest::newRow("unset") << "TESSARY_API" << Value() << true;
    QTest::newRow("loopback origin") << "TESSARY_API" << Value(u"http://127.0.0.1:8080"_qs) << true;
    QTest::newRow("https with path") << "TESSARY_API" << Value(u"https://example.test/api/"_qs) << true;
    QTest::newRow("empty") << "TESSARY_API" << Value(u""_qs) << false;
    QTest::newRow("words") << "TESSARY_API" << Value(u"not a url"_qs) << false;
    QTest::newRow("no scheme") << "TESSARY_API" << Value(u"127.0.0.1:8080"_qs) << false;
    QTest::newRow("no host") << "TESSARY_API" << Value(u"http://"_qs) << false;
    QTest::newRow("ftp") << "TESSARY_API" << Value(u"ftp://example.test"_qs) << false;
    QTest::newRow("space in host") << "TESSARY_API" << Value(u"http://exa mple.test"_qs) << false;
    QTest::newRow("web also checked") << "TESSARY_WEB" << Value(u"::"_qs) << false;
    QTest::newRow("session also checked") << "TESSARY_SESSION_API" << Value(u"http//x"_qs) << false;
    QTest::newRow("hover on a day") << "TESSARY_HOVER" << Value(u"2020-03-23"_qs) << true;
    QTest::newRow("hover at a fraction") << "TESSARY_HOVER" << Value(u"0.25"_qs) << true;
    QTest::newRow("hover past the end") << "TESSARY_HOVER" << Value(u"1.5"_qs) << false;
    QTest::newRow("hover on no day") << "TESSARY_HOVER" << Value(u"2020-02-30"_qs) << false;
    QTest::newRow("sweep steps") << "TESSARY_HOVER_SWEEP" << Value(u"24"_qs) << true;
    QTest::newRow("sweep of one step") << "TESSARY_HOVER_SWEEP" << Value(u"1"_qs) << false;
}

void APIClientTests::environmentServiceURLs()
{
    QFETCH(QString, variable);
    QFETCH(std::optional<QString>, value);
    QFETCH(bool, accepted);

    QProcessEnvironment variables;
    variables.insert(u"TESSARY_DATA_DIR"_qs, u"/tmp/tessary data"_qs);
    if (value)
        variables.insert(variable, *value);
    const auto environment = Environment::read(variables);
    QCOMPARE(environment.has_value(), accepted);
    if (!environment) {
        const QString line = environment.error().description();
        QVERIFY2(line.startsWith(variable) && !line.contains(u'\n'), qPrintable(line));
        return;
    }
    QCOMPARE(environment->dataDir, std::optional(u"/tmp/tessary data"_qs));
    if (variable == u"TESSARY_API" && value) {
        QCOMPARE(environment->api, std::optional(QUrl(*value)));
        // The whole value is the base: every endpoint hangs below it.
        const QUrl url = APIClient(*environment->api).endpointURL(u"tickers"_qs, {});
        QVERIFY2(url.toString().startsWith(*value), qPrintable(url.toString()));
    } else {
        QVERIFY(!environment->api);
    }
}

QTEST_GUILESS_MAIN(APIClientTests)
#include "tst_APIClient.moc"
