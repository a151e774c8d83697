#include "Support/FixtureServer.h"
#include "Support/TempStore.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Common/TickerActions.h"
#include "Tessary/Views/Input/TickerInput.h"
#include "Tessary/Views/Main/AccountSection.h"
#include "Tessary/Views/Main/ChartArea.h"
#include "Tessary/Views/Main/ChartExportControl.h"
#include "Tessary/Views/Main/LegendBar.h"
#include "Tessary/Views/Main/LegendOverflow.h"
#include "Tessary/Views/Main/MainWindow.h"
#include "Tessary/Views/Main/PeriodBar.h"
#include "Tessary/Views/Main/SettingsWindow.h"
#include "Tessary/Views/Main/Sidebar.h"
#include "Tessary/Views/Rankings/RankingTable.h"
#include "Tessary/Views/Rankings/RankingsPanel.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrlQuery>

using namespace tessary;
using test::FixtureServer;
using test::ScriptedReply;

namespace {

constexpr qint64 day = 86'400'000;
constexpr qint64 firstDay = 1'704'153'600'000; // 2024-01-02

// AAPL and SPY from the first day; NVDA only from day 60, a late starter.
QByteArray pricesBody()
{
    QStringList full;
    QStringList late;
    QStringList values;
    QStringList lateValues;
    for (int i = 0; i < 90; ++i) {
        full.append(QString::number(firstDay + i * day));
        values.append(QString::number(i * 0.001));
        if (i >= 60) {
            late.append(QString::number(firstDay + i * day));
            lateValues.append(QString::number((i - 60) * 0.002));
        }
    }
    const auto series = [](const char* ticker, const QStringList& dates, const QStringList& performance) {
        return QStringLiteral(R"({"ticker":"%1","dates":[%2],"performance":[%3]})")
            .arg(QLatin1StringView(ticker), dates.join(u','), performance.join(u','));
    };
    return QStringLiteral(
        R"({"range":{"actual_start":"2024-01-02","actual_end":"2024-03-31","interval":"1D"},"series":[%1,%2,%3],
        "rankings":[{"ticker":"AAPL","net_return":0.089},{"ticker":"NVDA","net_return":0.058,"start_date":"2024-03-02"},
        {"ticker":"SPY","net_return":0.089}],"data_source":"simulated"})")
        .arg(series("AAPL", full, values), series("NVDA", late, lateValues), series("SPY", full, values))
        .toUtf8();
}

int pricesRequests(const FixtureServer& server)
{
    return static_cast<int>(std::count_if(server.requests().begin(), server.requests().end(),
        [](const auto& request) { return request.path == QStringLiteral("/prices"); }));
}

} // namespace

class MainWindowTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void welcomeLeadsToAChart();
    void quoteLineNamesTheProvider();
    void pinnedTickersStayWithTheirList();
    void legendChipEditsTheList();
    void lateStarterOfferSetsACustomRange();
    void statesOfTheChartArea();
    void curatedListWaitsForTheDemoMarket();
    void legendKeepsTwoRowsForAFullList();
    void menuShortcuts();
    void periodBarFollowsTheSelection();
    void statusLineShowsAFailedSave();
    void settingsShowTheAccount();
    void copyChartImage();
    void saveChartImage_data();
    void saveChartImage();

private:
    std::unique_ptr<Store> makeStore();

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FixtureServer> m_server;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<MainWindow> m_window;
};

void MainWindowTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_server = std::make_unique<FixtureServer>();
    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(pricesBody()));
    m_store = makeStore();
    m_window = std::make_unique<MainWindow>(*m_store);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void MainWindowTests::cleanup()
{
    m_window.reset();
    m_store.reset();
}

std::unique_ptr<Store> MainWindowTests::makeStore()
{
    auto store = test::openStore(*m_dir);
    store->connectService(m_server->baseUrl(), m_server->baseUrl(), false);
    return store;
}

