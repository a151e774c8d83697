#include "Scenario.h"

namespace tessary {

namespace {

Scenario closed(const char* id, const char* label, const char* start, const char* end)
{
    return { QString::fromUtf8(id), QString::fromUtf8(label), QString::fromLatin1(start), QString::fromLatin1(end) };
}

const std::vector<ScenarioGroup>& table()
{
    // Consecutive episodes share their turning day on purpose: a crash ends where the
    // recovery that follows it begins.
    static const std::vector<ScenarioGroup> groups = {
        { QStringLiteral("Corrections and Crisis"),
            {
                closed("ltcm-crisis", "LTCM Crisis (1998)", "1998-08-01", "1998-10-15"),
                closed("dotcom-bust", "Dot-com Bust (2000-2002)", "2000-03-10", "2002-10-09"),
                closed("911-reaction", "9/11 Market Reaction", "2001-09-10", "2001-09-21"),
                closed("financial-crisis", "Financial Crisis (2007-2009)", "2007-10-09", "2009-03-09"),
                closed("brexit", "Brexit Vote (Jun 2016)", "2016-06-20", "2016-07-08"),
                closed("q4-2018", "Q4 2018 Selloff", "2018-10-01", "2018-12-24"),
                closed("covid-crash", "COVID Crash (Feb-Mar 2020)", "2020-02-19", "2020-03-23"),
                closed("2022-bear", "2022 Bear Market", "2022-01-01", "2022-10-13"),
                closed("banking-crisis-2023", "2023 Banking Crisis", "2023-03-08", "2023-03-20"),
                closed("liberation-day", "Liberation Day Crash (Apr 2025)", "2025-04-02", "2025-04-08"),
                closed("iran-war-correction", "Iran War Correction (Jan-Mar 2026)", "2026-01-28", "2026-03-30"),
            } },
        { QStringLiteral("Bull Periods"),
            {
                closed("dotcom-boom", "Dot-com Boom (1995-2000)", "1995-01-01", "2000-03-10"),
                closed("housing-boom", "Housing Boom (2003-2007)", "2003-01-01", "2007-10-09"),
                closed("recovery", "Bull Market (2009-2020)", "2009-03-09", "2020-02-19"),
                closed("faang-era", "FAANG Dominance (2013-2021)", "2013-01-01", "2021-12-31"),
                closed("covid-recovery", "COVID Recovery (2020-2021)", "2020-03-23", "2021-12-31"),
                { QStringLiteral("ai-boom"), QStringLiteral("AI Boom (2023-Present)"), QStringLiteral("2023-01-01"),
                    std::nullopt },
                closed("iran-war-recovery", "Iran War Recovery (Mar-Apr 2026)", "2026-03-30", "2026-04-15"),
            } },
        { QStringLiteral("Mixed Periods"),
            {
                closed("meme-stocks", "Meme Stock Mania (Jan 2021)", "2021-01-11", "2021-02-05"),
                closed("rate-hikes", "Rate Hike Cycle (2022-2023)", "2022-03-16", "2023-07-26"),
            } },
    };
    return groups;
}

const std::vector<Scenario>& flatTable()
{
    static const std::vector<Scenario> flat = [] {
        std::vector<Scenario> all;
        for (const auto& group : table())
            all.insert(all.end(), group.scenarios.begin(), group.scenarios.end());
        return all;
    }();
    return flat;
}

} // namespace

std::span<const ScenarioGroup> Scenario::groups()
{
    return table();
}

std::span<const Scenario> Scenario::all()
{
    return flatTable();
}

const Scenario* Scenario::find(QStringView id)
{
    for (const auto& scenario : flatTable()) {
        if (scenario.id == id)
            return &scenario;
    }
    return nullptr;
}

size_t qHash(const Scenario& scenario, size_t seed)
{
    return qHashMulti(
        seed, scenario.id, scenario.label, scenario.start, scenario.end.value_or(QString()), scenario.end.has_value());
}

} // namespace tessary
