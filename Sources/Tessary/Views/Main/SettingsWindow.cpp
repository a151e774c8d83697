#include "SettingsWindow.h"

#include "AccountSection.h"

#include "Tessary/Views/Rankings/MultiPeriodSettings.h"

#include <QGroupBox>
#include <QVBoxLayout>

namespace tessary {

namespace {

const QString accountTitle = QStringLiteral("Account");
const QString periodsTitle = QStringLiteral("Multi-period grid");

QGroupBox* section(const QString& title, QWidget* content, QWidget* parent)
{
    auto* box = new QGroupBox(title, parent);
    auto* layout = new QVBoxLayout(box);
    layout->addWidget(content);
    return box;
}

} // namespace

SettingsWindow::SettingsWindow(AccountService& account, MultiPeriodChoice& periods, QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("settingsWindow"));
    setWindowTitle(title.toString());
    auto* layout = new QVBoxLayout(this);
    m_account = new AccountSection(account);
    m_periods = new MultiPeriodSettings(periods);
    layout->addWidget(section(accountTitle, m_account, this));
    layout->addWidget(section(periodsTitle, m_periods, this));
    layout->addStretch(1);
    resize(560, sizeHint().height());
}

} // namespace tessary
