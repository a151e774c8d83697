#include "MultiPeriodChips.h"

#include "MultiPeriodChoice.h"
#include "MultiPeriodMenu.h"

#include <QHBoxLayout>
#include <QToolButton>

namespace tessary {

MultiPeriodChips::MultiPeriodChips(MultiPeriodChoice& choice, QWidget* parent)
    : QWidget(parent)
    , m_choice(choice)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    m_row = new QHBoxLayout;
    m_row->setSpacing(4);
    layout->addLayout(m_row);
    layout->addStretch(1);
    m_menu = new MultiPeriodMenu(choice, this);
    m_menuButton = new QToolButton(this);
    m_menuButton->setText(QStringLiteral("Periods"));
    m_menuButton->setToolTip(QStringLiteral("Choose the periods the grid compares"));
    m_menuButton->setMenu(m_menu);
    m_menuButton->setPopupMode(QToolButton::InstantPopup);
    layout->addWidget(m_menuButton);
    connect(&m_choice, &MultiPeriodChoice::periodsChanged, this, &MultiPeriodChips::rebuild);
    rebuild();
}

void MultiPeriodChips::rebuild()
{
    qDeleteAll(m_chips);
    m_chips.clear();
    for (const Timeframe period : m_choice.periods()) {
        auto* chip = new QToolButton(this);
        chip->setText(Timeframes::rawValue(period));
        chip->setAutoRaise(true);
        chip->setToolTip(QStringLiteral("Sort by %1").arg(Timeframes::rawValue(period)));
        connect(chip, &QToolButton::clicked, this, [this, period] { Q_EMIT periodClicked(period); });
        m_row->addWidget(chip);
        m_chips.append(chip);
    }
}

} // namespace tessary
