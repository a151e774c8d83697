#include "MainWindow.h"

#include "ChartArea.h"
#include "ChartExportControl.h"
#include "HelpMenu.h"
#include "LegendBar.h"
#include "PeriodBar.h"
#include "SettingsWindow.h"
#include "Sidebar.h"
#include "TourOverlay.h"
#include "ZoomToHighlightedButton.h"

#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Input/Input.h"
#include "Tessary/Views/Rankings/RankingsPanel.h"

#include "Tessary/Model/DateLabel.h"
#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Store.h"
#include "TessaryWire/MarketTime.h"

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QPushButton>
#include <QSplitter>
#include <QTimer>
#include <QVBoxLayout>

namespace tessary {

namespace {

const QString appTitle = QStringLiteral("Tessary");
const QString saveAsMineText = QStringLiteral("Save as My List");
const QString simulatedText = QStringLiteral("Simulated data");
const QString simulatedTip
    = QStringLiteral("These prices come from the built-in demo market: they are simulated, not real quotes.");
const QString lastQuotePrefix = QStringLiteral("Latest quote ");
const QString providerPrefix = QStringLiteral("Prices from ");
const QString refreshedPrefix = QStringLiteral(", refreshed ");
const QString starterTipText = QStringLiteral("We added a few starter tickers");
constexpr int starterTipMilliseconds = 20'000;
constexpr int chartShare = 1000;
const QString newWidgetText = QStringLiteral("New Floating Widget");
const QString showWidgetsText = QStringLiteral("Show Widgets from Any App");

struct TourText {
    QString title;
    QString text;
};
const TourText tourLists { QStringLiteral("Your lists"),
    QStringLiteral("Your comparison lists and the curated collections live here. Ctrl+N starts a new list; "
                   "/ jumps to any list by name.") };
const TourText tourTickers { QStringLiteral("Add tickers"),
    QStringLiteral("Type a symbol or a company name, or paste a whole list at once. Ctrl+K brings you here from "
                   "anywhere.") };
const TourText tourPeriods { QStringLiteral("Pick the period"),
    QStringLiteral("Compare over a day, a year or decades, or a scenario such as a crash and its recovery. The "
                   "chart and the rankings follow.") };
const TourText tourChart { QStringLiteral("Read the chart"),
    QStringLiteral("Point at the chart to read every ticker's return on that day; click a line to highlight it. "
                   "Ctrl+Shift+L switches to a log scale.") };
const TourText tourRankings { QStringLiteral("See who leads"),
    QStringLiteral("Every metric ranked, green for the best. Click a heading to sort by it, or its ? to learn "
                   "what it measures.") };
const TourText tourWidgets { QStringLiteral("Keep an eye on it"),
    QStringLiteral("Window \u25B8 New Floating Widget (Ctrl+Alt+N) keeps a list's leaders on screen while you "
                   "work in other apps.") };

} // namespace

MainWindow::MainWindow(Store& store, const Environment& environment, QWidget* parent)
    : QMainWindow(parent)
    , m_store(store)
{
    setWindowTitle(appTitle);
    setObjectName(QStringLiteral("mainWindow"));
    resize(1440, 960);

    auto* splitter = new QSplitter(this);
    splitter->setChildrenCollapsible(false);
    m_sidebar = new Sidebar(store, splitter);
    m_sidebar->setMinimumWidth(200);

    auto* content = new QWidget(splitter);
    auto* layout = new QVBoxLayout(content);
    // The controls above the chart and the rankings below it stay close together: every pixel
    // they give up goes to the chart, which a full list's two-row legend already narrows.
    layout->setContentsMargins(16, 8, 16, 8);
    layout->setSpacing(4);
    layout->addWidget(buildHeader());
    m_tickerInput = new TickerInput(store, content);
    layout->addWidget(m_tickerInput);
    m_related = new RelatedTickersBar(store, content);
    layout->addWidget(m_related);
    m_periodBar = new PeriodBar(store, content);
    layout->addWidget(m_periodBar);
    m_focus = new ChartFocus(this);
    // Chart above, rankings below; the user moves the border between them.
    auto* stack = new QSplitter(Qt::Vertical, content);
    stack->setChildrenCollapsible(false);
    m_chartArea = new ChartArea(store, buildChart(), stack);
    m_rankings = new RankingsPanel(store, *m_focus, store.preferences(), stack);
    stack->addWidget(m_chartArea);
    stack->addWidget(m_rankings);
    // The chart is what the window is for: it takes four fifths of the height the two share,
    // however many rows a full list's rankings would like; the user moves the border for more.
    stack->setStretchFactor(0, 4);
    stack->setStretchFactor(1, 1);
    stack->setSizes({ 4 * chartShare, chartShare });
    layout->addWidget(stack, 1);

    splitter->addWidget(m_sidebar);
    splitter->addWidget(content);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({ 240, 1040 });
    setCentralWidget(splitter);

    m_quickJump = new QuickJump(store, this);
    const InputCommands commands = installInputCommands(*this, *m_tickerInput, *m_quickJump, environment);
    buildMenus(environment);
    m_viewMenu->addSeparator();
    m_viewMenu->addAction(commands.focusTickerField);
    m_viewMenu->addAction(commands.jumpToList);
    for (const auto signal :
        { &Store::selectionChanged, &Store::listsChanged, &Store::comparisonChanged, &Store::catalogChanged })
        connect(&m_store, signal, this, &MainWindow::refreshHeader);
    connect(&m_store, &Store::saveErrorChanged, this, &MainWindow::refreshStatusLine);
    connect(&m_store, &Store::starterTickersAdded, this, [this] {
        m_showingStarterTip = true;
        refreshStatusLine();
        QTimer::singleShot(starterTipMilliseconds, this, [this] {
            m_showingStarterTip = false;
            refreshStatusLine();
        });
    });
    refreshHeader();
    refreshStatusLine();
}

SettingsWindow* MainWindow::showSettings()
{
    if (!m_settings) {
        m_settings = new SettingsWindow(m_store.account(), m_rankings->periodChoice(), m_store.preferences(), this);
        m_settings->setHotKeyNotice(m_hotKeyNotice);
    }
    m_settings->show();
    m_settings->raise();
    m_settings->activateWindow();
    return m_settings;
}

TourOverlay* MainWindow::showTour()
{
    if (m_tour)
        return m_tour;
    std::vector<TourOverlay::Step> steps;
    const auto step = [&steps](QWidget* target, const TourText& text) {
        steps.push_back({ target, text.title, text.text });
    };
    step(m_sidebar, tourLists);
    step(m_tickerInput, tourTickers);
    step(m_periodBar, tourPeriods);
    step(m_chartArea, tourChart);
    step(m_rankings, tourRankings);
    if (FeatureFlags::shared().isEnabled(Feature::floatingWidget))
        step(menuBar(), tourWidgets);
    m_tour = new TourOverlay(std::move(steps), *this);
    connect(m_tour, &TourOverlay::dismissed, this, [this] { m_store.preferences().setTourSeen(); });
    return m_tour;
}

void MainWindow::showTourOnFirstRun()
{
    if (!m_store.preferences().tourSeen())
        showTour();
}

void MainWindow::setHotKeyNotice(const QString& notice)
{
    m_hotKeyNotice = notice;
    if (m_settings)
        m_settings->setHotKeyNotice(notice);
}

void MainWindow::refreshStatusLine()
{
    // Losing the user's edits matters more than any tip, so the error wins the line.
    const auto& error = m_store.saveError();
    m_statusLine->setText(error ? *error : m_showingStarterTip ? starterTipText : QString());
    m_statusLine->setStyleSheet(error ? QStringLiteral("QLabel { color: #c92a2a; }") : QString());
    m_statusLine->setVisible(!m_statusLine->text().isEmpty());
}

QWidget* MainWindow::buildChart()
{
    auto* chart = new QWidget;
    auto* layout = new QVBoxLayout(chart);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    m_legend = new LegendBar(m_store, *m_focus, chart);
    m_chartView = new ChartView(m_focus, chart);
    m_chartView->setObjectName(QStringLiteral("chartView"));
    m_chartView->setLogScale(m_store.logScale());
    m_chartView->setNameLookup([this](const QString& ticker) {
        const TickerInfo* info = m_store.universe().find(ticker);
        return info ? info->name : QString();
    });
    m_chartExport = new ChartExportControl(m_store, *m_focus, *m_chartView, chart);
    auto* top = new QHBoxLayout;
    top->addWidget(m_legend, 1);
    top->addWidget(new ZoomToHighlightedButton(*m_focus, *m_chartView, chart), 0, Qt::AlignTop);
    top->addWidget(m_chartExport, 0, Qt::AlignTop);
    layout->addLayout(top);
    layout->addWidget(m_chartView, 1);

    connect(&m_store, &Store::comparisonChanged, m_chartView, [this] {
        if (const auto& comparison = m_store.comparison())
            m_chartView->setComparison(comparison);
    });
    connect(&m_store, &Store::logScaleChanged, m_chartView, &ChartView::setLogScale);
    // Pinned tickers belong to the list on show and are kept with it.
    connect(m_focus, &ChartFocus::pinnedChanged, &m_store, &Store::setHighlights);
    connect(&m_store, &Store::highlightsChanged, m_focus, [this] { m_focus->setPinned(m_store.highlights()); });
    m_focus->setPinned(m_store.highlights());
    return chart;
}

QWidget* MainWindow::buildHeader()
{
    auto* header = new QWidget(this);
    auto* layout = new QHBoxLayout(header);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* titles = new QVBoxLayout;
    titles->setSpacing(0);
    m_title = new QLabel(header);
    m_title->setObjectName(QStringLiteral("listTitle"));
    QFont font = m_title->font();
    font.setPointSizeF(font.pointSizeF() * 1.5);
    font.setBold(true);
    m_title->setFont(font);
    m_subtitle = new QLabel(header);
    m_subtitle->setObjectName(QStringLiteral("listSubtitle"));
    m_subtitle->setForegroundRole(QPalette::PlaceholderText);
    titles->addWidget(m_title);
    titles->addWidget(m_subtitle);
    m_statusLine = new QLabel(header);
    m_statusLine->setObjectName(QStringLiteral("statusLine"));
    m_statusLine->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_statusLine->setForegroundRole(QPalette::PlaceholderText);
    titles->addWidget(m_statusLine);
    layout->addLayout(titles, 1);
    layout->addWidget(new BenchmarkField(m_store, header), 0, Qt::AlignTop);

    m_dataSourceBadge = new QLabel(simulatedText, header);
    m_dataSourceBadge->setObjectName(QStringLiteral("dataSourceBadge"));
    m_dataSourceBadge->setToolTip(simulatedTip);
    m_dataSourceBadge->setStyleSheet(QStringLiteral("QLabel { color: #8a5a00; background: #fff4d6; border: 1px solid "
                                                    "#e8c66a; border-radius: 9px; padding: 2px 9px; }"));
    m_dataSourceBadge->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    layout->addWidget(m_dataSourceBadge, 0, Qt::AlignVCenter);

    m_saveAsMine = new QPushButton(saveAsMineText, header);
    m_saveAsMine->setObjectName(QStringLiteral("saveAsMine"));
    connect(m_saveAsMine, &QPushButton::clicked, this, [this] { m_store.saveFeaturedAsList(); });
    layout->addWidget(m_saveAsMine);
    return header;
}

void MainWindow::keyPressEvent(QKeyEvent* event)
{
    // Escape reaches the window only when the focused widget (a field with text, an open
    // popup) had no use for it, so wherever the keyboard is it clears the highlights.
    if (event->key() == Qt::Key_Escape) {
        m_focus->clearPinned();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void MainWindow::buildMenus(const Environment& environment)
{
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    m_newList = file->addAction(QStringLiteral("New Comparison List"), this, [this] { m_store.addList(); });
    m_newList->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_N));
    file->addAction(m_chartExport->saveAction());
    QAction* settings = file->addAction(QStringLiteral("Settings…"), this, &MainWindow::showSettings);
    settings->setShortcut(QKeySequence::Preferences);
    file->addSeparator();
    // Floating widgets keep the app running without this window, so Quit ends it outright.
    QAction* quit = file->addAction(QStringLiteral("Quit"), qApp, [] {
        QApplication::closeAllWindows();
        QCoreApplication::quit();
    });
    quit->setShortcut(QKeySequence::Quit);

    QMenu* edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    edit->addAction(m_chartExport->copyAction());

    QMenu* view = menuBar()->addMenu(QStringLiteral("&View"));
    m_viewMenu = view;
    m_refresh = view->addAction(QStringLiteral("Refresh Prices"), this, [this] { m_store.refresh(true); });
    m_refresh->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_R));
    m_refresh->setToolTip(QStringLiteral("Refresh prices now (⌘R)"));
    m_logScale = view->addAction(QStringLiteral("Log Scale"));
    m_logScale->setCheckable(true);
    m_logScale->setChecked(m_store.logScale());
    m_logScale->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_L));
    connect(m_logScale, &QAction::triggered, this, [this] { m_store.setLogScale(!m_store.logScale()); });
    connect(&m_store, &Store::logScaleChanged, m_logScale, &QAction::setChecked);

    QMenu* window = menuBar()->addMenu(QStringLiteral("&Window"));
    m_newWidget = window->addAction(newWidgetText);
    m_newWidget->setShortcut(QKeySequence(Qt::ALT | Qt::CTRL | Qt::Key_N));
    m_showWidgets = window->addAction(showWidgetsText);
    // The key is grabbed for the whole desktop elsewhere; shown here so the menu teaches it.
    m_showWidgets->setShortcut(QKeySequence(Qt::CTRL | Qt::ALT | Qt::META | Qt::Key_E));
    m_showWidgets->setShortcutContext(Qt::ApplicationShortcut);
    const auto followFlag = [this] {
        const bool on = FeatureFlags::shared().isEnabled(Feature::floatingWidget);
        m_newWidget->setVisible(on);
        m_showWidgets->setVisible(on);
    };
    connect(&FeatureFlags::shared(), &FeatureFlags::changed, this, followFlag);
    followFlag();

    m_help = new HelpMenu(*menuBar()->addMenu(QStringLiteral("&Help")), m_store, environment, *this);
    connect(m_help->tourAction(), &QAction::triggered, this, &MainWindow::showTour);
}

