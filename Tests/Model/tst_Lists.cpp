#include "Tessary/Model/Model.h"

#include <QJsonDocument>
#include <QTest>

using namespace tessary;

namespace {

const QString sampleId = QStringLiteral("6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B");

QJsonObject object(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

} // namespace

class ListTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decodesWithDefaults_data();
    void decodesWithDefaults();
    void rejectsBrokenRecords_data();
    void rejectsBrokenRecords();
    void encodesInFieldOrderWithoutAbsentRange();
    void roundTripsThroughAFile();
    void catalog_data();
    void catalog();
};

void ListTests::decodesWithDefaults_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("benchmark");
    QTest::addColumn<QString>("preset");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QList<double>>("timestamps");

    const QByteArray head = "{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"name\":\"Tech\",\"tickers\":[\"AAPL\",\"MSFT\"]";
    QTest::newRow("only the required keys") << head + "}" << "SPY" << "1Y" << "1Y" << QList<double>{0, 0, 0};
    QTest::newRow("lower-case preset") << head + ",\"preset\":\"ytd\"}" << "SPY" << "YTD" << "YTD" << QList<double>{0, 0, 0};
    QTest::newRow("preset that does not exist") << head + ",\"preset\":\"6Y\"}" << "SPY" << "1Y" << "1Y" << QList<double>{0, 0, 0};
    QTest::newRow("nulls mean absent")
        << head + ",\"benchmark\":null,\"preset\":null,\"scenario\":null,\"rangeStart\":null,\"createdAt\":null}" << "SPY"
        << "1Y" << "1Y" << QList<double>{0, 0, 0};
    QTest::newRow("only createdAt cascades")
        << head + ",\"createdAt\":1700000000123.5}" << "SPY" << "1Y" << "1Y"
        << QList<double>{1700000000123.5, 1700000000123.5, 1700000000123.5};
    QTest::newRow("accessed falls back to modified")
        << head + ",\"createdAt\":1,\"lastModifiedAt\":2}" << "SPY" << "1Y" << "1Y" << QList<double>{1, 2, 2};
    QTest::newRow("unknown keys ignored")
        << head + ",\"benchmark\":\"QQQ\",\"colour\":\"red\",\"pinned\":[1,2],\"lastAccessedAt\":9}" << "QQQ" << "1Y"
        << "1Y" << QList<double>{0, 0, 9};
    QTest::newRow("scenario still in the table")
        << head + ",\"scenario\":\"covid-crash\",\"rangeStart\":\"2020-02-19\",\"rangeEnd\":\"2020-03-23\"}" << "SPY" << "1Y"
        << "COVID Crash" << QList<double>{0, 0, 0};
    QTest::newRow("scenario that left the table")
        << head + ",\"scenario\":\"gone\",\"rangeStart\":\"2020-02-19\"}" << "SPY" << "1Y" << "Scenario"
        << QList<double>{0, 0, 0};
    QTest::newRow("lower-case uuid")
        << QByteArray("{\"id\":\"6f1c2b8e-3d4a-4e5f-9a0b-1c2d3e4f5a6b\",\"name\":\"Tech\",\"tickers\":[]}") << "SPY" << "1Y"
        << "1Y" << QList<double>{0, 0, 0};
}

void ListTests::decodesWithDefaults()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, benchmark);
    QFETCH(QString, preset);
    QFETCH(QString, label);
    QFETCH(QList<double>, timestamps);

    const auto list = ComparisonList::fromJson(object(json));
    QVERIFY2(list, list ? "" : qPrintable(list.error().description()));
    QCOMPARE(uuidText(list->id), sampleId);
    QCOMPARE(list->benchmark, benchmark);
    QCOMPARE(Timeframes::rawValue(list->preset), preset);
    QCOMPARE(list->period().label(), label);
    QCOMPARE((QList<double>{list->createdAt, list->lastModifiedAt, list->lastAccessedAt}), timestamps);
}

void ListTests::rejectsBrokenRecords_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("path");

    QTest::newRow("missing id") << QByteArray("{\"name\":\"A\",\"tickers\":[]}") << "id";
    QTest::newRow("missing name") << QByteArray("{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"tickers\":[]}") << "name";
    QTest::newRow("missing tickers") << QByteArray("{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"name\":\"A\"}") << "tickers";
    QTest::newRow("id is not a uuid") << QByteArray("{\"id\":\"list-1\",\"name\":\"A\",\"tickers\":[]}") << "id";
    QTest::newRow("id in braces") << QByteArray("{\"id\":\"{6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B}\",\"name\":\"A\",\"tickers\":[]}") << "id";
    QTest::newRow("id is a number") << QByteArray("{\"id\":42,\"name\":\"A\",\"tickers\":[]}") << "id";
    QTest::newRow("name is null") << QByteArray("{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"name\":null,\"tickers\":[]}") << "name";
    QTest::newRow("ticker is a number")
        << QByteArray("{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"name\":\"A\",\"tickers\":[\"AAPL\",7]}") << "tickers";
    QTest::newRow("benchmark of the wrong type")
        << QByteArray("{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"name\":\"A\",\"tickers\":[],\"benchmark\":true}") << "benchmark";
    QTest::newRow("timestamp as text")
        << QByteArray("{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"name\":\"A\",\"tickers\":[],\"createdAt\":\"yesterday\"}") << "createdAt";
}

