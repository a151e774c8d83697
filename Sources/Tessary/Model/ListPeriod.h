#pragma once

#include "Scenario.h"
#include "TessaryWire/ClampedRange.h"
#include "TessaryWire/Timeframe.h"

#include <QDateTime>
#include <QString>

#include <optional>

namespace tessary {

// The period a list remembers: a preset, a curated scenario, or a custom date range.
struct ListPeriod {
    Timeframe preset = defaultTimeframe;
    std::optional<QString> scenario;
    std::optional<QString> rangeStart;
    std::optional<QString> rangeEnd;

    friend bool operator==(const ListPeriod&, const ListPeriod&) = default;

    static ListPeriod forPreset(Timeframe preset) { return ListPeriod { preset, {}, {}, {} }; }
    static ListPeriod forScenario(const Scenario& scenario, Timeframe preset = defaultTimeframe);
    static ListPeriod forRange(QString start, std::optional<QString> end, Timeframe preset = defaultTimeframe);

    // The scenario in force: a range start and a scenario id that is still in the table.
    const Scenario* activeScenario() const;
    bool isCustomRange() const;

    // "Financial Crisis", "Custom range", "1Y"; an id that left the table shows as "Scenario".
    QString label() const;

    // The `start`/`end` to request, or nothing when the preset applies.
    std::optional<ClampedRange> effectiveRange(const QDateTime& now = QDateTime::currentDateTimeUtc()) const;
};

// A scenario label without its trailing parenthesised dates: "Financial Crisis (2007-2009)"
// becomes "Financial Crisis".
QString stripParenthesisedSuffix(const QString& label);

size_t qHash(const ListPeriod& period, size_t seed = 0);

} // namespace tessary
