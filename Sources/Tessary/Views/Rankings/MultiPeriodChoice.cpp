#include "MultiPeriodChoice.h"

#include <algorithm>

#include "Tessary/Model/MultiPeriods.h"
#include "Tessary/Store/Preferences.h"

namespace tessary {

MultiPeriodChoice::MultiPeriodChoice(Preferences& preferences, QObject* parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_periods(MultiPeriods::decode(preferences.multiPeriods()))
{
}

bool MultiPeriodChoice::contains(Timeframe period) const
{
    return std::find(m_periods.begin(), m_periods.end(), period) != m_periods.end();
}

void MultiPeriodChoice::setPeriods(std::vector<Timeframe> periods)
{
    // The stored form is canonical; reading it back gives the order every view uses.
    const QString encoded = MultiPeriods::encode(periods);
    std::vector<Timeframe> canonical = MultiPeriods::decode(encoded);
    m_preferences.setMultiPeriods(MultiPeriods::encode(canonical));
    if (canonical == m_periods)
        return;
    m_periods = std::move(canonical);
    Q_EMIT periodsChanged(m_periods);
}

void MultiPeriodChoice::toggle(Timeframe period)
{
    std::vector<Timeframe> next = m_periods;
    if (contains(period)) {
        if (next.size() == 1)
            return;
        std::erase(next, period);
    } else {
        next.push_back(period);
    }
    setPeriods(std::move(next));
}

void MultiPeriodChoice::resetToDefaults()
{
    setPeriods(MultiPeriods::defaults());
}

} // namespace tessary
