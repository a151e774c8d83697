#include "SettingsWindow.h"

#include "AccountSection.h"
#include "FeatureFlagsSection.h"

#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Store/Preferences.h"

#include "Tessary/Views/Rankings/MultiPeriodSettings.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

namespace tessary {

namespace {

const QString accountTitle = QStringLiteral("Account");
const QString periodsTitle = QStringLiteral("Multi-period grid");
const QString updatesTitle = QStringLiteral("Updates");

QGroupBox* section(const QString& title, QWidget* content, QWidget* parent)
{
    auto* box = new QGroupBox(title, parent);
    auto* layout = new QVBoxLayout(box);
    layout->addWidget(content);
    return box;
}

} // namespace

SettingsWindow::SettingsWindow(
    AccountService& account, MultiPeriodChoice& periods, Preferences& preferences, QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("settingsWindow"));
    setWindowTitle(title.toString());
    auto* layout = new QVBoxLayout(this);
    m_account = new AccountSection(account);
    m_periods = new MultiPeriodSettings(periods);
    layout->addWidget(section(accountTitle, m_account, this));
    layout->addWidget(section(periodsTitle, m_periods, this));
    m_checkUpdates = new QCheckBox(checkUpdatesText.toString());
    m_checkUpdates->setObjectName(QStringLiteral("checkUpdates"));
    m_checkUpdates->setChecked(preferences.checksForUpdates());
    connect(
        m_checkUpdates, &QCheckBox::toggled, this, [&preferences](bool on) { preferences.setChecksForUpdates(on); });
    layout->addWidget(section(updatesTitle, m_checkUpdates, this));
    FeatureFlags& flags = FeatureFlags::shared();
    if (flags.isDevApp()) {
        m_flags = new FeatureFlagsSection(flags);
        layout->addWidget(section(FeatureFlagsSection::title.toString(), m_flags, this));
    }
    m_hotKeyNotice = new QLabel(this);
    m_hotKeyNotice->setObjectName(QStringLiteral("hotKeyNotice"));
    m_hotKeyNotice->setWordWrap(true);
    m_hotKeyNotice->setForegroundRole(QPalette::PlaceholderText);
    m_hotKeyNotice->hide();
    layout->addWidget(m_hotKeyNotice);
    layout->addStretch(1);
    resize(560, sizeHint().height());
}

void SettingsWindow::setHotKeyNotice(const QString& notice)
{
    m_hotKeyNotice->setText(notice);
    m_hotKeyNotice->setVisible(!notice.isEmpty());
}

} // namespace tessary
