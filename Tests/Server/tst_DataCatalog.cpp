#include "TessaryServer/Data/Data.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTest>

using namespace tessary;
using namespace tessary::server;

namespace {

QStringList kindsOf(const RelatedResponse& response)
{
    QStringList kinds;
    for (const RelatedTicker& related : response.related)
        if (!kinds.contains(related.kind))
            kinds.push_back(related.kind);
    return kinds;
}

QStringList tickersOf(const RelatedResponse& response)
{
    QStringList tickers;
    for (const RelatedTicker& related : response.related)
        tickers.push_back(related.ticker);
    return tickers;
}

const QStringList kindOrder { QStringLiteral("peer"), QStringLiteral("category_benchmark"),
    QStringLiteral("shared_themes"), QStringLiteral("popular") };

} // namespace

class DataCatalogTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void catalogDocumentIsComplete();
    void everyCatalogSymbolIsInTheDemoUniverse();
    void related_data();
    void related();
    void peersAreSameIndustryLargestFirst();
};

void DataCatalogTests::catalogDocumentIsComplete()
{
    QJsonParseError error;
    const QJsonObject document = QJsonDocument::fromJson(curatedCatalogDocument(), &error).object();
    QCOMPARE(error.error, QJsonParseError::NoError);
    QSet<QString> categories;
    for (const QJsonValue& value : document.value(u"categories").toArray()) {
        const QJsonObject category = value.toObject();
        QVERIFY(!category.value(u"id").toString().isEmpty() && !category.value(u"label").toString().isEmpty());
        QVERIFY(category.value(u"order").isDouble());
        categories.insert(category.value(u"id").toString());
    }
    const QJsonArray collections = document.value(u"collections").toArray();
    QVERIFY(collections.size() >= 35 && collections.size() <= 45);
    QSet<QString> ids;
    QSet<QString> orders;
    for (const QJsonValue& value : collections) {
        const QJsonObject collection = value.toObject();
        const QString id = collection.value(u"id").toString();
        QVERIFY2(!id.isEmpty() && !ids.contains(id), qPrintable(id));
        ids.insert(id);
        QVERIFY2(categories.contains(collection.value(u"category").toString()), qPrintable(id));
        for (const char* key : { "name", "description", "emoji" })
            QVERIFY2(
                !collection.value(QLatin1String(key)).toString().isEmpty(), qPrintable(id + u' ' + QLatin1String(key)));
        const QString order = collection.value(u"category").toString() + u'/'
            + QString::number(collection.value(u"displayOrder").toInt(-1));
        QVERIFY2(!orders.contains(order) && collection.value(u"displayOrder").isDouble(), qPrintable(id));
        orders.insert(order);
        QVERIFY2(!collection.value(u"tickers").toArray().isEmpty(), qPrintable(id));
    }
    QCOMPARE(curatedCollections().size(), std::size_t(collections.size()));
    for (const char* theme : { "benchmarks", "sectors", "themes", "income", "crypto" })
        QVERIFY(categories.contains(QLatin1String(theme)));
}

void DataCatalogTests::everyCatalogSymbolIsInTheDemoUniverse()
{
    QSet<QString> universe;
    for (const TickerInfo& info : demoUniverse())
        universe.insert(info.symbol);
    for (const CuratedCollection& collection : curatedCollections())
        for (const QString& ticker : collection.tickers)
            QVERIFY2(universe.contains(ticker), qPrintable(collection.id + QStringLiteral(": ") + ticker));
}

