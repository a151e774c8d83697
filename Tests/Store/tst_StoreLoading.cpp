#include "Support/FixtureServer.h"
#include "Support/TempStore.h"
#include "Tessary/Store/Store.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

using namespace tessary;
using namespace std::chrono_literals;
using test::FixtureServer;
using test::ScriptedReply;

namespace {

// A two-ticker answer whose AAPL return says which reply it was.
QByteArray pricesAnswer(double aaplReturn)
{
    return QStringLiteral(R"({"range":{"actual_start":"2024-01-02","actual_end":"2024-01-04","interval":"1D"},
"series":[{"ticker":"AAPL","dates":[1704153600000,1704240000000,1704326400000],"performance":[0,0.01,%1]},
          {"ticker":"SPY","dates":[1704153600000,1704240000000,1704326400000],"performance":[0,0.005,0.01]}],
"rankings":[{"ticker":"AAPL","net_return":%1},{"ticker":"SPY","net_return":0.01}],"data_source":"simulated"})")
        .arg(aaplReturn)
        .toUtf8();
}

const QByteArray pricesBody = pricesAnswer(0.02);

std::optional<double> aaplReturn(const Store& store)
{
    const auto& comparison = store.comparison();
    if (!comparison)
        return std::nullopt;
    const auto row = std::ranges::find(comparison->rows, QStringLiteral("AAPL"), &RankRow::ticker);
    return row == comparison->rows.end() ? std::nullopt : row->netReturn;
}

int pricesRequests(const FixtureServer& server)
{
    int count = 0;
    for (const auto& request : server.requests())
        count += request.path == QStringLiteral("/prices");
    return count;
}

QString lastPricesQuery(const FixtureServer& server, const QString& item)
{
    for (auto it = server.requests().rbegin(); it != server.requests().rend(); ++it) {
        if (it->path == QStringLiteral("/prices"))
            return QUrlQuery(QString::fromUtf8(it->query)).queryItemValue(item, QUrl::FullyDecoded);
    }
    return {};
}

} // namespace

class StoreLoadingTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cachedListsAppearWithoutARequest();
    void forcedRefreshAsksAgain();
    void onlyTheLastOfQuickPeriodChangesIsPublished();
    void emptyListMakesNoRequest();
    void failuresKeepWhatIsShown();
    void waitsForTheServiceThenLoads();
    void startLoadsUniverseAndCatalog();
    void oldCacheEntriesAreShownAndReloaded();
    void cacheKeepsTheMostRecentlyUsed();
    void cacheStaysWithinItsBounds_data();
    void cacheStaysWithinItsBounds();

private:
    std::unique_ptr<Store> makeStore(bool connect = true);

    ComparisonCache::Clock::time_point m_now {};

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FixtureServer> m_server;
};

void StoreLoadingTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_server = std::make_unique<FixtureServer>();
    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(pricesBody));
}

std::unique_ptr<Store> StoreLoadingTests::makeStore(bool connect)
{
    auto store = test::openStore(*m_dir, [this] { return m_now; });
    if (connect)
        store->connectService(m_server->baseUrl(), m_server->baseUrl());
    return store;
}

void StoreLoadingTests::cachedListsAppearWithoutARequest()
{
    auto store = makeStore();
    const QUuid a = store->create(QStringLiteral("A"), { QStringLiteral("AAPL") });
    QTRY_VERIFY(store->comparison() != nullptr);
    QCOMPARE(store->comparisonListId(), std::optional(a));
    QCOMPARE(store->comparison()->dataSource, std::optional(QStringLiteral("simulated")));
    const QUuid b = store->create(QStringLiteral("B"), { QStringLiteral("MSFT") });
    QVERIFY(!store->comparison()); // never A's chart under B's name
    QTRY_VERIFY(store->comparison() != nullptr);
    QCOMPARE(pricesRequests(*m_server), 2);

    store->select(SidebarItem::list(a));
    QVERIFY(store->comparison() != nullptr); // at once, from the cache
    QCOMPARE(store->comparisonListId(), std::optional(a));
    QVERIFY(!store->isLoading());
    QVERIFY(b != a);

    // Another benchmark over the same tickers is another comparison; had reopening A asked
    // too, that request would be the third one answered.
    store->setBenchmark(QStringLiteral("QQQ"));
    QTRY_VERIFY(pricesRequests(*m_server) >= 3 && m_server->idle());
    QCOMPARE(pricesRequests(*m_server), 3);
    QCOMPARE(lastPricesQuery(*m_server, QStringLiteral("tickers")), QStringLiteral("AAPL,QQQ"));
}

void StoreLoadingTests::forcedRefreshAsksAgain()
{
    auto store = makeStore();
    store->create(QStringLiteral("A"), { QStringLiteral("AAPL") });
    QTRY_VERIFY(store->comparison() != nullptr);
    const QUuid first = store->comparison()->id;
    store->refresh(true);
    QVERIFY(store->isLoading());
    QVERIFY(store->comparison() != nullptr); // the chart stays while it reloads
    QTRY_VERIFY(!store->isLoading());
    QCOMPARE(pricesRequests(*m_server), 2);
    QVERIFY(store->comparison()->id != first);
}

