#include "Support/FixtureServer.h"
#include "Support/TempStore.h"

#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Widgets/WidgetManager.h"
#include "Tessary/Widgets/WidgetModel.h"
#include "Tessary/Widgets/WidgetPanel.h"

#include <QLabel>
#include <QTemporaryDir>
#include <QTest>

using namespace tessary;
using test::FixtureServer;
using test::ScriptedReply;

namespace {

const QString releaseId = QStringLiteral("dev.tessary.Tessary");

QByteArray pricesBody()
{
    return QByteArrayLiteral(
        R"({"range":{"actual_start":"2024-01-02","actual_end":"2024-01-04","interval":"1D"},"series":[
        {"ticker":"AAPL","dates":[1704153600000,1704240000000,1704326400000],"performance":[0,0.01,0.02]},
        {"ticker":"SPY","dates":[1704153600000,1704240000000,1704326400000],"performance":[0,0.005,0.01]}],
        "rankings":[{"ticker":"AAPL","net_return":0.02},{"ticker":"SPY","net_return":0.01}]})");
}

int pricesRequests(const FixtureServer& server)
{
    return static_cast<int>(std::ranges::count_if(
        server.requests(), [](const auto& request) { return request.path == QStringLiteral("/prices"); }));
}

} // namespace

class WidgetTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void flags_data();
    void flags();
    void restoresSavedWidgets();
    void snapshotModeSavesNothing();
    void corruptPreferenceIsIgnored();
    void deletedListSaysUnavailable();
    void topNOfAShortList();
    void flagOffHidesAndOnRestores();
    void loadsAndRefreshesOnItsTimer();

private:
    std::unique_ptr<WidgetManager> manager(bool saves = true);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FixtureServer> m_server;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<FeatureFlags> m_flags;
    QUuid m_list;
};

void WidgetTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_server = std::make_unique<FixtureServer>();
    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(pricesBody()));
    m_store = test::openStore(*m_dir);
    m_store->connectService(m_server->baseUrl(), m_server->baseUrl(), false);
    m_list = m_store->create(QStringLiteral("Tech"), { QStringLiteral("AAPL") });
    auto preferences = std::make_shared<Preferences>(m_dir->filePath(QStringLiteral("flags.ini")));
    m_flags = std::make_unique<FeatureFlags>(
        FeatureFlags::Options { QString(FeatureFlags::devAppId.toString()), {}, {}, preferences });
}

void WidgetTests::cleanup()
{
    m_flags.reset();
    m_store.reset();
    m_server.reset();
}

std::unique_ptr<WidgetManager> WidgetTests::manager(bool saves)
{
    auto result = std::make_unique<WidgetManager>(
        *m_store, *m_flags, WidgetManager::Options { saves, std::chrono::minutes(5), false, Feature::floatingWidget });
    result->followFeatureFlag();
    return result;
}

void WidgetTests::flags_data()
{
    QTest::addColumn<QString>("applicationId");
    QTest::addColumn<QString>("variable"); // TESSARY_BETA; "-" for unset
    QTest::addColumn<bool>("stored");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("betaShown");
    const QString dev = FeatureFlags::devAppId.toString();
    QTest::newRow("dev, nothing set") << dev << "-" << false << false << false;
    QTest::newRow("dev, variable 1") << dev << "1" << false << true << true;
    QTest::newRow("dev, variable true keeps stored off") << dev << "true" << false << false << false;
    QTest::newRow("dev, variable true keeps stored on") << dev << "true" << true << true << true;
    QTest::newRow("release never shows beta") << releaseId << "1" << true << true << false;
}

void WidgetTests::flags()
{
    QFETCH(QString, applicationId);
    QFETCH(QString, variable);
    QFETCH(bool, stored);
    QFETCH(bool, enabled);
    QFETCH(bool, betaShown);
    auto preferences = std::make_shared<Preferences>(m_dir->filePath(QStringLiteral("case.ini")));
    preferences->setFeatureFlag(FeatureFlags::betaKey.toString(), stored);
    FeatureFlags flags({ applicationId, variable == u"-" ? std::nullopt : std::optional(variable), {}, preferences });
    QCOMPARE(flags.betaEnabled(), enabled);
    QCOMPARE(flags.isEnabled(Feature::highlightZoom), betaShown);
    QVERIFY(flags.isEnabled(Feature::chartExport));
    QVERIFY(!flags.isEnabled(FeatureAccess::internal));
    // A switch is stored at once.
    flags.setBetaEnabled(!enabled);
    QCOMPARE(preferences->featureFlag(FeatureFlags::betaKey.toString()), !enabled);
}

