#pragma once

#include "Tessary/Shell/Environment.h"

#include <QObject>

class QAction;
class QMenu;
class QWidget;

namespace tessary {

class Store;
class UpdateWindow;

// The Help menu's commands: the tour, the update check and the ways to reach support.
class HelpMenu : public QObject {
    Q_OBJECT

public:
    static constexpr QStringView tourText = u"Tessary Tour";
    static constexpr QStringView checkUpdatesText = u"Check for Updates…";
    static constexpr QStringView contactText = u"Contact Support…";
    static constexpr QStringView emailText = u"Email Support…";
    static constexpr QStringView copyAddressText = u"Copy email address";

    // Fills `menu`; `window` parents the update window.
    HelpMenu(QMenu& menu, Store& store, const Environment& environment, QWidget& window);

    QAction* tourAction() const { return m_tour; }
    // The update window, once a check has opened it.
    UpdateWindow* updateWindow() const { return m_updates; }
    // The feed the check reads: TESSARY_UPDATE_FEED, or the one below the web origin once
    // the service is connected.
    std::optional<QUrl> updateFeed() const;
    // The start-up check, when the user allowed it in Settings.
    void checkIfAllowed();

private:
    void checkForUpdates(bool quiet);
    void writeToSupport() const;

    Store& m_store;
    QWidget& m_window;
    std::optional<QUrl> m_feed;
    QString m_address;
    QAction* m_tour = nullptr;
    UpdateWindow* m_updates = nullptr;
};

} // namespace tessary
