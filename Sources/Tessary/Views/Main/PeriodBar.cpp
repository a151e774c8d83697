#include "PeriodBar.h"

#include "Tessary/Store/Store.h"
#include "TessaryWire/MarketTime.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDateEdit>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QWidgetAction>

#include <algorithm>

namespace tessary {

namespace {

const QString moreText = QStringLiteral("More");
const QString scenariosText = QStringLiteral("Scenarios");
const QString customText = QStringLiteral("Custom…");
const QString logScaleText = QStringLiteral("Log scale");

QToolButton* menuButton(const QString& text, QWidget* parent)
{
    auto* button = new QToolButton(parent);
    button->setText(text);
    button->setPopupMode(QToolButton::InstantPopup);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setCheckable(true);
    button->setAutoRaise(true);
    return button;
}

} // namespace

PeriodBar::PeriodBar(Store& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
{
    setObjectName(QStringLiteral("periodBar"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);

    m_presets = new QButtonGroup(this);
    m_presets->setExclusive(false); // a scenario or range leaves every preset unchecked
    for (const Timeframe timeframe : Timeframes::primary()) {
        auto* button = new QToolButton(this);
        button->setText(Timeframes::rawValue(timeframe));
        button->setCheckable(true);
        button->setAutoRaise(true);
        button->setObjectName(QStringLiteral("preset-") + Timeframes::rawValue(timeframe));
        connect(button, &QToolButton::clicked, this, [this, timeframe] { m_store.setTimeframe(timeframe); });
        m_presets->addButton(button);
        m_presetButtons.emplace(timeframe, button);
        layout->addWidget(button);
    }

    m_more = menuButton(moreText, this);
    auto* moreMenu = new QMenu(m_more);
    const auto primary = Timeframes::primary();
    for (const Timeframe timeframe : Timeframes::all()) {
        if (std::find(primary.begin(), primary.end(), timeframe) != primary.end())
            continue;
        moreMenu->addAction(
            Timeframes::rawValue(timeframe), this, [this, timeframe] { m_store.setTimeframe(timeframe); });
    }
    m_more->setMenu(moreMenu);
    layout->addWidget(m_more);

    m_scenarios = menuButton(scenariosText, this);
    auto* scenarioMenu = new QMenu(m_scenarios);
    for (const ScenarioGroup& group : Scenario::groups()) {
        scenarioMenu->addSection(group.title);
        for (const Scenario& scenario : group.scenarios) {
            const QString id = scenario.id;
            QAction* action = scenarioMenu->addAction(scenario.label, this, [this, id] { m_store.setScenario(id); });
            action->setToolTip(scenario.start + QStringLiteral(" – ") + scenario.end.value_or(QStringLiteral("today")));
        }
    }
    m_scenarios->setMenu(scenarioMenu);
    layout->addWidget(m_scenarios);

    m_custom = menuButton(customText, this);
    buildCustomRangeMenu();
    layout->addWidget(m_custom);

    m_label = new QLabel(this);
    m_label->setObjectName(QStringLiteral("periodLabel"));
    QFont bold = m_label->font();
    bold.setBold(true);
    m_label->setFont(bold);
    layout->addSpacing(12);
    layout->addWidget(m_label);
    layout->addStretch(1);

    m_logScale = new QCheckBox(logScaleText, this);
    m_logScale->setToolTip(logScaleText + QStringLiteral(" (Shift+Ctrl+L)"));
    connect(m_logScale, &QCheckBox::toggled, &m_store, &Store::setLogScale);
    layout->addWidget(m_logScale);

    connect(&m_store, &Store::selectionChanged, this, &PeriodBar::refresh);
    connect(&m_store, &Store::comparisonInputsChanged, this, &PeriodBar::refresh);
    connect(&m_store, &Store::logScaleChanged, this, &PeriodBar::refresh);
    refresh();
}

void PeriodBar::buildCustomRangeMenu()
{
    // A small form in the menu itself, so choosing a range is one popup, not a dialog.
    auto* menu = new QMenu(m_custom);
    auto* form = new QWidget(menu);
    auto* layout = new QFormLayout(form);
    auto* start = new QDateEdit(form);
    auto* end = new QDateEdit(form);
    for (QDateEdit* edit : { start, end }) {
        edit->setCalendarPopup(true);
        edit->setDisplayFormat(QString::fromLatin1(MarketTime::dateFormat));
        edit->setMinimumDate(QDate(1970, 1, 1));
    }
    auto* untilToday = new QCheckBox(QStringLiteral("Up to today"), form);
    untilToday->setChecked(true);
    end->setEnabled(false);
    connect(untilToday, &QCheckBox::toggled, end, [end](bool on) { end->setEnabled(!on); });
    auto* apply = new QPushButton(QStringLiteral("Show range"), form);
    layout->addRow(QStringLiteral("From"), start);
    layout->addRow(QStringLiteral("To"), end);
    layout->addRow(QString(), untilToday);
    layout->addRow(QString(), apply);
    auto* action = new QWidgetAction(menu);
    action->setDefaultWidget(form);
    menu->addAction(action);
    m_custom->setMenu(menu);

    connect(menu, &QMenu::aboutToShow, this, [this, start, end, untilToday] {
        const QDate today = MarketTime::dateOf(QDateTime::currentDateTimeUtc());
        const ListPeriod period = m_store.selectedPeriod();
        start->setDate(MarketTime::parseDate(period.rangeStart.value_or(QString())).value_or(today.addYears(-1)));
        const auto endDate = MarketTime::parseDate(period.rangeEnd.value_or(QString()));
        end->setDate(endDate.value_or(today));
        untilToday->setChecked(!endDate);
    });
    connect(apply, &QPushButton::clicked, this, [this, menu, start, end, untilToday] {
        QDate from = start->date();
        QDate to = end->date();
        if (!untilToday->isChecked() && to < from)
            std::swap(from, to);
        m_store.setCustomRange(MarketTime::formatDate(from),
            untilToday->isChecked() ? std::nullopt : std::optional(MarketTime::formatDate(to)));
        menu->close();
    });
}

QAbstractButton* PeriodBar::presetButton(Timeframe timeframe) const
{
    const auto it = m_presetButtons.find(timeframe);
    return it == m_presetButtons.end() ? nullptr : it->second;
}

QString PeriodBar::periodLabel() const
{
    return m_label->text();
}

void PeriodBar::refresh()
{
    const ListPeriod period = m_store.selectedPeriod();
    const bool presetActive = !period.rangeStart;
    for (const auto& [timeframe, button] : m_presetButtons)
        button->setChecked(presetActive && timeframe == period.preset);
    const auto primary = Timeframes::primary();
    m_more->setChecked(presetActive && std::find(primary.begin(), primary.end(), period.preset) == primary.end());
    m_scenarios->setChecked(period.activeScenario() != nullptr);
    m_custom->setChecked(period.isCustomRange());

    QString label = period.label();
    if (const auto range = period.effectiveRange(); range && !period.activeScenario())
        label += QStringLiteral(" · %1 – %2").arg(range->start, range->end);
    m_label->setText(label);

    const QSignalBlocker blocker(m_logScale);
    m_logScale->setChecked(m_store.logScale());
    setEnabled(m_store.selection().has_value());
}

} // namespace tessary
