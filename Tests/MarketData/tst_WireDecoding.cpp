#include "Support/TestSupport.h"
#include "Tessary/MarketData/MarketData.h"

#include <QFile>
#include <QTest>

#include <algorithm>

using namespace tessary;
using test::utcInstant;

namespace {

QByteArray body(const QString& name)
{
    QFile file(QStringLiteral(TESSARY_BODIES_DIR "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing test body %s", qPrintable(name));
    return file.readAll();
}

// Qt keeps preset keys sorted and simdjson keeps document order; the records agree otherwise.
PricesResponse normalised(PricesResponse response)
{
    for (TickerRanking& ranking : response.rankings) {
        if (ranking.presetReturns)
            std::ranges::sort(*ranking.presetReturns, {}, &std::pair<QString, std::optional<double>>::first);
    }
    return response;
}

// Decodes one body through every parser this build has and checks they agree.
template <class T>
Decoded<T> decodeEverywhere(
    const QByteArray& bytes, Decoded<T> (*fast)(const QByteArray&), Decoded<T> (*qt)(const QJsonObject&))
{
    const auto object = parseJsonObject(bytes);
    const Decoded<T> viaQt = object ? qt(*object) : Decoded<T>(std::unexpected(object.error()));
    const Decoded<T> viaFast = fast(bytes);
    if (viaQt.has_value() != viaFast.has_value()) {
        qWarning("parsers disagree: Qt %s, fast %s", viaQt ? "decodes" : qPrintable(viaQt.error().description()),
            viaFast ? "decodes" : qPrintable(viaFast.error().description()));
        return std::unexpected(DecodingError { QStringLiteral("<parsers disagree>"), {} });
    }
    if (!viaQt && viaQt.error().path != viaFast.error().path)
        return std::unexpected(DecodingError { QStringLiteral("<paths disagree>"), {} });
    if constexpr (std::is_same_v<T, PricesResponse>) {
        if (viaQt && normalised(*viaQt) != normalised(*viaFast))
            return std::unexpected(DecodingError { QStringLiteral("<records disagree>"), {} });
    } else {
        if (viaQt && *viaQt != *viaFast)
            return std::unexpected(DecodingError { QStringLiteral("<records disagree>"), {} });
    }
    return viaFast;
}

Decoded<TickersResponse> decodeTickersEverywhere(const QByteArray& bytes)
{
    return decodeEverywhere<TickersResponse>(bytes, &FastWireDecoding::decodeTickersResponse,
        static_cast<Decoded<TickersResponse> (*)(const QJsonObject&)>(&decodeTickersResponse));
}

Decoded<PricesResponse> decodePricesEverywhere(const QByteArray& bytes)
{
    return decodeEverywhere<PricesResponse>(bytes, &FastWireDecoding::decodePricesResponse,
        static_cast<Decoded<PricesResponse> (*)(const QJsonObject&)>(&decodePricesResponse));
}

} // namespace

class WireDecodingTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void bodies_data();
    void bodies();
    void pricesKeepNullsAndIgnoreUnknownKeys();
    void shortColumnsEndInAbsentValues();
    void tickerColumnsBecomeRecords();
    void errorBodyMessage_data();
    void errorBodyMessage();
    void lastQuote_data();
    void lastQuote();
};