void MainWindowTests::welcomeLeadsToAChart()
{
    ChartArea* area = m_window->chartArea();
    QCOMPARE(area->state(), ChartArea::State::welcome);
    QVERIFY(!m_window->rankings()->isVisible()); // no rankings of nothing under the welcome
    auto* create = m_window->findChild<QPushButton*>(QStringLiteral("welcomeNewList"));
    QVERIFY(create);
    QTest::mouseClick(create, Qt::LeftButton);
    QVERIFY(m_window->rankings()->isVisible());
    QCOMPARE(m_store->lists().size(), 1u);
    QTRY_COMPARE(area->state(), ChartArea::State::chart);
    QVERIFY(m_window->dataSourceBadge()->isVisible());
    QVERIFY(m_window->sidebar()->itemForKey(SidebarItem::list(m_store->lists().front().id).key()));
    QCOMPARE(m_window->chartView()->comparison().series.size(), 3u);
}

void MainWindowTests::quoteLineNamesTheProvider()
{
    QByteArray body = pricesBody();
    body.replace(R"("data_source":"simulated")",
        R"("data_source":"imported","data_provider":"stooq","data_refreshed_at":"2024-04-01T22:15:00Z",)"
        R"("data_freshness":{"latest_historical_timestamp":"2024-03-28T16:00:00-04:00"})");
    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(body));
    m_store->create(QStringLiteral("Real"), { QStringLiteral("AAPL") });
    auto* subtitle = m_window->findChild<QLabel*>(QStringLiteral("listSubtitle"));
    QTRY_VERIFY(subtitle->text().contains(QStringLiteral("Prices from stooq")));
    // The refresh time reads in New York time, like the latest quote before it.
    QVERIFY2(subtitle->text().endsWith(QStringLiteral(" · Prices from stooq, refreshed Apr 1, 2024 6:15 PM ET")),
        qPrintable(subtitle->text()));
    QVERIFY(!m_window->dataSourceBadge()->isVisible());
}

void MainWindowTests::pinnedTickersStayWithTheirList()
{
    const QUuid first = m_store->create(QStringLiteral("First"), { QStringLiteral("AAPL"), QStringLiteral("NVDA") });
    QTRY_VERIFY(m_window->legend()->chip(QStringLiteral("NVDA")));
    QTest::mouseClick(m_window->legend()->chip(QStringLiteral("NVDA")), Qt::LeftButton);
    QCOMPARE(m_window->focus()->pinned(), QStringList { QStringLiteral("NVDA") });
    QVERIFY(m_window->legend()->resetButton()->isVisible());

    m_store->create(QStringLiteral("Second"), { QStringLiteral("AAPL") });
    QVERIFY(m_window->focus()->pinned().isEmpty());
    m_store->select(SidebarItem::list(first));
    QCOMPARE(m_window->focus()->pinned(), QStringList { QStringLiteral("NVDA") });

    // Escape in a field with text only clears the text; anywhere else in the window it
    // clears the highlights, and that is kept too.
    QLineEdit* field = m_window->tickerInput()->findChild<QLineEdit*>();
    QVERIFY(field);
    field->setFocus();
    QTest::keyClicks(field, QStringLiteral("MS"));
    QTest::keyClick(field, Qt::Key_Escape);
    QVERIFY(field->text().isEmpty());
    QCOMPARE(m_window->focus()->pinned(), QStringList { QStringLiteral("NVDA") });
    QWidget* table = m_window->rankings()->findChild<RankingTable*>();
    QVERIFY(table);
    table->setFocus();
    QTest::keyClick(table, Qt::Key_Escape);
    QVERIFY(m_window->focus()->pinned().isEmpty());
    QTest::mouseClick(m_window->legend()->chip(QStringLiteral("AAPL")), Qt::LeftButton);

    // A new store on the same directory: the list keeps its pin.
    m_window.reset();
    m_store = makeStore();
    m_store->select(SidebarItem::list(first));
    m_window = std::make_unique<MainWindow>(*m_store);
    QCOMPARE(m_window->focus()->pinned(), QStringList { QStringLiteral("AAPL") });
}

