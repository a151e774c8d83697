#include "Support/FixtureServer.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Input/Input.h"

#include <QTemporaryDir>
#include <QTest>

#include "Support/TempStore.h"
#include <QToolButton>
#include <QVBoxLayout>

using namespace tessary;
using tessary::test::FixtureServer;
using tessary::test::ScriptedReply;

namespace {

const QString relatedPath = QStringLiteral("/tickergraph/related");

RelatedTicker related(const char* ticker, const char* name = nullptr, const char* kind = "peer")
{
    RelatedTicker entry;
    entry.ticker = QString::fromUtf8(ticker);
    if (name)
        entry.name = QString::fromUtf8(name);
    entry.kind = QString::fromUtf8(kind);
    entry.reason = QStringLiteral("Because");
    return entry;
}

// A body of the related endpoint offering `tickers`, in that order.
QByteArray answerOffering(const QStringList& tickers)
{
    QStringList entries;
    for (const QString& ticker : tickers)
        entries.append(
            QStringLiteral(R"({"ticker":"%1","name":"%1 Corp","kind":"peer","reason":"Same industry"})").arg(ticker));
    return QStringLiteral(R"({"label":"Related","related":[%1]})").arg(entries.join(u',')).toUtf8();
}

QStringList symbolsOf(const std::vector<RelatedTicker>& entries)
{
    QStringList symbols;
    for (const RelatedTicker& entry : entries)
        symbols.append(entry.ticker);
    return symbols;
}

} // namespace

class RelatedTickersTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void cacheKey_data();
    void cacheKey();
    void shown_data();
    void shown();
    void reorderedTickersAreAnsweredFromTheCache();
    void emptyAnswerIsAskedAgain();
    void staleRequestIsCancelled();
    void pillsAddAndFold();

private:
    void makeBar();
    int relatedRequests() const;

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FixtureServer> m_server;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<QWidget> m_window;
    RelatedTickersBar* m_bar = nullptr;
};

void RelatedTickersTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_server = std::make_unique<FixtureServer>();
    m_store = test::openStore(*m_dir);
    m_store->connectService(m_server->baseUrl(), m_server->baseUrl(), false);
}

void RelatedTickersTests::cleanup()
{
    m_window.reset();
    m_store.reset();
    m_server.reset();
    m_dir.reset();
}

void RelatedTickersTests::makeBar()
{
    m_window = std::make_unique<QWidget>();
    auto* layout = new QVBoxLayout(m_window.get());
    m_bar = new RelatedTickersBar(*m_store, m_window.get());
    layout->addWidget(m_bar);
    m_window->show();
}

int RelatedTickersTests::relatedRequests() const
{
    return static_cast<int>(std::ranges::count(m_server->requests(), relatedPath, &test::RecordedRequest::path));
}

void RelatedTickersTests::cacheKey_data()
{
    QTest::addColumn<QStringList>("first");
    QTest::addColumn<QStringList>("second");
    QTest::addColumn<bool>("same");

    QTest::newRow("order does not matter") << QStringList { "MSFT", "AAPL" } << QStringList { "AAPL", "MSFT" } << true;
    QTest::newRow("a different set differs") << QStringList { "AAPL" } << QStringList { "AAPL", "MSFT" } << false;
    QTest::newRow("joined pieces cannot collide") << QStringList { "A,B" } << QStringList { "A", "C" } << false;
}

void RelatedTickersTests::cacheKey()
{
    QFETCH(QStringList, first);
    QFETCH(QStringList, second);
    QFETCH(bool, same);
    QCOMPARE(RelatedTickers::key(first) == RelatedTickers::key(second), same);
    QCOMPARE(RelatedTickers::key({ "MSFT", "AAPL" }), QStringLiteral("AAPL,MSFT"));
}

void RelatedTickersTests::shown_data()
{
    QTest::addColumn<QStringList>("universe");
    QTest::addColumn<QStringList>("symbols");
    QTest::addColumn<QStringList>("names");

    // Offered: MSFT (in the list), SPY (the benchmark), QQQ, NEW (unknown to the universe), XLK.
    QTest::newRow("universe not loaded: service names")
        << QStringList {} << QStringList { "QQQ", "NEW", "XLK" } << QStringList { "Nasdaq", "", "Tech sector" };
    QTest::newRow("universe loaded: its names, unknown dropped") << QStringList { "QQQ", "XLK", "SPY",
        "MSFT" } << QStringList { "QQQ", "XLK" } << QStringList { "QQQ Inc.", "XLK Inc." };
}

void RelatedTickersTests::shown()
{
    QFETCH(QStringList, universe);
    QFETCH(QStringList, symbols);
    QFETCH(QStringList, names);
    RelatedResponse response;
    response.related = { related("MSFT", "Microsoft"), related("SPY", "S&P 500"), related("QQQ", "Nasdaq"),
        related("NEW"), related("XLK", "Tech sector") };
    std::vector<TickerInfo> infos;
    for (const QString& symbol : universe)
        infos.push_back(TickerInfo { symbol, symbol + QStringLiteral(" Inc."), false, false, {}, {}, {}, {} });

    const auto shownEntries = shownRelated(response, { "AAPL", "MSFT" }, QStringLiteral("SPY"), TickerUniverse(infos));
    QCOMPARE(symbolsOf(shownEntries), symbols);
    QStringList shownNames;
    for (const RelatedTicker& entry : shownEntries)
        shownNames.append(entry.name.value_or(QString()));
    QCOMPARE(shownNames, names);
}