void WireDecodingTests::bodies_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("decodes");
    QTest::addColumn<QString>("errorPath"); // empty: the body itself is not JSON we accept

    QTest::newRow("prices minimal") << "prices-minimal.json" << true << "";
    QTest::newRow("prices full") << "prices-full.json" << true << "";
    QTest::newRow("prices optional nulls") << "prices-optional-nulls.json" << true << "";
    QTest::newRow("series keys in any order") << "prices-keys-any-order.json" << true << "";
    QTest::newRow("ticker is a number") << "prices-ticker-number.json" << false << "series[1].ticker";
    QTest::newRow("performance string") << "prices-performance-string.json" << false << "series[0].performance[2]";
    QTest::newRow("performance bool") << "prices-performance-bool.json" << false << "series[1].performance[1]";
    QTest::newRow("date with fraction") << "prices-date-fraction.json" << false << "series[0].dates[1]";
    QTest::newRow("date beyond 2^53") << "prices-date-beyond-2-53.json" << false << "series[0].dates[0]";
    QTest::newRow("dates null") << "prices-dates-null.json" << false << "series[0].dates";
    QTest::newRow("performance short: the tail is absent") << "prices-performance-short.json" << true << "";
    QTest::newRow("adjClose long: the excess is dropped") << "prices-adjclose-long.json" << true << "";
    QTest::newRow("missing range") << "prices-missing-range.json" << false << "range";
    QTest::newRow("range without interval") << "prices-range-missing-interval.json" << false << "range.interval";
    QTest::newRow("rankings null") << "prices-rankings-null.json" << false << "rankings";
    QTest::newRow("cagr string") << "prices-ranking-cagr-string.json" << false << "rankings[1].cagr";
    QTest::newRow("preset return string")
        << "prices-preset-return-string.json" << false << "rankings[0].preset_returns.1M";
    QTest::newRow("series element array") << "prices-series-element-array.json" << false << "series[0]";
    QTest::newRow("skipped number") << "prices-skipped-number.json" << false << "skipped_tickers[1]";
    QTest::newRow("freshness number") << "prices-freshness-number.json" << false
                                      << "data_freshness.latest_live_timestamp";
    QTest::newRow("top-level array") << "prices-top-level-array.json" << false << "";
    QTest::newRow("1e999") << "prices-huge-number.json" << false << "";
    QTest::newRow("truncated") << "prices-truncated.json" << false << "";
    QTest::newRow("invalid UTF-8") << "prices-invalid-utf8.json" << false << "";
    QTest::newRow("5000-deep arrays") << "prices-deep-nesting.json" << false << "";
    QTest::newRow("empty") << "empty.json" << false << "";
    QTest::newRow("whitespace") << "whitespace.json" << false << "";
    QTest::newRow("NUL bytes") << "nul-bytes.json" << false << "";

    QTest::newRow("tickers valid") << "tickers-valid.json" << true << "";
    QTest::newRow("tickers unequal columns") << "tickers-unequal-columns.json" << true << "";
    QTest::newRow("isEtf string") << "tickers-isetf-string.json" << false << "tickers.isEtf[1]";
    QTest::newRow("no companyNames") << "tickers-missing-company-names.json" << false << "tickers.companyNames";
    QTest::newRow("sector number") << "tickers-sector-number.json" << false << "tickers.sectors[0]";
    QTest::newRow("columns as array") << "tickers-columns-array.json" << false << "tickers";
    QTest::newRow("market cap -1e400") << "tickers-market-cap-overflow.json" << false << "";

    QTest::newRow("related valid") << "related-valid.json" << true << "";
    QTest::newRow("related missing reason") << "related-missing-reason.json" << false << "related[1].reason";
    QTest::newRow("related group number") << "related-group-number.json" << false << "related[0].groups[1]";
    QTest::newRow("related missing list") << "related-missing-list.json" << false << "related";
}

void WireDecodingTests::bodies()
{
    QFETCH(QString, file);
    QFETCH(bool, decodes);
    QFETCH(QString, errorPath);

    const QByteArray bytes = body(file);
    std::optional<DecodingError> error;
    if (file.startsWith(u"tickers") || file == u"empty.json") {
        if (auto decoded = decodeTickersEverywhere(bytes); !decoded)
            error = decoded.error();
    }
    if (file.startsWith(u"related") || file == u"empty.json") {
        if (auto decoded = decodeRelatedResponse(bytes); !decoded)
            error = decoded.error();
    }
    if (!file.startsWith(u"tickers") && !file.startsWith(u"related")) {
        if (auto decoded = decodePricesEverywhere(bytes); !decoded)
            error = decoded.error();
    }

    QCOMPARE(!error.has_value(), decodes);
    if (error) {
        QCOMPARE(error->path, errorPath);
        // The text reaches the user as one line of the status area.
        const QString text = error->description();
        QVERIFY2(!text.contains(u'\n') && text.size() < 200, qPrintable(text));
        if (!errorPath.isEmpty())
            QVERIFY2(text.contains(errorPath), qPrintable(text));
    }
}