void MainWindowTests::legendChipEditsTheList()
{
    const auto trigger = [](QMenu& menu, QStringView text) {
        for (QAction* action : menu.actions()) {
            if (action->text() == text) {
                action->trigger();
                return true;
            }
        }
        return false;
    };
    m_store->create(QStringLiteral("Mine"), { QStringLiteral("AAPL"), QStringLiteral("NVDA"), QStringLiteral("MSFT") });
    QTRY_VERIFY(m_window->legend()->chip(QStringLiteral("NVDA")));
    std::unique_ptr<QMenu> menu(m_window->legend()->contextMenuFor(QStringLiteral("NVDA")));
    QVERIFY(trigger(*menu, TickerActions::makeBenchmarkText));
    QCOMPARE(m_store->selectedBenchmark(), QStringLiteral("NVDA"));
    menu.reset(m_window->legend()->contextMenuFor(QStringLiteral("AAPL")));
    QVERIFY(trigger(*menu, TickerActions::removeText));
    QCOMPARE(m_store->selectedTickers(), QStringList { QStringLiteral("MSFT") });

    // The benchmark, and any ticker of a curated list, can only have its symbol copied.
    menu.reset(m_window->legend()->contextMenuFor(QStringLiteral("NVDA")));
    QCOMPARE(menu->actions().size(), 1);
    QVERIFY(m_store->acceptCatalogDocument(
        R"({"categories":[{"id":"c","label":"C"}],"collections":[{"id":"megacaps","name":"Mega caps","tickers":["AAPL","MSFT"]}]})"));
    m_store->select(SidebarItem::featured(QStringLiteral("megacaps")));
    menu.reset(m_window->legend()->contextMenuFor(QStringLiteral("AAPL")));
    QCOMPARE(menu->actions().size(), 1);
    QCOMPARE(menu->actions().front()->text(), TickerActions::copySymbolText);
}

void MainWindowTests::lateStarterOfferSetsACustomRange()
{
    m_store->create(QStringLiteral("Late"), { QStringLiteral("AAPL"), QStringLiteral("NVDA") });
    QTRY_COMPARE(m_window->chartArea()->state(), ChartArea::State::chart);
    QPushButton* offer = m_window->chartArea()->lateStartButton();
    QVERIFY(offer->isVisible());
    QCOMPARE(offer->text(), QStringLiteral("Start every ticker on Mar 2, 2024"));
    const int before = pricesRequests(*m_server);
    QTest::mouseClick(offer, Qt::LeftButton);
    QCOMPARE(m_store->selectedPeriod().label(), QStringLiteral("Custom range"));
    QCOMPARE(m_store->selectedPeriod().rangeStart, std::optional(QStringLiteral("2024-03-02")));
    QTRY_COMPARE(pricesRequests(*m_server), before + 1);
    const auto& last = m_server->requests().back();
    QCOMPARE(
        QUrlQuery(QString::fromUtf8(last.query)).queryItemValue(QStringLiteral("start")), QStringLiteral("2024-03-02"));
    QVERIFY(m_window->periodBar()->customRangeButton()->isChecked());
}

void MainWindowTests::statesOfTheChartArea()
{
    ChartArea* area = m_window->chartArea();
    m_store->create(QStringLiteral("Empty"), {});
    QCOMPARE(area->state(), ChartArea::State::empty);
    QCOMPARE(area->headline(), QStringLiteral("This list is empty"));
    QCOMPARE(area->detail(), QStringLiteral("Add tickers to start comparing"));

    m_server->script(QStringLiteral("/prices"), ScriptedReply { 500, "<html>down</html>", "text/html", {}, false });
    m_store->create(QStringLiteral("Broken"), { QStringLiteral("AAPL") });
    QCOMPARE(area->state(), ChartArea::State::loading);
    QTRY_COMPARE(area->state(), ChartArea::State::error);
    QCOMPARE(area->headline(), QStringLiteral("Couldn't load prices"));
    QCOMPARE(area->detail(), QStringLiteral("Server returned 500"));

    // Over a chart that is shown, a failed refresh says so and keeps the chart.
    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(pricesBody()));
    m_store->refresh(true);
    QTRY_COMPARE(area->state(), ChartArea::State::chart);
    m_server->script(QStringLiteral("/prices"), ScriptedReply::json(R"({"error":"slow down"})", 429));
    m_store->refresh(true);
    QTRY_COMPARE(area->detail(), QStringLiteral("Couldn't refresh: slow down"));
    QCOMPARE(area->state(), ChartArea::State::chart);
}

