#include "Support/FixtureServer.h"
#include "Support/TempStore.h"
#include "Tessary/Store/Preferences.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Common/HelpPopover.h"
#include "Tessary/Views/Common/HelpTopics.h"
#include "Tessary/Views/Main/HelpMenu.h"
#include "Tessary/Views/Main/MainWindow.h"
#include "Tessary/Views/Main/SettingsWindow.h"
#include "Tessary/Views/Main/Sidebar.h"
#include "Tessary/Views/Main/TourOverlay.h"
#include "Tessary/Views/Main/UpdateWindow.h"
#include "Tessary/Views/Rankings/MultiPeriodGrid.h"
#include "Tessary/Views/Rankings/MultiPeriodGridModel.h"
#include "Tessary/Views/Rankings/RankingHeader.h"
#include "Tessary/Views/Rankings/RankingTable.h"
#include "Tessary/Views/Rankings/RankingTableModel.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDesktopServices>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace tessary;
using test::FixtureServer;
using test::ScriptedReply;

namespace {

QAction* menuAction(QMenuBar& bar, const QString& menu, const QString& text)
{
    for (QAction* top : bar.actions()) {
        if (top->text().remove(u'&') != menu || !top->menu())
            continue;
        for (QAction* action : top->menu()->actions()) {
            if (action->text() == text)
                return action;
        }
    }
    return nullptr;
}

// Where mail programs would be asked to open a message: Qt hands mailto: links to this.
class MailCatcher : public QObject {
    Q_OBJECT

public:
    QList<QUrl> opened;

public Q_SLOTS:
    void open(const QUrl& url) { opened.append(url); }
};

} // namespace

// The shell around the views: the menu bar, the tour, the help marks, support and updates.
class AppShellTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void menuBarHoldsEveryCommand();
    void helpCommandsDoWhatTheySay();
    void updateCheckReportsTheFeed_data();
    void updateCheckReportsTheFeed();
    void tourIsOfferedOnceAndRemembered_data();
    void tourIsOfferedOnceAndRemembered();
    void helpMarkExplainsInsteadOfSorting_data();
    void helpMarkExplainsInsteadOfSorting();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<FixtureServer> m_server;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<MainWindow> m_window;
};

void AppShellTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_server = std::make_unique<FixtureServer>();
    m_store = test::openStore(*m_dir);
    m_store->connectService(m_server->baseUrl(), m_server->baseUrl(), false);
    Environment environment;
    environment.supportAddress = QStringLiteral("help@example.org");
    m_window = std::make_unique<MainWindow>(*m_store, environment);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void AppShellTests::cleanup()
{
    m_window.reset();
    m_store.reset();
}

void AppShellTests::menuBarHoldsEveryCommand()
{
    struct Entry {
        const char* menu;
        const char* text;
        QKeySequence shortcut;
    };
    const Entry entries[] = {
        { "File", "New Comparison List", QKeySequence(Qt::CTRL | Qt::Key_N) },
        { "File", "Save Image…", {} },
        { "File", "Settings…", QKeySequence(QKeySequence::Preferences) },
        { "File", "Quit", QKeySequence(QKeySequence::Quit) },
        { "Edit", "Copy Chart Image", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C) },
        { "View", "Refresh Prices", QKeySequence(Qt::CTRL | Qt::Key_R) },
        { "View", "Log Scale", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_L) },
        { "View", "Add Tickers…", QKeySequence(Qt::CTRL | Qt::Key_K) },
        { "View", "Jump to a list…", QKeySequence(Qt::Key_Slash) },
        { "Window", "New Floating Widget", QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_N) },
        { "Window", "Show Widgets from Any App", QKeySequence(Qt::CTRL | Qt::ALT | Qt::META | Qt::Key_E) },
        { "Help", "Tessary Tour", {} },
        { "Help", "Check for Updates…", {} },
        { "Help", "Contact Support…", {} },
        { "Help", "Email Support…", {} },
        { "Help", "Copy email address", {} },
    };
    QMenuBar& bar = *m_window->menuBar();
    QStringList shown;
    for (QAction* top : bar.actions()) {
        for (QAction* action : top->menu()->actions()) {
            if (!action->isSeparator() && action->isVisible())
                shown.append(top->text().remove(u'&') + u'/' + action->text());
        }
    }
    QStringList expected;
    for (const Entry& entry : entries) {
        expected.append(QString::fromUtf8(entry.menu) + u'/' + QString::fromUtf8(entry.text));
        QAction* action = menuAction(bar, QString::fromUtf8(entry.menu), QString::fromUtf8(entry.text));
        QVERIFY2(action, entry.text);
        QCOMPARE(action->shortcut(), entry.shortcut);
    }
    // Nothing more: an entry that is not listed here is one nobody checked does something.
    QCOMPARE(shown, expected);
}

