#pragma once

#include <QDateTime>
#include <QHashFunctions>
#include <QString>

#include <optional>
#include <span>
#include <vector>

namespace tessary {

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
};

struct ScenarioGroup {
    QString title;
    std::vector<Scenario> scenarios;
};

size_t qHash(const Scenario& scenario, size_t seed = 0);

} // namespace tessary