void StoreLoadingTests::onlyTheLastOfQuickPeriodChangesIsPublished()
{
    auto store = makeStore();
    store->create(QStringLiteral("A"), { QStringLiteral("AAPL") });
    QTRY_VERIFY(store->comparison() != nullptr);
    // The superseded period answers last, and differently.
    m_server->script(QStringLiteral("/prices"), "preset=5Y",
        ScriptedReply { 200, pricesAnswer(0.05), "application/json", 300ms, false });
    m_server->script(QStringLiteral("/prices"), "preset=10Y", ScriptedReply::json(pricesAnswer(0.10)));
    QSignalSpy published(store.get(), &Store::comparisonChanged);
    store->setTimeframe(Timeframe::fiveYear);
    store->setTimeframe(Timeframe::tenYear);
    QTRY_VERIFY(!store->isLoading());
    QTRY_VERIFY(m_server->idle());
    QCOMPARE(pricesRequests(*m_server), 3);
    QCOMPARE(published.count(), 1);
    QCOMPARE(aaplReturn(*store), std::optional(0.10));
    QCOMPARE(lastPricesQuery(*m_server, QStringLiteral("preset")), QStringLiteral("10Y"));
    QCOMPARE(store->selectedPeriod().preset, Timeframe::tenYear);
}

void StoreLoadingTests::emptyListMakesNoRequest()
{
    auto store = makeStore();
    store->create(QStringLiteral("Empty"), {});
    QVERIFY(!store->isLoading());
    QVERIFY(!store->comparison());
    QVERIFY(!store->loadError());
    // A list with tickers afterwards is the first request the server sees.
    store->create(QStringLiteral("Full"), { QStringLiteral("AAPL") });
    QTRY_VERIFY(pricesRequests(*m_server) >= 1 && m_server->idle());
    QCOMPARE(pricesRequests(*m_server), 1);
    QCOMPARE(lastPricesQuery(*m_server, QStringLiteral("tickers")), QStringLiteral("AAPL,SPY"));
}

void StoreLoadingTests::failuresKeepWhatIsShown()
{
    m_server->script(QStringLiteral("/prices"), ScriptedReply { 500, "<html>oops</html>", "text/html", 0ms, false });
    auto store = makeStore();
    store->create(QStringLiteral("A"), { QStringLiteral("AAPL") });
    QTRY_VERIFY(store->loadError().has_value());
    QCOMPARE(*store->loadError(), QStringLiteral("Server returned 500"));
    QVERIFY(!store->comparison());

    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(pricesBody));
    store->refresh(true);
    QTRY_VERIFY(store->comparison() != nullptr);
    QVERIFY(!store->loadError());

    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(R"({"error":"unknown ticker: AAPL"})", 404));
    store->refresh(true);
    QTRY_VERIFY(store->loadError().has_value());
    QCOMPARE(*store->loadError(), QStringLiteral("unknown ticker: AAPL"));
    QVERIFY(store->comparison() != nullptr);
}

void StoreLoadingTests::waitsForTheServiceThenLoads()
{
    auto store = makeStore(false);
    store->create(QStringLiteral("A"), { QStringLiteral("AAPL") });
    QVERIFY(store->isLoading());
    QVERIFY(!store->loadError());
    store->connectService(m_server->baseUrl(), m_server->baseUrl());
    QTRY_VERIFY(store->comparison() != nullptr);
    QCOMPARE(pricesRequests(*m_server), 1);
}

void StoreLoadingTests::startLoadsUniverseAndCatalog()
{
    m_server->script(QStringLiteral("/tickers"),
        ScriptedReply::json(
            R"({"tickers":{"tickers":["AAPL","MSFT"],"companyNames":["Apple Inc.",null],"isEtf":[false,false]}})"));
    m_server->script(QStringLiteral("/data/collections.json"),
        ScriptedReply::json(R"({"categories":[],"collections":[{"id":"big","name":"Big","tickers":["AAPL"]}]})"));
    auto store = makeStore();
    QTRY_COMPARE(store->universe().size(), 2);
    QTRY_COMPARE(store->catalog().collections.size(), 1u);
    QCOMPARE(store->universe().find(u"MSFT")->name, QStringLiteral("MSFT"));
    const test::RecordedRequest* catalogRequest = nullptr;
    for (const auto& request : m_server->requests()) {
        if (request.path == QStringLiteral("/data/collections.json"))
            catalogRequest = &request;
    }
    QVERIFY(catalogRequest);
    QCOMPARE(catalogRequest->header("User-Agent"), QByteArray("Tessary-Mac/0.2"));

    // A catalog that no longer decodes leaves the one we have.
    m_server->script(QStringLiteral("/data/collections.json"), ScriptedReply::json("{}"));
    const auto before = m_server->requests().size();
    auto again = makeStore();
    QTRY_VERIFY(m_server->requests().size() == before + 2 && m_server->idle());
    QCOMPARE(again->catalog().collections.size(), 1u);
}