void AppShellTests::helpCommandsDoWhatTheySay()
{
    MailCatcher mail;
    QDesktopServices::setUrlHandler(QStringLiteral("mailto"), &mail, "open");
    QMenuBar& bar = *m_window->menuBar();
    for (const char* text : { "Contact Support…", "Email Support…" })
        menuAction(bar, QStringLiteral("Help"), QString::fromUtf8(text))->trigger();
    QCOMPARE(mail.opened.size(), 2);
    for (const QUrl& url : mail.opened) {
        QCOMPARE(url.scheme(), QStringLiteral("mailto"));
        QCOMPARE(url.path(), QStringLiteral("help@example.org"));
        QVERIFY(url.query(QUrl::FullyDecoded).contains(QStringLiteral("\u2014\nTessary for Mac ")));
    }
    menuAction(bar, QStringLiteral("Help"), QStringLiteral("Copy email address"))->trigger();
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("help@example.org"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));

    menuAction(bar, QStringLiteral("Help"), QStringLiteral("Tessary Tour"))->trigger();
    QVERIFY(m_window->findChild<TourOverlay*>());
}

void AppShellTests::updateCheckReportsTheFeed_data()
{
    QTest::addColumn<ScriptedReply>("feed");
    QTest::addColumn<QString>("headline");
    QTest::addColumn<bool>("download");
    QTest::newRow("newer") << ScriptedReply::json(
        R"({"version":"99.0.0","notes":"Faster charts.","url":"https://example.org/get"})")
                           << "Tessary 99.0.0 is available" << true;
    QTest::newRow("older") << ScriptedReply::json(R"({"version":"0.0.1"})") << "Tessary 1.0.0 is the latest version."
                           << false;
    QTest::newRow("missing") << ScriptedReply::json({}, 404)
                             << "Could not check for updates: the update feed answered HTTP 404" << false;
}

void AppShellTests::updateCheckReportsTheFeed()
{
    QFETCH(ScriptedReply, feed);
    QFETCH(QString, headline);
    QFETCH(bool, download);
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0.0"));
    m_server->script(QStringLiteral("/updates/linux.json"), feed);
    HelpMenu& help = *m_window->helpMenu();
    // Off until the user allows it: the start-up check asks nothing.
    help.checkIfAllowed();
    QVERIFY(!help.updateWindow());
    m_window->showSettings()->checkUpdatesBox()->click();
    QVERIFY(m_store->preferences().checksForUpdates());
    m_window->showSettings()->close();

    menuAction(*m_window->menuBar(), QStringLiteral("Help"), QStringLiteral("Check for Updates…"))->trigger();
    UpdateWindow* window = help.updateWindow();
    QVERIFY(window && window->isVisible());
    QTRY_VERIFY(!window->isChecking());
    QCOMPARE(window->headline()->text(), headline);
    QCOMPARE(window->downloadButton()->isVisible(), download);
    QCOMPARE(window->notes()->isVisible(), download);
    // The quiet check at start-up shows the window only for news.
    window->close();
    help.checkIfAllowed();
    QTRY_VERIFY(!window->isChecking());
    QCOMPARE(window->isVisible(), download);
}

void AppShellTests::tourIsOfferedOnceAndRemembered_data()
{
    QTest::addColumn<int>("way"); // 0: Done on the last step, 1: Skip Tour, 2: Escape
    QTest::newRow("done") << 0;
    QTest::newRow("skipped") << 1;
    QTest::newRow("escape") << 2;
}

void AppShellTests::tourIsOfferedOnceAndRemembered()
{
    QFETCH(int, way);
    m_window->showTourOnFirstRun();
    QPointer<TourOverlay> tour = m_window->findChild<TourOverlay*>();
    QVERIFY(tour);
    QCOMPARE(tour->stepCount(), 6);
    QCOMPARE(tour->titleLabel()->text(), QStringLiteral("Your lists"));
    Sidebar* sidebar = m_window->sidebar();
    QVERIFY(tour->spotlight().contains(sidebar->mapTo(m_window.get(), sidebar->rect().center())));
    // Leaving in the middle is not dismissing: it comes back.
    QVERIFY(!m_store->preferences().tourSeen());
    if (way == 0) {
        for (int step = 1; step < tour->stepCount(); ++step)
            tour->nextButton()->click();
        QCOMPARE(tour->nextButton()->text(), QStringLiteral("Done"));
        tour->nextButton()->click();
    } else if (way == 1) {
        tour->skipButton()->click();
    } else {
        QTest::keyClick(tour, Qt::Key_Escape);
    }
    QTRY_VERIFY(!tour);
    QVERIFY(m_store->preferences().tourSeen());

    // The next start: no tour, but Help still opens it.
    m_window.reset();
    m_store = test::openStore(*m_dir);
    m_window = std::make_unique<MainWindow>(*m_store);
    m_window->showTourOnFirstRun();
    QVERIFY(!m_window->findChild<TourOverlay*>());
    m_window->helpMenu()->tourAction()->trigger();
    QVERIFY(m_window->findChild<TourOverlay*>());
}

void AppShellTests::helpMarkExplainsInsteadOfSorting_data()
{
    QTest::addColumn<bool>("grid");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("title");
    QTest::newRow("sharpe") << false << static_cast<int>(RankColumn::sharpe) << "Sharpe ratio";
    QTest::newRow("beat") << true << static_cast<int>(MultiPeriodGridModel::beats) << "Beat";
}

void AppShellTests::helpMarkExplainsInsteadOfSorting()
{
    QFETCH(bool, grid);
    QFETCH(int, column);
    QFETCH(QString, title);
    ChartFocus focus;
    std::unique_ptr<RankView> view;
    if (grid) {
        auto table = std::make_unique<MultiPeriodGrid>(focus);
        table->setInput({ {}, {}, QStringLiteral("SPY"), {}, {} });
        view = std::move(table);
    } else {
        view = std::make_unique<RankingTable>(focus);
    }
    view->resize(1200, 300);
    view->show();
    QVERIFY(QTest::qWaitForWindowExposed(view.get()));
    RankingHeader& header = view->header();
    // A grid without periods: its fixed columns are its sections.
    const int section = column;
    const int sorted = header.sortSection();
    const bool ascending = header.sortAscending();

    const QRect mark = header.helpMarkRect(section);
    QVERIFY(!mark.isEmpty());
    QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, mark.center());
    auto* popover = qobject_cast<HelpPopover*>(QApplication::activePopupWidget());
    QVERIFY(popover);
    QCOMPARE(popover->titleLabel()->text(), title);
    QVERIFY(popover->bodyLabel()->text().contains(QStringLiteral("NA")));
    QCOMPARE(header.sortSection(), sorted);
    QCOMPARE(header.sortAscending(), ascending);
    popover->close();

    // Away from the mark, the heading sorts as before.
    const QPoint heading(header.sectionViewportPosition(section) + 12, header.height() / 2);
    QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, heading);
    QVERIFY(!QApplication::activePopupWidget());
    QVERIFY(header.sortSection() != sorted || header.sortAscending() != ascending);
}

QTEST_MAIN(AppShellTests)
#include "tst_AppShell.moc"
