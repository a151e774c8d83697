#pragma once

#include "TessaryWire/Timeframe.h"

#include <QObject>

#include <vector>

namespace tessary {

class Preferences;

// The periods the multi-period grid shows, shared by its menu, its chips and Settings. Every
// change is written to the preferences before the signal goes out, so a crash right after a
// click still keeps the choice.
class MultiPeriodChoice : public QObject {
    Q_OBJECT

public:
    explicit MultiPeriodChoice(Preferences& preferences, QObject* parent = nullptr);

    const std::vector<Timeframe>& periods() const { return m_periods; }
    bool contains(Timeframe period) const;
    void setPeriods(std::vector<Timeframe> periods);
    // Adds or removes one period; the last one shown stays, since an empty grid says nothing.
    void toggle(Timeframe period);
    void resetToDefaults();

Q_SIGNALS:
    void periodsChanged(const std::vector<Timeframe>& periods);

private:
    Preferences& m_preferences;
    std::vector<Timeframe> m_periods;
};

} // namespace tessary