void StoreLoadingTests::oldCacheEntriesAreShownAndReloaded()
{
    auto store = makeStore();
    const QUuid a = store->create(QStringLiteral("A"), { QStringLiteral("AAPL") });
    QTRY_VERIFY(store->comparison() != nullptr);
    store->create(QStringLiteral("B"), { QStringLiteral("MSFT") });
    QTRY_VERIFY(!store->isLoading());
    QCOMPARE(pricesRequests(*m_server), 2);

    m_now += 14min;
    store->select(SidebarItem::list(a));
    QVERIFY(!store->isLoading()); // still fresh: from the cache alone
    QCOMPARE(pricesRequests(*m_server), 2);

    store->select(SidebarItem::list(store->lists().back().id));
    m_now += 2min;
    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(pricesAnswer(0.07)));
    store->select(SidebarItem::list(a));
    QVERIFY(store->comparison()); // shown at once, but no longer passed off as the latest
    QCOMPARE(aaplReturn(*store), std::optional(0.02));
    QVERIFY(store->isLoading());
    QTRY_VERIFY(!store->isLoading());
    QCOMPARE(pricesRequests(*m_server), 3);
    QCOMPARE(aaplReturn(*store), std::optional(0.07));
}

void StoreLoadingTests::cacheKeepsTheMostRecentlyUsed()
{
    ComparisonCache cache(2, 15min);
    const auto at = ComparisonCache::Clock::time_point {};
    const auto comparison = std::make_shared<const Comparison>();
    cache.insert(QStringLiteral("a"), comparison, at);
    cache.insert(QStringLiteral("b"), comparison, at);
    QVERIFY(cache.find(QStringLiteral("a"), at)); // "a" is now the most recent
    cache.insert(QStringLiteral("c"), comparison, at);
    QCOMPARE(cache.size(), 2u);
    QVERIFY(!cache.find(QStringLiteral("b"), at));
    QVERIFY(cache.find(QStringLiteral("a"), at)->fresh);
    QVERIFY(!cache.find(QStringLiteral("a"), at + 16min)->fresh);
}

void StoreLoadingTests::cacheStaysWithinItsBounds_data()
{
    QTest::addColumn<QList<int>>("tickers"); // of each comparison inserted, as "a", "b", …
    QTest::addColumn<int>("capacity");
    QTest::addColumn<double>("budget"); // in 200-ticker comparisons
    QTest::addColumn<QString>("kept"); // most recent first
    QTest::newRow("by count") << QList { 2, 2, 2, 2 } << 3 << 10.0 << u"dcb"_qs;
    QTest::newRow("by bytes") << QList { 200, 200, 200 } << 16 << 2.5 << u"cb"_qs;
    QTest::newRow("small lists beside a full one") << QList { 200, 2, 2, 2, 2 } << 16 << 1.5 << u"edcba"_qs;
    QTest::newRow("a full one pushes small ones out") << QList { 2, 2, 200, 200 } << 16 << 1.5 << u"d"_qs;
    QTest::newRow("the newest stays, however large") << QList { 200 } << 16 << 0.5 << u"a"_qs;
}

void StoreLoadingTests::cacheStaysWithinItsBounds()
{
    QFETCH(QList<int>, tickers);
    QFETCH(int, capacity);
    QFETCH(double, budget);
    QFETCH(QString, kept);
    const auto comparisonOf = [](int count) {
        Comparison comparison;
        for (int i = 0; i < count; ++i)
            comparison.series.push_back(
                ChartSeries { u"T%1"_qs.arg(i), std::vector<ChartPoint>(pointBudget(200)), false, i });
        return std::make_shared<const Comparison>(std::move(comparison));
    };
    const auto keyOf = [](qsizetype i) { return QString(QChar(char16_t(u'a' + i))); };
    const auto full = ComparisonCache::approximateBytes(*comparisonOf(200));
    ComparisonCache cache(std::size_t(capacity), 15min, std::size_t(budget * double(full)));
    const auto at = ComparisonCache::Clock::time_point {};
    std::size_t expectedBytes = 0;
    for (qsizetype i = 0; i < tickers.size(); ++i) {
        const auto comparison = comparisonOf(tickers[i]);
        cache.insert(keyOf(i), comparison, at);
        if (kept.contains(keyOf(i)))
            expectedBytes += ComparisonCache::approximateBytes(*comparison);
    }
    QString found;
    for (qsizetype i = tickers.size() - 1; i >= 0; --i) {
        if (cache.find(keyOf(i), at))
            found += keyOf(i);
    }
    QCOMPARE(found, kept);
    QCOMPARE(cache.bytes(), expectedBytes);
}

QTEST_GUILESS_MAIN(StoreLoadingTests)
#include "tst_StoreLoading.moc"
