#include "MultiPeriodSettings.h"

#include "MultiPeriodChoice.h"
#include "MultiPeriodMenu.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tessary {

namespace {

constexpr int boxesPerRow = 6;

} // namespace

MultiPeriodSettings::MultiPeriodSettings(MultiPeriodChoice& choice, QWidget* parent)
    : QWidget(parent)
    , m_choice(choice)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(QStringLiteral("Periods in the multi-period grid"), this));
    auto* grid = new QGridLayout;
    for (const Timeframe period : Timeframes::all()) {
        auto* box = new QCheckBox(Timeframes::rawValue(period), this);
        const int index = static_cast<int>(m_boxes.size());
        grid->addWidget(box, index / boxesPerRow, index % boxesPerRow);
        connect(box, &QCheckBox::clicked, this, [this, period] {
            m_choice.toggle(period);
            refreshChecks();
        });
        m_boxes.append(box);
    }
    layout->addLayout(grid);
    auto* reset = new QPushButton(MultiPeriodMenu::resetText.toString(), this);
    connect(reset, &QPushButton::clicked, &m_choice, &MultiPeriodChoice::resetToDefaults);
    layout->addWidget(reset, 0, Qt::AlignLeft);
    connect(&m_choice, &MultiPeriodChoice::periodsChanged, this, &MultiPeriodSettings::refreshChecks);
    refreshChecks();
}

void MultiPeriodSettings::refreshChecks()
{
    for (const Timeframe period : Timeframes::all())
        box(period)->setChecked(m_choice.contains(period));
}

} // namespace tessary