void ListTests::rejectsBrokenRecords()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, path);
    const auto list = ComparisonList::fromJson(object(json), QStringLiteral("lists[2]"));
    QVERIFY(!list);
    QCOMPARE(list.error().path, QStringLiteral("lists[2].") + path);
    QVERIFY(list.error().description().contains(path));
}

void ListTests::encodesInFieldOrderWithoutAbsentRange()
{
    auto list = ComparisonList::create(QStringLiteral("Chips \"&\" more"), {QStringLiteral("NVDA"), QStringLiteral("AMD")},
                                       QStringLiteral("SOXX"), Timeframe::threeYear, parseUuid(sampleId), 1700000000000.25);
    list.lastAccessedAt = 1700000000999;
    QCOMPARE(list.toJson(),
             QByteArray("{\"id\":\"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B\",\"name\":\"Chips \\\"&\\\" more\",\"tickers\":[\"NVDA\",\"AMD\"],"
                        "\"benchmark\":\"SOXX\",\"preset\":\"3Y\",\"createdAt\":1700000000000.25,"
                        "\"lastModifiedAt\":1700000000000.25,\"lastAccessedAt\":1700000000999}"));

    list.setPeriod(ListPeriod::forRange(QStringLiteral("2001-01-01"), std::nullopt, Timeframe::threeYear));
    const QByteArray withRange = list.toJson();
    QVERIFY(withRange.contains("\"preset\":\"3Y\",\"rangeStart\":\"2001-01-01\",\"createdAt\""));
    QVERIFY(!withRange.contains("rangeEnd"));
    QVERIFY(!withRange.contains("scenario"));
}

void ListTests::roundTripsThroughAFile()
{
    std::vector<ComparisonList> lists;
    lists.push_back(ComparisonList::create(QStringLiteral("Starter"), starterTickers()));
    auto crisis = ComparisonList::create(QStringLiteral("Banks in 2008 — ünïcode"), {QStringLiteral("JPM"), QStringLiteral("BRK.B")});
    crisis.setPeriod(ListPeriod::forScenario(*Scenario::find(u"financial-crisis"), Timeframe::tenYear));
    lists.push_back(crisis);

    const auto array = QJsonDocument::fromJson(ComparisonList::listToJson(lists)).array();
    const auto decoded = ComparisonList::listFromJson(array);
    QVERIFY(decoded);
    QVERIFY(*decoded == lists);
    QCOMPARE(qHash((*decoded)[1]), qHash(lists[1]));
    QVERIFY(lists[0] != lists[1]);

    // One bad record names its place in the file.
    QJsonArray broken = array;
    broken.insert(1, QJsonValue(QStringLiteral("not a list")));
    QCOMPARE(ComparisonList::listFromJson(broken).error().path, QStringLiteral("[1]"));
}

void ListTests::catalog_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("errorPath");
    QTest::addColumn<int>("collections");

    QTest::newRow("extra top-level key")
        << QByteArray("{\"version\":3,\"categories\":[{\"id\":\"tech\",\"label\":\"Tech\",\"order\":1}],"
                      "\"collections\":[{\"id\":\"ai\",\"name\":\"AI\",\"tickers\":[\"NVDA\"],\"category\":\"tech\",\"emoji\":\"🤖\",\"displayOrder\":2}]}")
        << "" << 1;
    QTest::newRow("optional keys null")
        << QByteArray("{\"categories\":[{\"id\":\"tech\",\"label\":\"Tech\",\"order\":null}],"
                      "\"collections\":[{\"id\":\"ai\",\"name\":\"AI\",\"tickers\":[],\"description\":null}]}")
        << "" << 1;
    QTest::newRow("no collections") << QByteArray("{\"categories\":[]}") << "collections" << 0;
    QTest::newRow("collection without tickers")
        << QByteArray("{\"categories\":[],\"collections\":[{\"id\":\"a\",\"name\":\"A\",\"tickers\":[]},{\"id\":\"b\",\"name\":\"B\"}]}")
        << "collections[1].tickers" << 0;
    QTest::newRow("fractional order")
        << QByteArray("{\"categories\":[{\"id\":\"x\",\"label\":\"X\",\"order\":1.5}],\"collections\":[]}") << "categories[0].order" << 0;
    QTest::newRow("top level is an array") << QByteArray("[]") << "" << -1;
}

void ListTests::catalog()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, errorPath);
    QFETCH(int, collections);

    const auto catalog = FeaturedCatalog::fromJson(json);
    if (collections < 0) {
        QVERIFY(!catalog);
        return;
    }
    QCOMPARE(bool(catalog), errorPath.isEmpty());
    if (!catalog) {
        QCOMPARE(catalog.error().path, errorPath);
        return;
    }
    QCOMPARE(int(catalog->collections.size()), collections);
    QVERIFY(catalog->collection(u"ai"));
    QVERIFY(!catalog->collection(u"AI"));
    QVERIFY(FeaturedCatalog::empty().collections.empty());
}

QTEST_GUILESS_MAIN(ListTests)
#include "tst_Lists.moc"