void MainWindowTests::curatedListWaitsForTheDemoMarket()
{
    // A curated list remembered from an earlier start, opened before the built-in service
    // has its market ready.
    m_window.reset();
    m_store = test::openStore(*m_dir);
    QVERIFY(m_store->acceptCatalogDocument(
        R"({"categories":[],"collections":[{"id":"big","name":"Big","tickers":["AAPL"]}]})"));
    m_window = std::make_unique<MainWindow>(*m_store);
    ChartArea* area = m_window->chartArea();
    area->setServiceProgress(QStringLiteral("Preparing the market data"), 40);
    m_store->select(SidebarItem::featured(QStringLiteral("big")));
    QCOMPARE(area->state(), ChartArea::State::loading);
    QCOMPARE(area->headline(), ChartArea::preparingText);
    QCOMPARE(area->detail(), QStringLiteral("Preparing the market data"));

    m_store->connectService(m_server->baseUrl(), m_server->baseUrl());
    QTRY_COMPARE(area->state(), ChartArea::State::chart);
}

void MainWindowTests::legendKeepsTwoRowsForAFullList()
{
    QStringList tickers;
    for (int i = 0; i < 200; ++i)
        tickers.append(QStringLiteral("T%1").arg(i, 3, 10, QLatin1Char('0')));
    QStringList series;
    for (const QString& ticker : tickers)
        series.append(QStringLiteral(R"({"ticker":"%1","dates":[1704153600000,1704240000000],"performance":[0,0.01]})")
                          .arg(ticker));
    m_server->script(QStringLiteral("/prices"),
        ScriptedReply::json(QStringLiteral(R"({"range":{"actual_start":"2024-01-02","actual_end":"2024-01-03",
        "interval":"1D"},"series":[%1],"rankings":[]})")
                                .arg(series.join(u','))
                                .toUtf8()));
    m_window->resize(1280, 800);
    m_store->create(QStringLiteral("Full"), tickers);
    QTRY_VERIFY2(
        m_window->chartArea()->state() == ChartArea::State::chart, qPrintable(m_window->chartArea()->detail()));
    QTRY_VERIFY(m_window->legend()->moreButton() && m_window->legend()->moreButton()->isVisible());

    LegendBar* legend = m_window->legend();
    QList<QToolButton*> shown;
    for (const QString& ticker : tickers)
        if (legend->chip(ticker)->isVisible())
            shown.append(legend->chip(ticker));
    QVERIFY(!shown.isEmpty());
    QSet<int> rows;
    for (QToolButton* chip : shown)
        rows.insert(chip->y());
    rows.insert(legend->moreButton()->y());
    QVERIFY2(rows.size() <= LegendBar::maxRows, qPrintable(QString::number(rows.size())));
    const auto lines = static_cast<qsizetype>(m_window->chartView()->comparison().series.size());
    QCOMPARE(legend->moreButton()->text(), QStringLiteral("+%1 more").arg(lines - shown.size()));
    QVERIFY(legend->moreButton()->geometry().right() <= legend->width());
    // The chart keeps three fifths of the window, legend included.
    QVERIFY2(m_window->chartArea()->height() * 5 >= m_window->height() * 3,
        qPrintable(QStringLiteral("%1 of %2").arg(m_window->chartArea()->height()).arg(m_window->height())));

    // The popup finds any line and pins it.
    QTest::mouseClick(legend->moreButton(), Qt::LeftButton);
    auto* popup = legend->findChild<LegendOverflow*>();
    QVERIFY(popup);
    QTest::keyClicks(popup->searchField(), QStringLiteral("t19"));
    int visible = 0;
    for (int row = 0; row < popup->list()->count(); ++row)
        visible += popup->list()->item(row)->isHidden() ? 0 : 1;
    QCOMPARE(popup->list()->count(), int(lines));
    QCOMPARE(visible, 10); // T190–T199
    QTest::keyClick(popup->searchField(), Qt::Key_Return);
    QCOMPARE(m_window->focus()->pinned(), QStringList { QStringLiteral("T190") });
    QCOMPARE(popup->list()->item(190)->checkState(), Qt::Checked);
    popup->close();
}

