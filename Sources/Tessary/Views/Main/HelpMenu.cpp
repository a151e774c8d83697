#include "HelpMenu.h"

#include "UpdateWindow.h"

#include "Tessary/Shell/Support.h"
#include "Tessary/Shell/UpdateCheck.h"
#include "Tessary/Store/Store.h"

#include <QAction>
#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QMenu>

namespace tessary {

HelpMenu::HelpMenu(QMenu& menu, Store& store, const Environment& environment, QWidget& window)
    : QObject(&menu)
    , m_store(store)
    , m_window(window)
    , m_feed(environment.updateFeed)
    , m_address(environment.supportAddress.value_or(Support::defaultAddress.toString()))
{
    m_tour = menu.addAction(tourText.toString());
    menu.addSeparator();
    menu.addAction(checkUpdatesText.toString(), this, [this] { checkForUpdates(false); });
    menu.addSeparator();
    menu.addAction(contactText.toString(), this, &HelpMenu::writeToSupport);
    menu.addAction(emailText.toString(), this, &HelpMenu::writeToSupport);
    menu.addAction(copyAddressText.toString(), this, [this] { QGuiApplication::clipboard()->setText(m_address); });
}

std::optional<QUrl> HelpMenu::updateFeed() const
{
    if (m_feed)
        return m_feed;
    if (m_store.webBase().isEmpty())
        return std::nullopt;
    return UpdateFeed::defaultUrl(m_store.webBase());
}

void HelpMenu::checkIfAllowed()
{
    if (m_store.preferences().checksForUpdates())
        checkForUpdates(true);
}

void HelpMenu::checkForUpdates(bool quiet)
{
    if (!m_updates)
        m_updates = new UpdateWindow(&m_window);
    m_updates->check(updateFeed(), quiet);
}

void HelpMenu::writeToSupport() const
{
    QDesktopServices::openUrl(Support::mailto(m_address, Support::versionLine()));
}

} // namespace tessary
