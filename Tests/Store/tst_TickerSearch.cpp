#include "Tessary/Store/TickerUniverse.h"

#include <QTest>

using namespace tessary;

namespace {

TickerInfo info(const char* symbol, const char* name)
{
    return TickerInfo { QString::fromUtf8(symbol), QString::fromUtf8(name), false, false, {}, {}, {}, {} };
}

TickerUniverse sampleUniverse()
{
    return TickerUniverse({
        info("AAPL", "Apple Inc."),
        info("A", "Agilent Technologies"),
        info("AA", "Alcoa"),
        info("AB", "AllianceBernstein"),
        info("ABBV", "AbbVie"),
        info("APLE", "Apple Hospitality REIT"),
        info("APPLE", "Not a real listing"),
        info("PINE", "Pineapple Holdings"),
        info("MAPL", "Maple Leaf Apple Orchards"),
        info("brk.b", "Berkshire Hathaway"),
        info("GOOGL", "Alphabet Class A"),
        info("GOOG", "Alphabet Class C"),
        info("NVDA", "NVIDIA"),
        info("NVD", "GraniteShares 2x Short NVDA"),
        info("ZZ", "Apple\nSplit"),
        info("ÉCO", "Économie Fund"),
    });
}

} // namespace

class TickerSearchTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ordering_data();
    void ordering();
    void realUniverse();
};

void TickerSearchTests::ordering_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("excluding");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QStringList>("symbols");

    QTest::newRow("exact, then short prefixes, then longer")
        << "a" << QStringList {} << 8 << QStringList { "A", "AA", "AB", "AAPL", "ABBV", "APLE", "APPLE" };
    QTest::newRow("two letters never match names")
        << "ap" << QStringList {} << 8 << QStringList { "APLE", "APPLE", "AAPL" }.mid(0, 2);
    QTest::newRow("names alphabetically by symbol after prefixes")
        << " apple " << QStringList {} << 8 << QStringList { "APPLE", "AAPL", "APLE", "MAPL", "PINE", "ZZ" };
    QTest::newRow("limit cuts the name bucket")
        << "apple" << QStringList {} << 3 << QStringList { "APPLE", "AAPL", "APLE" };
    QTest::newRow("exclusions apply to every bucket")
        << "apple" << QStringList { "APPLE", "AAPL" } << 8 << QStringList { "APLE", "MAPL", "PINE", "ZZ" };
    QTest::newRow("symbol with a dot") << "BRK" << QStringList {} << 8 << QStringList { "BRK.B" };
    QTest::newRow("equal length prefixes alphabetical")
        << "goo" << QStringList {} << 8 << QStringList { "GOOG", "GOOGL" };
    QTest::newRow("a name match that is also a prefix counts once")
        << "nvd" << QStringList {} << 8 << QStringList { "NVD", "NVDA" };
    QTest::newRow("non-ASCII names") << "écon" << QStringList {} << 8 << QStringList { "ÉCO" };
    QTest::newRow("matches never span two names") << "alcoa\napple" << QStringList {} << 8 << QStringList {};
    QTest::newRow("blank query") << "   " << QStringList {} << 8 << QStringList {};
    QTest::newRow("zero limit") << "a" << QStringList {} << 0 << QStringList {};
}

void TickerSearchTests::ordering()
{
    QFETCH(QString, query);
    QFETCH(QStringList, excluding);
    QFETCH(int, limit);
    QFETCH(QStringList, symbols);

    QStringList found;
    for (const TickerInfo& suggestion :
        sampleUniverse().suggestions(query, QSet<QString>(excluding.begin(), excluding.end()), limit))
        found.append(suggestion.symbol);
    QCOMPARE(found, symbols);
}

void TickerSearchTests::realUniverse()
{
    const TickerUniverse universe = sampleUniverse();
    QCOMPARE(universe.size(), 16);
    QVERIFY(universe.find(u"BRK.B"));
    QVERIFY(!universe.find(u"brk.b"));
    // A repeated symbol keeps its first record.
    const TickerUniverse repeated({ info("SPY", "First"), info("spy", "Second") });
    QCOMPARE(repeated.size(), 1);
    QCOMPARE(repeated.find(u"SPY")->name, QStringLiteral("First"));
}

QTEST_GUILESS_MAIN(TickerSearchTests)
#include "tst_TickerSearch.moc"