void WireDecodingTests::pricesKeepNullsAndIgnoreUnknownKeys()
{
    const auto full = decodePricesEverywhere(body(QStringLiteral("prices-full.json")));
    QVERIFY2(full, qPrintable(test::failureText(full)));
    QCOMPARE(full->range.interval, u"1D");
    QCOMPARE(full->series.size(), 2u);
    const TickerSeries& apple = full->series[0];
    QCOMPARE(apple.dates.front(), 1704153600000);
    QCOMPARE(apple.adjClose, std::optional(OptionalValues { 190.5, std::nullopt, 192.25 }));
    QCOMPARE(full->series[1].performance, (OptionalValues { std::nullopt, 0.02, std::nullopt }));
    QVERIFY(!full->series[1].adjClose);

    const TickerRanking& ranking = full->rankings[0];
    QVERIFY(!ranking.cagr);
    QCOMPARE(ranking.periodMaxDrawdown, std::optional(-0.05));
    QCOMPARE(ranking.startDate, std::optional(QStringLiteral("2024-01-02")));
    QVERIFY(ranking.presetReturns);
    const auto tenYears = std::ranges::find(
        *ranking.presetReturns, QStringLiteral("10Y"), &std::pair<QString, std::optional<double>>::first);
    QVERIFY(tenYears != ranking.presetReturns->end() && !tenYears->second);
    TickerRanking bare;
    bare.ticker = QStringLiteral("MSFT");
    QCOMPARE(full->rankings[1], bare);
    QCOMPARE(full->skippedTickers, std::optional(QStringList { QStringLiteral("ZZZZ") }));
    QCOMPARE(full->dataFreshness->latestHistoricalTimestamp, std::optional(QStringLiteral("2024-01-04T21:00:00Z")));
    QVERIFY(!full->dataFreshness->latestLiveTimestamp);
    QCOMPARE(full->dataSource, std::optional(QStringLiteral("imported")));

    const auto minimal = decodePricesEverywhere(body(QStringLiteral("prices-minimal.json")));
    QVERIFY(minimal && !minimal->skippedTickers && !minimal->dataFreshness && !minimal->dataSource);
}

void WireDecodingTests::shortColumnsEndInAbsentValues()
{
    const auto decoded = decodePricesEverywhere(body(QStringLiteral("prices-performance-short.json")));
    QVERIFY(decoded);
    const OptionalValues expected { 0.0, 0.01, std::nullopt };
    QCOMPARE(decoded->series.front().performance, expected);
}

void WireDecodingTests::tickerColumnsBecomeRecords()
{
    const auto valid = decodeTickersEverywhere(body(QStringLiteral("tickers-valid.json")));
    QVERIFY(valid);
    QCOMPARE(valid->dataSource, std::optional(QStringLiteral("simulated")));
    const std::vector<TickerInfo> infos = tickerInfos(*valid);
    const std::vector<TickerInfo> expected {
        { u"AAPL"_qs, u"Apple Inc."_qs, false, false, 3.0e12, u"Technology"_qs, u"Consumer Electronics"_qs,
            u"NASDAQ"_qs },
        // A null name falls back to the symbol; an empty sector is no sector.
        { u"VOO"_qs, u"VOO"_qs, true, false, std::nullopt, std::nullopt, std::nullopt, u"NYSE ARCA"_qs },
        { u"VFIAX"_qs, u"Vanguard 500 Index Admiral"_qs, false, true, std::nullopt, std::nullopt, std::nullopt,
            std::nullopt },
    };
    QCOMPARE(infos, expected);

    // Only the symbol column decides how many records there are.
    const auto ragged = decodeTickersEverywhere(body(QStringLiteral("tickers-unequal-columns.json")));
    QVERIFY(ragged);
    const std::vector<TickerInfo> raggedInfos = tickerInfos(*ragged);
    QCOMPARE(raggedInfos.size(), 4u);
    QCOMPARE(raggedInfos[0].name, u"Agilent");
    QCOMPARE(raggedInfos[0].sector, std::optional(QStringLiteral("Health Care")));
    QCOMPARE(raggedInfos[0].isFund, true);
    QCOMPARE(raggedInfos[3].name, u"D");
    QCOMPARE(raggedInfos[3].isEtf, false);
    QCOMPARE(raggedInfos[3].isFund, false);
    QCOMPARE(raggedInfos[3].marketCap, std::optional(4.0));
    QVERIFY(!raggedInfos[1].sector && !raggedInfos[3].exchange);
}