void DataCatalogTests::related_data()
{
    QTest::addColumn<QStringList>("symbols");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QStringList>("kinds");
    QTest::addColumn<QStringList>("included");
    QTest::addColumn<QStringList>("excluded");
    const QStringList all = kindOrder;
    QTest::newRow("one stock gets every kind")
        << QStringList { QStringLiteral("AAPL") } << 15 << all
        << QStringList { QStringLiteral("XLK"), QStringLiteral("SPY"), QStringLiteral("DELL") } << QStringList {};
    QTest::newRow("lower case input is the same symbol")
        << QStringList { QStringLiteral("aapl") } << 15 << all << QStringList { QStringLiteral("XLK") }
        << QStringList { QStringLiteral("AAPL") };
    QTest::newRow("never suggests an input")
        << QStringList { QStringLiteral("NVDA"), QStringLiteral("AMD"), QStringLiteral("XLK"), QStringLiteral("SPY") }
        << 40 << QStringList { QStringLiteral("peer"), QStringLiteral("shared_themes") }
        << QStringList { QStringLiteral("AVGO"), QStringLiteral("MSFT") }
        << QStringList { QStringLiteral("NVDA"), QStringLiteral("AMD"), QStringLiteral("XLK"), QStringLiteral("SPY") };
    QTest::newRow("a short list still mixes the kinds")
        << QStringList { QStringLiteral("JPM") } << 3
        << QStringList { QStringLiteral("peer"), QStringLiteral("category_benchmark"), QStringLiteral("shared_themes") }
        << QStringList { QStringLiteral("XLF") } << QStringList {};
    QTest::newRow("unknown symbols get the broad market")
        << QStringList { QStringLiteral("ZZZZ") } << 15 << QStringList { QStringLiteral("popular") }
        << QStringList { QStringLiteral("SPY"), QStringLiteral("QQQ") } << QStringList {};
    QTest::newRow("no symbols") << QStringList {} << 15 << QStringList { QStringLiteral("popular") }
                                << QStringList { QStringLiteral("SPY") } << QStringList {};
    QTest::newRow("a fund has themes but no peers")
        << QStringList { QStringLiteral("IBIT") } << 30
        << QStringList { QStringLiteral("shared_themes"), QStringLiteral("popular") }
        << QStringList { QStringLiteral("FBTC"), QStringLiteral("COIN") } << QStringList {};
    QTest::newRow("limit zero") << QStringList { QStringLiteral("AAPL") } << 0 << QStringList {} << QStringList {}
                                << QStringList {};
}

void DataCatalogTests::related()
{
    QFETCH(QStringList, symbols);
    QFETCH(int, limit);
    QFETCH(QStringList, kinds);
    QFETCH(QStringList, included);
    QFETCH(QStringList, excluded);
    const RelatedResponse response = relatedTickers(demoUniverse(), curatedCollections(), symbols, limit);
    QVERIFY(std::ssize(response.related) <= limit);
    QCOMPARE(kindsOf(response), kinds);
    const QStringList tickers = tickersOf(response);
    QCOMPARE(QSet<QString>(tickers.begin(), tickers.end()).size(), tickers.size());
    for (const QString& ticker : included)
        QVERIFY2(tickers.contains(ticker), qPrintable(ticker + QStringLiteral(" missing from ") + tickers.join(u',')));
    for (const QString& ticker : excluded)
        QVERIFY2(!tickers.contains(ticker), qPrintable(ticker));
    for (const RelatedTicker& related : response.related) {
        QVERIFY(!related.reason.isEmpty() && related.name && !related.name->isEmpty());
        if (related.kind == u"shared_themes")
            QVERIFY(related.sharedThemes && !related.sharedThemes->isEmpty());
    }
    QCOMPARE(response.label.has_value(), !symbols.isEmpty());
}

void DataCatalogTests::peersAreSameIndustryLargestFirst()
{
    const RelatedResponse response
        = relatedTickers(demoUniverse(), curatedCollections(), { QStringLiteral("KO"), QStringLiteral("XOM") }, 40);
    QStringList peers;
    for (const RelatedTicker& related : response.related) {
        if (related.kind != u"peer")
            continue;
        peers.push_back(related.ticker);
        QVERIFY(related.subcategory == QStringLiteral("Soft Drinks & Non-alcoholic Beverages")
            || related.subcategory == QStringLiteral("Integrated Oil & Gas"));
    }
    // Turns alternate between the inputs: KO's largest peer, then XOM's.
    QCOMPARE(peers.mid(0, 2), (QStringList { QStringLiteral("PEP"), QStringLiteral("CVX") }));
    QVERIFY(peers.contains(QStringLiteral("MNST")) && peers.contains(QStringLiteral("KDP")));
    QCOMPARE(response.label, QStringLiteral("Related to KO, XOM"));
}

QTEST_GUILESS_MAIN(DataCatalogTests)
#include "tst_DataCatalog.moc"
