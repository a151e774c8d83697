#include "ListPeriod.h"

#include <QRegularExpression>

namespace tessary {

namespace {

const QString customRangeLabel = QStringLiteral("Custom range");
const QString unknownScenarioLabel = QStringLiteral("Scenario");

} // namespace

ListPeriod ListPeriod::forScenario(const Scenario& scenario, Timeframe preset)
{
    return ListPeriod { preset, scenario.id, scenario.start, scenario.end };
}

ListPeriod ListPeriod::forRange(QString start, std::optional<QString> end, Timeframe preset)
{
    return ListPeriod { preset, std::nullopt, std::move(start), std::move(end) };
}

const Scenario* ListPeriod::activeScenario() const
{
    if (!rangeStart || !scenario)
        return nullptr;
    return Scenario::find(*scenario);
}

bool ListPeriod::isCustomRange() const
{
    return rangeStart && !activeScenario();
}

QString ListPeriod::label() const
{
    if (const Scenario* active = activeScenario())
        return stripParenthesisedSuffix(active->label);
    if (rangeStart)
        return scenario ? unknownScenarioLabel : customRangeLabel;
    return Timeframes::rawValue(preset);
}

std::optional<ClampedRange> ListPeriod::effectiveRange(const QDateTime& now) const
{
    if (!rangeStart)
        return std::nullopt;
    if (const Scenario* active = activeScenario())
        return clampRange(active->start, active->end, maxRangeYears, now);
    return clampRange(*rangeStart, rangeEnd, maxRangeYears, now);
}

QString stripParenthesisedSuffix(const QString& label)
{
    static const QRegularExpression suffix(QStringLiteral(R"(\s*\([^)]*\)\s*$)"));
    QString stripped = label;
    return stripped.remove(suffix);
}

size_t qHash(const ListPeriod& period, size_t seed)
{
    const auto optionalText = [](const std::optional<QString>& text) { return text ? u'+' + *text : QString(); };
    return qHashMulti(seed, Timeframes::rawValue(period.preset), optionalText(period.scenario),
        optionalText(period.rangeStart), optionalText(period.rangeEnd));
}

} // namespace tessary