void WidgetTests::restoresSavedWidgets()
{
    const QUuid other = m_store->create(QStringLiteral("Funds"), { QStringLiteral("SPY") });
    const std::vector<WidgetManager::Config> saved {
        { SidebarItem::list(m_list), Timeframe::oneMonth, 5, true, QRect(10, 20, 320, 210) },
        { SidebarItem::list(other), Timeframe::fiveYear, 25, false, QRect(400, 30, 360, 240) },
        { SidebarItem::featured(QStringLiteral("megacaps")), Timeframe::ytd, 15, true, QRect(50, 300, 300, 200) },
    };
    m_store->preferences().setFloatingWidgets(WidgetManager::encode(saved));
    auto widgets = manager();
    std::vector<WidgetManager::Config> restored;
    for (WidgetPanel* panel : widgets->panels()) {
        const WidgetModel& model = panel->model();
        restored.push_back({ model.item(), model.timeframe(), model.topN(), model.pinned(), panel->geometry() });
        QCOMPARE(panel->windowFlags().testFlag(Qt::WindowStaysOnTopHint), model.pinned());
    }
    QCOMPARE(restored, saved);
    QCOMPARE(WidgetManager::decode(m_store->preferences().floatingWidgets()), saved);
}

void WidgetTests::snapshotModeSavesNothing()
{
    auto widgets = manager(false);
    WidgetPanel* panel = widgets->newWidget(SidebarItem::list(m_list), Timeframe::oneYear);
    QVERIFY(panel);
    panel->model().setTopN(20);
    widgets->save();
    QVERIFY(m_store->preferences().floatingWidgets().isEmpty());
}

void WidgetTests::corruptPreferenceIsIgnored()
{
    m_store->preferences().setFloatingWidgets("{not json");
    auto widgets = manager();
    QVERIFY(widgets->panels().empty());
    QVERIFY(widgets->newWidget(SidebarItem::list(m_list), Timeframe::oneYear));
}

void WidgetTests::deletedListSaysUnavailable()
{
    auto widgets = manager();
    WidgetPanel* panel = widgets->newWidget(SidebarItem::list(m_list), Timeframe::oneYear);
    m_store->remove(m_list);
    QCOMPARE(widgets->panels().size(), std::size_t(1));
    QCOMPARE(panel->headline()->text(), WidgetModel::unavailableText.toString());
    QCOMPARE(panel->model().item(), SidebarItem::list(m_list));
}

void WidgetTests::topNOfAShortList()
{
    Comparison comparison;
    for (int i = 0; i < 8; ++i) {
        const QString ticker = QStringLiteral("T%1").arg(i);
        comparison.rows.push_back(RankRow { ticker, i * 0.1 });
        comparison.series.push_back(ChartSeries { ticker, {} });
    }
    comparison.series.push_back(ChartSeries { QStringLiteral("SPY"), {} });
    comparison.benchmarkRow = RankRow { QStringLiteral("SPY"), 0.2 };
    QCOMPARE(topByReturn(comparison, 25).rows.size(), std::size_t(8));
    const Comparison top = topByReturn(comparison, 5);
    QCOMPARE(top.rows.front().ticker, QStringLiteral("T7"));
    QCOMPARE(top.rows.back().ticker, QStringLiteral("T3"));
    QCOMPARE(top.series.size(), std::size_t(6)); // and the benchmark
}

void WidgetTests::flagOffHidesAndOnRestores()
{
    m_flags->setBetaEnabled(true);
    WidgetManager widgets(*m_store, *m_flags, { true, std::chrono::minutes(5), false, Feature::highlightZoom });
    widgets.followFeatureFlag();
    widgets.newWidget(SidebarItem::list(m_list), Timeframe::oneYear);
    widgets.newWidget(SidebarItem::list(m_list), Timeframe::oneMonth);
    for (WidgetPanel* panel : widgets.panels())
        QVERIFY(panel->isVisible());
    m_flags->setBetaEnabled(false);
    for (WidgetPanel* panel : widgets.panels())
        QVERIFY(!panel->isVisible());
    m_flags->setBetaEnabled(true);
    QCOMPARE(widgets.panels().size(), std::size_t(2));
    for (WidgetPanel* panel : widgets.panels())
        QVERIFY(panel->isVisible());
}

void WidgetTests::loadsAndRefreshesOnItsTimer()
{
    WidgetManager widgets(*m_store, *m_flags, { false, std::chrono::milliseconds(50), false, Feature::floatingWidget });
    widgets.followFeatureFlag();
    WidgetPanel* panel = widgets.newWidget(SidebarItem::list(m_list), Timeframe::oneYear);
    QTRY_VERIFY(panel->model().updatedAt().has_value());
    QCOMPARE(panel->model().shown()->rows.front().ticker, QStringLiteral("AAPL"));
    QVERIFY(panel->summary()->text().contains(QStringLiteral("1 of 1 beat SPY")));
    const int first = pricesRequests(*m_server);
    QTRY_VERIFY(pricesRequests(*m_server) >= first + 2);
}

QTEST_MAIN(WidgetTests)
#include "tst_Widgets.moc"