void MainWindow::refreshHeader()
{
    QString title;
    QString subtitle;
    if (const ComparisonList* list = m_store.selectedList()) {
        title = list->name;
        subtitle = QStringLiteral("%1 tickers vs %2").arg(list->tickers.size()).arg(list->benchmark);
    } else if (const auto* collection = m_store.selectedCollection()) {
        title = collection->emoji ? *collection->emoji + u' ' + collection->name : collection->name;
        subtitle = collection->description.value_or(QStringLiteral("%1 tickers").arg(collection->tickers.size()));
    }
    const auto& comparison = m_store.comparison();
    if (comparison && comparison->lastQuote)
        subtitle += QStringLiteral(" · ") + lastQuotePrefix
            + DateLabel::display(MarketTime::dateOf(*comparison->lastQuote)) + u' '
            + MarketTime::time(*comparison->lastQuote);
    // Imported prices say where they came from, as simulated ones carry their badge.
    if (comparison && comparison->dataSource == QStringLiteral("imported") && comparison->dataProvider) {
        subtitle += QStringLiteral(" · ") + providerPrefix + *comparison->dataProvider;
        if (comparison->dataRefreshed)
            subtitle += refreshedPrefix + DateLabel::display(MarketTime::dateOf(*comparison->dataRefreshed)) + u' '
                + MarketTime::time(*comparison->dataRefreshed);
    }
    m_title->setText(title);
    m_subtitle->setText(subtitle);
    m_title->setVisible(!title.isEmpty());
    m_subtitle->setVisible(!subtitle.isEmpty());
    m_saveAsMine->setVisible(m_store.selectedCollection() != nullptr);
    // Rankings of nothing are noise on the welcome screen: they come with the first list.
    m_rankings->setVisible(m_store.selection().has_value());
    m_dataSourceBadge->setVisible(comparison && comparison->dataSource == QStringLiteral("simulated"));
    setWindowTitle(title.isEmpty() ? appTitle : title + QStringLiteral(" — ") + appTitle);
}

} // namespace tessary
