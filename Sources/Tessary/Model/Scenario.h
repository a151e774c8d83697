#pragma once

#include <QDateTime>
#include <QHashFunctions>
#include <QString>

#include <optional>
#include <span>
#include <vector>

namespace tessary {

// The date range actually requested for a scenario or custom range.
struct ClampedRange {
    QString start;
    QString end;
    bool truncated = false;

    friend bool operator==(const ClampedRange&, const ClampedRange&) = default;
};

struct ScenarioGroup;

// A curated market episode. `end` absent means "up to today".
struct Scenario {
    QString id;
    QString label;
    QString start;
    std::optional<QString> end;

    friend bool operator==(const Scenario&, const Scenario&) = default;

    static std::span<const ScenarioGroup> groups();
    // The groups concatenated, in order.
    static std::span<const Scenario> all();
    // First scenario with this id, in table order.
    static const Scenario* find(QStringView id);

    // Oldest history the service is asked for; longer ranges are cut at the start.
    static constexpr int maxYears = 40;

    // Limits a range to `maxYears` before its end. An end that is absent or unreadable means
    // today's market date (New York), taken from `now`.
    static ClampedRange clamp(const QString& start, const std::optional<QString>& end, int maxYears,
                              const QDateTime& now = QDateTime::currentDateTimeUtc());
};

struct ScenarioGroup {
    QString title;
    std::vector<Scenario> scenarios;
};

size_t qHash(const Scenario& scenario, size_t seed = 0);

} // namespace tessary
