#include "MultiPeriodMenu.h"

#include "MultiPeriodChoice.h"

namespace tessary {

MultiPeriodMenu::MultiPeriodMenu(MultiPeriodChoice& choice, QWidget* parent)
    : QMenu(QStringLiteral("Periods"), parent)
    , m_choice(choice)
{
    for (const Timeframe period : Timeframes::all()) {
        QAction* action = addAction(Timeframes::rawValue(period));
        action->setCheckable(true);
        connect(action, &QAction::triggered, this, [this, period] {
            m_choice.toggle(period);
            refreshChecks();
        });
        m_toggles.append(action);
    }
    addSeparator();
    addAction(resetText.toString(), this, [this] { m_choice.resetToDefaults(); });
    connect(&m_choice, &MultiPeriodChoice::periodsChanged, this, &MultiPeriodMenu::refreshChecks);
    refreshChecks();
}

void MultiPeriodMenu::refreshChecks()
{
    // Also after a refused toggle (the last period), which changes nothing but has already
    // flipped the action's own check mark.
    for (std::size_t i = 0; i < Timeframes::all().size(); ++i)
        m_toggles[static_cast<qsizetype>(i)]->setChecked(m_choice.contains(Timeframes::all()[i]));
}

} // namespace tessary
