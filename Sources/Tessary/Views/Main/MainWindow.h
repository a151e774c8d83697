#pragma once

#include "Tessary/Shell/Environment.h"

#include <QMainWindow>
#include <QPointer>

class QAction;
class QMenu;
class QLabel;
class QPushButton;

namespace tessary {

class ChartArea;
class ChartExportControl;
class ChartFocus;
class ChartView;
class HelpMenu;
class LegendBar;
class PeriodBar;
class QuickJump;
class RankingsPanel;
class RelatedTickersBar;
class TickerInput;
class TourOverlay;
class SettingsWindow;
class Sidebar;
class Store;

// The main window: an assembly of the sidebar, the list header, the period bar and the chart
// area, plus the menu commands and their shortcuts.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    // `environment` carries the start-up switches of the ticker field and the quick jump.
    explicit MainWindow(Store& store, const Environment& environment = {}, QWidget* parent = nullptr);

    Sidebar* sidebar() const { return m_sidebar; }
    PeriodBar* periodBar() const { return m_periodBar; }
    ChartArea* chartArea() const { return m_chartArea; }
    ChartView* chartView() const { return m_chartView; }
    ChartExportControl* chartExport() const { return m_chartExport; }
    LegendBar* legend() const { return m_legend; }
    RankingsPanel* rankings() const { return m_rankings; }
    TickerInput* tickerInput() const { return m_tickerInput; }
    RelatedTickersBar* relatedBar() const { return m_related; }
    QuickJump* quickJump() const { return m_quickJump; }
    ChartFocus* focus() const { return m_focus; }
    QLabel* dataSourceBadge() const { return m_dataSourceBadge; }
    // One line under the title: a failed save of the lists, or the starter-tickers tip.
    QLabel* statusLine() const { return m_statusLine; }
    QAction* newListAction() const { return m_newList; }
    QAction* refreshAction() const { return m_refresh; }
    QAction* logScaleAction() const { return m_logScale; }
    // Window menu: the floating widgets live above the views, so whoever owns them connects these.
    QAction* newWidgetAction() const { return m_newWidget; }
    QAction* showWidgetsAction() const { return m_showWidgets; }
    // Why the widgets' global shortcut is unavailable, for the Settings window.
    void setHotKeyNotice(const QString& notice);
    // The Settings window; one window, raised when already open.
    SettingsWindow* showSettings();
    HelpMenu* helpMenu() const { return m_help; }
    // "Tessary Tour" over this window; the one already showing when it is open.
    TourOverlay* showTour();
    // The tour once, on the first start: dismissing it is remembered.
    void showTourOnFirstRun();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void buildMenus(const Environment& environment);
    QWidget* buildHeader();
    void refreshHeader();
    void refreshStatusLine();
    QWidget* buildChart();

    Store& m_store;
    Sidebar* m_sidebar = nullptr;
    PeriodBar* m_periodBar = nullptr;
    ChartArea* m_chartArea = nullptr;
    ChartFocus* m_focus = nullptr;
    ChartView* m_chartView = nullptr;
    ChartExportControl* m_chartExport = nullptr;
    LegendBar* m_legend = nullptr;
    RankingsPanel* m_rankings = nullptr;
    TickerInput* m_tickerInput = nullptr;
    RelatedTickersBar* m_related = nullptr;
    QuickJump* m_quickJump = nullptr;
    SettingsWindow* m_settings = nullptr;
    HelpMenu* m_help = nullptr;
    QPointer<TourOverlay> m_tour;
    QMenu* m_viewMenu = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_subtitle = nullptr;
    QLabel* m_dataSourceBadge = nullptr;
    QLabel* m_statusLine = nullptr;
    bool m_showingStarterTip = false;
    QPushButton* m_saveAsMine = nullptr;
    QAction* m_newList = nullptr;
    QAction* m_refresh = nullptr;
    QAction* m_logScale = nullptr;
    QAction* m_newWidget = nullptr;
    QAction* m_showWidgets = nullptr;
    QString m_hotKeyNotice;
};

} // namespace tessary
