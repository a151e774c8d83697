#pragma once

#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/SidebarItem.h"
#include "TessaryWire/Timeframe.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QRect>
#include <QTimer>
#include <QUuid>

#include <chrono>
#include <optional>
#include <vector>

namespace tessary {

class FeatureFlags;
class GlobalHotKey;
class Store;
class WidgetPanel;

// Owns every floating widget: opens them, keeps their configurations across launches, brings
// them all forward on the global shortcut, and follows the "floatingWidget" flag.
class WidgetManager : public QObject {
    Q_OBJECT

public:
    // One widget as saved under "floatingWidgets".
    struct Config {
        SidebarItem item;
        Timeframe timeframe = defaultTimeframe;
        int topN = 10;
        bool pinned = true;
        QRect frame;

        friend bool operator==(const Config&, const Config&) = default;
    };
    static QByteArray encode(const std::vector<Config>& configs);
    // Entries that cannot be read are left out; a document that is not a JSON array gives none.
    static std::vector<Config> decode(const QByteArray& json);

    struct Options {
        bool saves = true; // false in snapshot mode: nothing is written
        std::chrono::milliseconds refreshInterval = std::chrono::minutes(5);
        bool grabHotKey = true;
        // The flag that switches the widgets on and off; another one only in tests, since
        // this one is released to everybody and cannot be turned off.
        Feature feature = Feature::floatingWidget;
    };

    WidgetManager(Store& store, FeatureFlags& flags, Options options, QObject* parent = nullptr);
    ~WidgetManager() override;

    WidgetPanel* show(const Config& config);
    // A widget for the selected list with its period; none when nothing is selected.
    WidgetPanel* newWidget();
    WidgetPanel* newWidget(const SidebarItem& item, Timeframe timeframe);
    void bringToFront();
    void save();
    void restore();
    void openInApp(const SidebarItem& item);
    void followFeatureFlag();
    // "Close Widget": removes the panel and saves the rest.
    void close(WidgetPanel* panel);

    std::vector<WidgetPanel*> panels() const;
    bool isEnabled() const { return m_enabled; }
    // Why the global shortcut is unavailable; empty while it works or before it was tried.
    QString hotKeyNotice() const;
    void dismissShortcutTip();

Q_SIGNALS:
    // The main window should come forward; the store already selects the widget's list.
    void openInAppRequested();
    void hotKeyNoticeChanged(const QString& notice);
    // The last panel closed: with no main window open either, the app may end.
    void panelsChanged();

private:
    void adopt(const QUuid& id, WidgetPanel* panel);
    void refreshTips();

    Store& m_store;
    FeatureFlags& m_flags;
    Options m_options;
    QHash<QUuid, WidgetPanel*> m_panels;
    std::vector<QUuid> m_order; // opening order, which is the saved order
    GlobalHotKey* m_hotKey = nullptr;
    bool m_enabled = false;
    bool m_restored = false;
    bool m_tipDismissed = false;
    QTimer m_frameSave;
};

} // namespace tessary
