#include "Tessary/Account/SettingsDocument.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace tessary;

namespace {

SettingsDocument documentOf(const QByteArray& json)
{
    return SettingsDocument(QJsonDocument::fromJson(json).object());
}

const QByteArray webDocument = R"({"comparisonSets":[
  {"id":"abc123","name":"Web list","selectedTickers":["aapl","MSFT","aapl"],"benchmark":"qqq","preset":"5Y",
   "chartView":"scatter","createdAt":"2025-01-02T03:04:05.000Z","lastModifiedAt":1736000000000},
  {"id":"set_mac_6f1c2b8e-3d4a-4e5f-9a0b-1c2d3e4f5a6b","selectedTickers":[],"preset":"1Y",
   "importantPeriod":"covid-crash","start":"2020-02-19","end":"2020-03-23"}],
  "activeSetId":"abc123","updatedAt":1736000000000,"theme":"dark"})";

} // namespace

class SettingsDocumentTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void etagVersion_data();
    void etagVersion();
    void readsTheWebFrontEndsSets();
    void editsChangeOnlyTheirFields();
    void setsMadeHereCarryTheDefaults();
};

void SettingsDocumentTests::etagVersion_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<std::optional<QString>>("version");
    QTest::newRow("weak") << QByteArray(R"(W/"abc")") << std::optional<QString>(QStringLiteral("abc"));
    QTest::newRow("strong") << QByteArray(R"("abc")") << std::optional<QString>(QStringLiteral("abc"));
    QTest::newRow("bare") << QByteArray("17") << std::optional<QString>(QStringLiteral("17"));
    QTest::newRow("absent") << QByteArray() << std::optional<QString>();
}

void SettingsDocumentTests::etagVersion()
{
    QFETCH(QByteArray, header);
    QFETCH(std::optional<QString>, version);
    QCOMPARE(versionFromETag(header), version);
}

void SettingsDocumentTests::readsTheWebFrontEndsSets()
{
    SettingsDocument document = documentOf(webDocument);
    const std::vector<ComparisonList> lists = document.lists();
    QCOMPARE(lists.size(), 2u);
    const ComparisonList& web = lists[0];
    QCOMPARE(web.name, QStringLiteral("Web list"));
    QCOMPARE(web.tickers, (QStringList { "AAPL", "MSFT" }));
    QCOMPARE(web.benchmark, QStringLiteral("QQQ"));
    QCOMPARE(web.preset, Timeframe::fiveYear);
    QCOMPARE(web.createdAt, 1735787045000.0);
    QCOMPARE(web.lastAccessedAt, 1736000000000.0); // falls back to the last change
    // A set id that is no UUID keeps one local id, run after run.
    QCOMPARE(web.id, SettingsDocument::localId(QStringLiteral("abc123")));
    QVERIFY(web.id != SettingsDocument::localId(QStringLiteral("abc124")));
    QCOMPARE(document.remoteId(web.id), QStringLiteral("abc123"));

    const ComparisonList& mine = lists[1];
    QCOMPARE(mine.id, QUuid(QStringLiteral("6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B")));
    QCOMPARE(mine.name, QStringLiteral("Untitled List"));
    QCOMPARE(mine.period().label(), QStringLiteral("COVID Crash"));
}

void SettingsDocumentTests::editsChangeOnlyTheirFields()
{
    SettingsDocument document = documentOf(webDocument);
    ComparisonList list = document.lists()[0];
    list.name = QStringLiteral("Renamed");
    list.tickers.append(QStringLiteral("NVDA"));
    list.lastModifiedAt = 42;
    document.apply(ListEdit { ListEdit::Kind::rename, list }, 1000);
    const QJsonObject set = document.object().value("comparisonSets").toArray().at(0).toObject();
    QCOMPARE(set.value("name").toString(), QStringLiteral("Renamed"));
    QCOMPARE(set.value("selectedTickers").toArray().size(), 3); // a rename is not a ticker change
    QCOMPARE(set.value("lastModifiedAt").toDouble(), 42.0);
    QCOMPARE(set.value("chartView").toString(), QStringLiteral("scatter"));
    QCOMPARE(document.object().value("theme").toString(), QStringLiteral("dark"));
    QCOMPARE(document.object().value("updatedAt").toDouble(), 1000.0);

    document.apply(ListEdit { ListEdit::Kind::remove, list }, 2000);
    QCOMPARE(document.lists().size(), 1u);
    QVERIFY(document.object().value("activeSetId").isNull());
    // An edit of a set that is gone changes nothing and adds nothing.
    document.apply(ListEdit { ListEdit::Kind::setTickers, list }, 3000);
    QCOMPARE(document.lists().size(), 1u);
}

void SettingsDocumentTests::setsMadeHereCarryTheDefaults()
{
    SettingsDocument document = documentOf("{}");
    auto list = ComparisonList::create(
        QStringLiteral("Mine"), { QStringLiteral("AAPL") }, QStringLiteral("SPY"), Timeframe::threeYear);
    document.apply(ListEdit { ListEdit::Kind::create, list }, 1000);
    document.apply(ListEdit { ListEdit::Kind::create, list }, 1000); // sent twice, added once
    const QJsonArray sets = document.object().value("comparisonSets").toArray();
    QCOMPARE(sets.size(), 1);
    const QJsonObject set = sets.at(0).toObject();
    QCOMPARE(set.value("id").toString(), QStringLiteral("set_mac_") + list.id.toString(QUuid::WithoutBraces).toLower());
    QCOMPARE(set.value("preset").toString(), QStringLiteral("3Y"));
    QCOMPARE(set.value("topPerformersLimit").toInt(), 25);
    QCOMPARE(set.value("selectedMetrics").toArray().size(), 12);
    QCOMPARE(document.object().value("activeSetId"), set.value("id"));
    QCOMPARE(document.lists().front(), list);
}

QTEST_GUILESS_MAIN(SettingsDocumentTests)
#include "tst_SettingsDocument.moc"
