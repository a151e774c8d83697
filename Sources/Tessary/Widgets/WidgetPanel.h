#pragma once

#include <QPoint>
#include <QWidget>

class QLabel;
class QMenu;
class QStackedWidget;
class QToolButton;

namespace tessary {

class ChartFocus;
class ChartView;
class Store;
class WidgetManager;
class WidgetModel;
class WidgetReadout;

// A floating widget's window: frameless, at least 300×200, moved by dragging anywhere that is
// not the chart, and above every window while pinned. It shows its model's chart of the top N
// tickers, who leads, how many beat the benchmark, and when it was last updated.
class WidgetPanel : public QWidget {
    Q_OBJECT

public:
    static constexpr QSize minimumPanelSize { 300, 200 };
    static constexpr QStringView topNPrefix = u"Top ";
    static constexpr QStringView topNSuffix = u" by return";
    static constexpr QStringView leaderPrefix = u"Leader ";
    static constexpr QStringView ofText = u" of ";
    static constexpr QStringView beatText = u" beat ";
    static constexpr QStringView highlightedText = u" highlighted";
    static constexpr QStringView updatedPrefix = u"Updated ";
    static constexpr QStringView lastQuotePrefix = u"Last quote ";
    static constexpr QStringView refreshTip = u"Refreshes every 5 minutes. Click to refresh now.";
    static constexpr QStringView pinnedTip
        = u"Pinned: floats above all windows. Click to let it sit among normal windows.";
    static constexpr QStringView unpinnedTipPrefix = u"Unpinned: ";
    static constexpr QStringView unpinnedTipSuffix = u" brings widgets to the front. Click to keep it on top.";
    static constexpr QStringView tipPrefix = u"Press **";
    static constexpr QStringView tipSuffix = u"** in any app to bring your widgets to the front.";
    static constexpr QStringView gotItText = u"Got it";
    // Menu entries.
    static constexpr QStringView listMenuText = u"List";
    static constexpr QStringView periodMenuText = u"Period";
    static constexpr QStringView showMenuText = u"Show";
    static constexpr QStringView refreshNowText = u"Refresh Now";
    static constexpr QStringView newForListText = u"New Widget for This List";
    static constexpr QStringView showWidgetsText = u"Show Widgets from Any App";
    static constexpr QStringView closeText = u"Close Widget";

    // Takes the model over.
    WidgetPanel(WidgetModel* model, Store& store, WidgetManager& manager);

    WidgetModel& model() const { return *m_model; }
    ChartView* chart() const { return m_chart; }
    QMenu* menu() const { return m_menu; }
    QLabel* headline() const { return m_headline; }
    QLabel* summary() const { return m_summary; }
    QLabel* status() const { return m_status; }
    QWidget* shortcutTip() const { return m_tip; }

    // The tip under the chart: the shortcut the first time, or why there is none.
    void setShortcutTip(bool show, const QString& notice);
    // Puts the panel on screen and in front, at its level.
    void bringToFront();

Q_SIGNALS:
    // Moved or resized by the user; the manager saves.
    void frameChanged();
    void tipDismissed();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* buildHeader();
    void rebuildMenu();
    void refresh();
    void applyPin();
    QString summaryText() const;
    QString unavailableText() const;

    WidgetModel* m_model;
    Store& m_store;
    WidgetManager& m_manager;
    ChartFocus* m_focus = nullptr;
    ChartView* m_chart = nullptr;
    WidgetReadout* m_readout = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_subtitle = nullptr;
    QToolButton* m_pin = nullptr;
    QToolButton* m_refresh = nullptr;
    QToolButton* m_more = nullptr;
    QMenu* m_menu = nullptr;
    QStackedWidget* m_body = nullptr;
    QLabel* m_headline = nullptr;
    QLabel* m_hint = nullptr;
    QLabel* m_summary = nullptr;
    QLabel* m_status = nullptr;
    QWidget* m_tip = nullptr;
    QLabel* m_tipText = nullptr;
    std::optional<QPoint> m_dragOffset;
};

} // namespace tessary