void RelatedTickersTests::reorderedTickersAreAnsweredFromTheCache()
{
    m_server->script(relatedPath, ScriptedReply::json(answerOffering({ "QQQ", "XLK" })));
    m_store->select(SidebarItem::list(m_store->create(QStringLiteral("One"), { "AAPL", "MSFT" })));
    makeBar();
    QTRY_COMPARE(symbolsOf(m_bar->shown()), (QStringList { "QQQ", "XLK" }));
    QCOMPARE(relatedRequests(), 1);
    QVERIFY(m_server->requests().last().query.contains("tickers=AAPL,MSFT"));
    QVERIFY(m_server->requests().last().query.contains("limit=15"));

    // The same tickers in another order: another edit key, the same cache entry.
    m_store->select(SidebarItem::list(m_store->create(QStringLiteral("Two"), { "MSFT", "AAPL" })));
    QCOMPARE(symbolsOf(m_bar->shown()), (QStringList { "QQQ", "XLK" }));

    // An addition asks again, and is the only request since the first.
    m_store->addTickers({ "NVDA" });
    QTRY_VERIFY(relatedRequests() >= 2 && m_server->idle());
    QCOMPARE(relatedRequests(), 2);
    QVERIFY(m_server->requests().last().query.contains("NVDA"));
}

void RelatedTickersTests::emptyAnswerIsAskedAgain()
{
    m_server->script(relatedPath, ScriptedReply::json(answerOffering({})));
    const QUuid one = m_store->create(QStringLiteral("One"), { "AAPL" });
    const QUuid two = m_store->create(QStringLiteral("Two"), { "MSFT" });
    m_store->select(SidebarItem::list(one));
    makeBar();
    QTRY_COMPARE(relatedRequests(), 1);
    QVERIFY(m_bar->isHidden());

    m_store->select(SidebarItem::list(two));
    QTRY_COMPARE(relatedRequests(), 2);
    m_server->script(relatedPath, ScriptedReply::json(answerOffering({ "QQQ" })));
    m_store->select(SidebarItem::list(one));
    QTRY_COMPARE(relatedRequests(), 3);
    QTRY_COMPARE(symbolsOf(m_bar->shown()), QStringList { "QQQ" });
    QVERIFY(!m_bar->isHidden());

    // Now it is kept: going back and forth asks only about the set still unanswered.
    m_store->select(SidebarItem::list(two));
    QTRY_COMPARE(relatedRequests(), 4);
    m_store->select(SidebarItem::list(one));
    m_store->addTickers({ "NVDA" });
    QTRY_VERIFY(relatedRequests() >= 5 && m_server->idle());
    QCOMPARE(relatedRequests(), 5);
    QVERIFY(m_server->requests().last().query.contains("NVDA"));
}

void RelatedTickersTests::staleRequestIsCancelled()
{
    ScriptedReply slow = ScriptedReply::json(answerOffering({ "OLD" }));
    slow.delay = std::chrono::milliseconds(400);
    m_server->script(relatedPath, slow);
    m_store->select(SidebarItem::list(m_store->create(QStringLiteral("One"), { "AAPL" })));
    makeBar();
    QTRY_COMPARE(relatedRequests(), 1);

    m_server->script(relatedPath, ScriptedReply::json(answerOffering({ "NEW" })));
    m_store->addTickers({ "MSFT" });
    QTRY_COMPARE(symbolsOf(m_bar->shown()), QStringList { "NEW" });
    // The slow answer's time has come and gone.
    QTRY_VERIFY(m_server->idle());
    QCOMPARE(symbolsOf(m_bar->shown()), QStringList { "NEW" });
    QVERIFY(!m_store->relatedTickers().cached({ "AAPL" }));
}

void RelatedTickersTests::pillsAddAndFold()
{
    const QStringList offered { "A1", "A2", "A3", "A4", "A5", "A6", "A7", "A8" };
    m_server->script(relatedPath, ScriptedReply::json(answerOffering(offered)));
    m_store->select(SidebarItem::list(m_store->create(QStringLiteral("One"), { "AAPL" })));
    makeBar();
    QTRY_COMPARE(static_cast<int>(m_bar->shown().size()), 8);

    QCOMPARE(m_bar->pills().size(), RelatedTickersBar::collapsedCount + 1);
    QCOMPARE(m_bar->pills().last()->text(), QStringLiteral("2 more"));
    QCOMPARE(m_bar->pills().first()->accessibleName(), QStringLiteral("Add A1"));
    QVERIFY(m_bar->pills().first()->toolTip().contains(QStringLiteral("Same industry")));
    m_bar->pills().last()->click();
    QVERIFY(m_bar->isExpanded());
    QCOMPARE(m_bar->pills().size(), 9);
    QCOMPARE(m_bar->pills().last()->text(), QStringLiteral("Show fewer"));

    // One click adds the ticker; it leaves the bar at once (the new set is asked about too).
    m_bar->pills().at(2)->click();
    QCOMPARE(m_store->selectedList()->tickers, (QStringList { "AAPL", "A3" }));
    QCOMPARE(symbolsOf(m_bar->shown()), (QStringList { "A1", "A2", "A4", "A5", "A6", "A7", "A8" }));
    QTRY_COMPARE(relatedRequests(), 2);

    m_bar->pills().last()->click();
    QVERIFY(!m_bar->isExpanded());
    QCOMPARE(m_bar->pills().last()->text(), QStringLiteral("1 more"));
}

QTEST_MAIN(RelatedTickersTests)
#include "tst_RelatedTickers.moc"