void WireDecodingTests::errorBodyMessage_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<std::optional<QString>>("message");
    QTest::newRow("error key") << QByteArray(R"({"error":"unknown ticker"})") << std::optional(u"unknown ticker"_qs);
    QTest::newRow("extra string keys") << QByteArray(R"({"code":"E1","error":"bad range"})")
                                       << std::optional(u"bad range"_qs);
    QTest::newRow("a non-string value") << QByteArray(R"({"error":"x","status":404})") << std::optional<QString>();
    QTest::newRow("error is a number") << QByteArray(R"({"error":5})") << std::optional<QString>();
    QTest::newRow("no error key") << QByteArray(R"({"message":"nope"})") << std::optional<QString>();
    QTest::newRow("HTML") << QByteArray("<html><body>Internal Server Error</body></html>") << std::optional<QString>();
    QTest::newRow("array") << QByteArray(R"(["error"])") << std::optional<QString>();
    QTest::newRow("empty") << QByteArray() << std::optional<QString>();
}

void WireDecodingTests::errorBodyMessage()
{
    QFETCH(QByteArray, bytes);
    QFETCH(std::optional<QString>, message);
    QCOMPARE(errorMessage(bytes), message);
}

void WireDecodingTests::lastQuote_data()
{
    QTest::addColumn<std::optional<QString>>("historical");
    QTest::addColumn<std::optional<QString>>("live");
    QTest::addColumn<std::optional<QDateTime>>("expected");
    using Text = std::optional<QString>;
    const auto at = [](const char* iso) { return std::optional(utcInstant(iso)); };
    // now is 2026-03-13T20:00:00Z throughout
    QTest::newRow("live in the future") << Text(u"2026-03-12T20:00:00Z"_qs) << Text(u"2026-03-13T20:00:01Z"_qs)
                                        << at("2026-03-12T20:00:00Z");
    QTest::newRow("equal to now is kept")
        << Text(u"2026-03-12T20:00:00Z"_qs) << Text(u"2026-03-13T20:00:00Z"_qs) << at("2026-03-13T20:00:00Z");
    QTest::newRow("offset form") << Text(u"2026-03-13T15:30:00-04:00"_qs) << Text() << at("2026-03-13T19:30:00Z");
    QTest::newRow("later historical wins")
        << Text(u"2026-03-13T10:00:00Z"_qs) << Text(u"2026-03-13T09:00:00Z"_qs) << at("2026-03-13T10:00:00Z");
    QTest::newRow("no zone is not a date-time")
        << Text(u"2026-03-13T10:00:00"_qs) << Text() << std::optional<QDateTime>();
    QTest::newRow("date only") << Text(u"2026-03-13"_qs) << Text(u"garbage"_qs) << std::optional<QDateTime>();
    QTest::newRow("bad one ignored") << Text(u"2026-02-30T10:00:00Z"_qs) << Text(u"2026-03-13T11:00:00Z"_qs)
                                     << at("2026-03-13T11:00:00Z");
    QTest::newRow("both absent") << Text() << Text() << std::optional<QDateTime>();
}

void WireDecodingTests::lastQuote()
{
    QFETCH(std::optional<QString>, historical);
    QFETCH(std::optional<QString>, live);
    QFETCH(std::optional<QDateTime>, expected);
    const auto quote = tessary::lastQuote(DataFreshness { historical, live }, utcInstant("2026-03-13T20:00:00Z"));
    QCOMPARE(quote.has_value(), expected.has_value());
    if (quote)
        QCOMPARE(quote->toMSecsSinceEpoch(), expected->toMSecsSinceEpoch());
}

QTEST_GUILESS_MAIN(WireDecodingTests)
#include "tst_WireDecoding.moc"