void MainWindowTests::menuShortcuts()
{
    QTest::keyClick(m_window.get(), Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(m_store->lists().size(), 1u);
    QCOMPARE(m_store->lists().front().name, QStringLiteral("My List 1"));
    QTRY_COMPARE(pricesRequests(*m_server), 1);

    QTest::keyClick(m_window.get(), Qt::Key_R, Qt::ControlModifier);
    QTRY_COMPARE(pricesRequests(*m_server), 2);

    const bool log = m_store->logScale();
    QTest::keyClick(m_window.get(), Qt::Key_L, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(m_store->logScale(), !log);
    QCOMPARE(m_window->chartView()->logScale(), !log);
    QCOMPARE(m_window->periodBar()->logScaleSwitch()->isChecked(), !log);
}

void MainWindowTests::periodBarFollowsTheSelection()
{
    m_store->create(QStringLiteral("A"), { QStringLiteral("AAPL") });
    PeriodBar* bar = m_window->periodBar();
    QVERIFY(bar->presetButton(Timeframe::oneYear)->isChecked());
    QTest::mouseClick(bar->presetButton(Timeframe::fiveYear), Qt::LeftButton);
    QCOMPARE(m_store->selectedPeriod().preset, Timeframe::fiveYear);
    QVERIFY(!bar->presetButton(Timeframe::oneYear)->isChecked());
    QVERIFY(bar->presetButton(Timeframe::fiveYear)->isChecked());
    m_store->setScenario(QStringLiteral("financial-crisis"));
    QCOMPARE(bar->periodLabel(), QStringLiteral("Financial Crisis"));
    QVERIFY(bar->scenariosButton()->isChecked());
    QVERIFY(!bar->presetButton(Timeframe::fiveYear)->isChecked());
    m_store->setTimeframe(Timeframe::fifteenYear);
    QVERIFY(bar->morePresetsButton()->isChecked());
    QCOMPARE(bar->periodLabel(), QStringLiteral("15Y"));
}

void MainWindowTests::statusLineShowsAFailedSave()
{
    QTest::mouseClick(m_window->sidebar()->findChild<QPushButton*>(QStringLiteral("newListButton")), Qt::LeftButton);
    QCOMPARE(m_window->statusLine()->text(), QStringLiteral("We added a few starter tickers"));
    // A folder where the file goes: the next save fails, and that outranks the tip.
    QVERIFY(QFile::remove(m_store->listsFile()) && QDir().mkpath(m_store->listsFile()));
    m_store->addTickers({ QStringLiteral("TSLA") });
    QVERIFY(m_window->statusLine()->isVisible());
    QVERIFY(m_window->statusLine()->text().startsWith(QStringLiteral("Couldn't save your lists: ")));
    QVERIFY(QDir(m_store->listsFile()).removeRecursively());
    m_store->addTickers({ QStringLiteral("AMD") });
    QCOMPARE(m_window->statusLine()->text(), QStringLiteral("We added a few starter tickers"));
}

void MainWindowTests::settingsShowTheAccount()
{
    AccountSection* section = m_window->showSettings()->accountSection();
    QVERIFY(section->signInButton()->isVisible());
    QVERIFY(!section->signOutButton()->isVisible());
    QVERIFY(!section->errorLabel()->isVisible());

    // A stored session is shown as signed in at the next start, with a way out.
    QVERIFY((Credentials { QStringLiteral("t"), QStringLiteral("reader@example.com") }.write(
        QDir(m_store->dataDirectory()).filePath(QStringLiteral("account.json")))));
    m_window.reset();
    m_store = makeStore();
    m_window = std::make_unique<MainWindow>(*m_store);
    m_window->show();
    section = m_window->showSettings()->accountSection();
    QCOMPARE(section->statusLabel()->text(), QStringLiteral("Signed in as reader@example.com"));
    QVERIFY(section->signOutButton()->isVisible());
    QVERIFY(!section->signInButton()->isVisible());
}

void MainWindowTests::copyChartImage()
{
    ChartExportControl* control = m_window->chartExport();
    QVERIFY(!control->copyAction()->isEnabled());
    m_store->create(QStringLiteral("Copy me"), { QStringLiteral("AAPL"), QStringLiteral("NVDA") });
    QTRY_VERIFY(control->copyAction()->isEnabled());
    QCOMPARE(control->button()->toolTip(), QStringLiteral("Export this chart as an image to share (⇧⌘C copies it)"));
    QGuiApplication::clipboard()->clear();
    const qint64 cameraIcon = control->button()->icon().cacheKey();

    QTest::keyClick(m_window.get(), Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
    const QMimeData* copied = QGuiApplication::clipboard()->mimeData();
    QVERIFY(copied && copied->hasImage());
    const QImage png = QImage::fromData(copied->data(QStringLiteral("image/png")), "PNG");
    QCOMPARE(png.size(), (ChartExportCard::size() * 2).toSize());
    QCOMPARE(control->messageLabel()->text(), QStringLiteral("Copied to clipboard"));
    QVERIFY(control->messageLabel()->isVisible());
    QVERIFY(control->button()->icon().cacheKey() != cameraIcon);
    // The confirmation goes away by itself and the camera comes back.
    QTRY_VERIFY_WITH_TIMEOUT(!control->messageLabel()->isVisible(), 5000);
}

void MainWindowTests::saveChartImage_data()
{
    QTest::addColumn<QString>("relativePath");
    QTest::addColumn<bool>("saved");
    QTest::newRow("into a folder that exists") << "card.png" << true;
    QTest::newRow("into a folder that does not") << "missing/card.png" << false;
}

void MainWindowTests::saveChartImage()
{
    QFETCH(QString, relativePath);
    QFETCH(bool, saved);
    m_store->create(QStringLiteral("Q1: winners"), { QStringLiteral("AAPL") });
    ChartExportControl* control = m_window->chartExport();
    QTRY_VERIFY(control->saveAction()->isEnabled());
    control->saveAction()->trigger();
    QFileDialog* dialog = nullptr;
    QTRY_VERIFY((dialog = m_window->findChild<QFileDialog*>()) != nullptr);
    QCOMPARE(dialog->selectedFiles().value(0).section(u'/', -1), QStringLiteral("Tessary – Q1- winners 1Y.png"));

    QTemporaryDir folder;
    const QString path = folder.filePath(relativePath);
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->selectFile(path);
    static_cast<QDialog*>(dialog)->accept();
    QCOMPARE(QFileInfo::exists(path), saved);
    if (saved) {
        QCOMPARE(QImage(path).size(), (ChartExportCard::size() * 2).toSize());
        QVERIFY(!control->messageLabel()->isVisible());
    } else {
        QVERIFY(control->messageLabel()->isVisible());
        QVERIFY2(control->messageLabel()->text().startsWith(QStringLiteral("Couldn't save the image to ")),
            qPrintable(control->messageLabel()->text()));
        QCOMPARE(QDir(folder.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList {});
    }
}

QTEST_MAIN(MainWindowTests)
#include "tst_MainWindow.moc"
