#include "TessaryServer/Data/MarketRegimes.h"

#include <initializer_list>
#include <utility>

namespace tessary::server::demo {

namespace {

constexpr int f(Factor factor)
{
    return static_cast<int>(factor);
}

enum Sector {
    tech,
    communication,
    discretionary,
    staples,
    health,
    financials,
    industrials,
    energy,
    utilities,
    realEstate,
    materials
};

constexpr int s(Sector sector)
{
    return f(Factor::firstSector) + sector;
}

MarketRegime regime(
    const char* start, const char* end, double volatility, std::initializer_list<std::pair<int, double>> moves)
{
    MarketRegime result { QDate::fromString(QString::fromLatin1(start), Qt::ISODate),
        QDate::fromString(QString::fromLatin1(end), Qt::ISODate), volatility, {} };
    for (const auto& [factor, move] : moves)
        result.moves[factor] = move;
    return result;
}

} // namespace

const std::vector<MarketRegime>& marketRegimes()
{
    constexpr int market = f(Factor::market), size = f(Factor::size), intl = f(Factor::international),
                  emerging = f(Factor::emerging), bonds = f(Factor::bonds), longBonds = f(Factor::longBonds),
                  gold = f(Factor::gold), oil = f(Factor::oil), crypto = f(Factor::crypto);
    // The big episodes, roughly as they happened; the usual drift and the noise come on top.
    static const std::vector<MarketRegime> regimes {
        regime("1985-01-02", "1987-08-25", 1.0, { { market, 0.45 }, { intl, 0.5 } }),
        regime("1987-08-26", "1987-10-16", 1.8, { { market, -0.17 }, { intl, -0.1 } }),
        regime("1987-10-19", "1987-10-19", 5.0, { { market, -0.21 }, { intl, -0.12 }, { size, -0.04 } }),
        regime("1987-10-20", "1987-12-31", 2.2, { { market, 0.03 } }),
        regime(
            "1990-07-17", "1990-10-11", 1.5, { { market, -0.2 }, { s(energy), 0.15 }, { oil, 0.7 }, { size, -0.08 } }),
        regime("1990-10-12", "1991-03-01", 1.2, { { oil, -0.8 }, { market, 0.12 } }),
        regime("1991-01-02", "1993-12-31", 0.8, { { market, 0.12 }, { s(health), 0.1 } }),
        regime("1994-02-01", "1994-11-30", 1.0, { { bonds, -0.09 }, { longBonds, -0.2 } }),
        regime("1995-01-03", "2000-03-24", 1.1,
            { { market, 0.55 }, { s(tech), 0.9 }, { s(communication), 0.35 }, { emerging, -0.3 }, { gold, -0.35 } }),
        regime("1997-10-27", "1997-10-27", 3.0, { { market, -0.07 }, { emerging, -0.08 } }),
        regime("1998-07-17", "1998-10-08", 2.0,
            { { market, -0.22 }, { size, -0.1 }, { emerging, -0.35 }, { bonds, 0.03 } }),
        regime("2000-03-27", "2002-10-09", 1.6,
            { { market, -0.75 }, { s(tech), -1.05 }, { s(communication), -0.6 }, { s(energy), 0.25 },
                { s(staples), 0.2 }, { s(realEstate), 0.25 }, { bonds, 0.12 }, { longBonds, 0.15 }, { gold, 0.12 },
                { size, 0.2 } }),
        regime("2001-09-17", "2001-09-21", 3.5, { { market, -0.12 }, { s(industrials), -0.08 } }),
        regime("2003-03-12", "2007-10-09", 0.8,
            { { market, 0.25 }, { s(energy), 0.55 }, { s(financials), 0.1 }, { s(realEstate), 0.3 }, { gold, 0.55 },
                { oil, 0.9 }, { emerging, 0.9 }, { intl, 0.3 } }),
        regime("2007-10-10", "2009-03-09", 2.4,
            { { market, -0.92 }, { s(financials), -1.0 }, { s(realEstate), -0.6 }, { s(discretionary), -0.2 },
                { s(staples), 0.25 }, { s(health), 0.15 }, { bonds, 0.06 }, { longBonds, 0.2 }, { gold, 0.2 },
                { oil, -0.4 }, { emerging, -0.2 }, { intl, -0.15 } }),
        regime("2009-03-10", "2009-12-31", 1.5,
            { { market, 0.45 }, { s(financials), 0.35 }, { oil, 0.6 }, { emerging, 0.3 } }),
        regime(
            "2011-07-22", "2011-10-03", 2.0, { { market, -0.22 }, { intl, -0.1 }, { longBonds, 0.2 }, { gold, 0.1 } }),
        regime("2011-09-06", "2015-12-17", 0.9, { { gold, -0.55 }, { emerging, -0.35 }, { intl, -0.2 } }),
        regime("2012-06-04", "2014-12-31", 0.7, { { market, 0.25 }, { s(health), 0.1 } }),
        regime("2016-11-09", "2018-01-26", 0.6, { { market, 0.2 }, { s(financials), 0.1 } }),
        regime("2019-01-02", "2019-12-31", 0.8, { { market, 0.18 }, { s(tech), 0.15 } }),
        regime("2013-05-22", "2013-09-05", 1.1, { { bonds, -0.04 }, { longBonds, -0.12 } }),
        regime("2014-06-20", "2016-02-11", 1.2, { { oil, -1.25 }, { s(energy), -0.55 }, { s(materials), -0.15 } }),
        regime("2015-08-18", "2015-08-25", 3.0, { { market, -0.1 }, { emerging, -0.08 } }),
        regime("2017-01-03", "2017-12-15", 0.6, { { crypto, 2.4 }, { s(tech), 0.15 } }),
        regime("2017-12-18", "2018-12-14", 1.2, { { crypto, -1.7 } }),
        regime(
            "2018-10-01", "2018-12-24", 1.8, { { market, -0.22 }, { s(tech), -0.06 }, { size, -0.05 }, { oil, -0.4 } }),
        regime("2018-12-26", "2018-12-26", 3.0, { { market, 0.05 } }),
        regime("2020-02-20", "2020-03-23", 5.0,
            { { market, -0.42 }, { s(energy), -0.55 }, { s(financials), -0.15 }, { s(realEstate), -0.15 },
                { s(industrials), -0.1 }, { s(tech), 0.05 }, { oil, -1.2 }, { size, -0.12 }, { longBonds, 0.18 },
                { crypto, -0.5 } }),
        regime("2020-03-24", "2021-12-31", 1.3,
            { { market, 0.55 }, { s(tech), 0.22 }, { s(discretionary), 0.15 }, { s(energy), 0.5 }, { oil, 1.3 },
                { crypto, 2.0 }, { size, 0.15 }, { longBonds, -0.15 } }),
        regime("2021-01-25", "2021-02-05", 2.0, { { size, 0.06 } }),
        regime("2022-01-03", "2022-10-12", 1.6,
            { { market, -0.38 }, { s(tech), -0.12 }, { s(communication), -0.25 }, { s(discretionary), -0.15 },
                { s(energy), 0.6 }, { s(staples), 0.1 }, { s(utilities), 0.1 }, { bonds, -0.18 }, { longBonds, -0.4 },
                { crypto, -1.2 }, { oil, 0.3 }, { intl, -0.1 }, { emerging, -0.15 } }),
        regime("2023-01-03", "2024-12-31", 0.9,
            { { market, 0.12 }, { s(tech), 0.38 }, { s(communication), 0.3 }, { s(energy), -0.15 }, { crypto, 1.3 },
                { gold, 0.35 } }),
        regime("2023-03-08", "2023-03-20", 1.6, { { s(financials), -0.2 }, { size, -0.05 }, { bonds, 0.02 } }),
        regime("2025-04-02", "2025-04-08", 4.0,
            { { market, -0.14 }, { s(tech), -0.04 }, { size, -0.04 }, { oil, -0.15 } }),
        regime("2025-04-09", "2025-04-09", 4.0, { { market, 0.09 }, { s(tech), 0.03 } }),
        regime("2025-04-10", "2025-12-31", 1.0, { { market, 0.12 }, { s(tech), 0.1 }, { gold, 0.3 } }),
        regime("2026-01-28", "2026-03-30", 1.8,
            { { market, -0.12 }, { s(energy), 0.15 }, { oil, 0.3 }, { gold, 0.08 }, { s(industrials), 0.03 } }),
        regime("2026-03-31", "2026-04-15", 1.4, { { market, 0.08 }, { oil, -0.15 } }),
    };
    return regimes;
}

const std::array<SectorTraits, sectorCount>& sectorTraits()
{
    static const std::array<SectorTraits, sectorCount> traits { {
        { "Information Technology", 1.2, 0.10, 0.008 },
        { "Communication Services", 1.0, 0.09, 0.012 },
        { "Consumer Discretionary", 1.1, 0.08, 0.010 },
        { "Consumer Staples", 0.65, 0.07, 0.026 },
        { "Health Care", 0.8, 0.08, 0.016 },
        { "Financials", 1.1, 0.09, 0.024 },
        { "Industrials", 1.05, 0.07, 0.019 },
        { "Energy", 0.9, 0.18, 0.034 },
        { "Utilities", 0.5, 0.10, 0.034 },
        { "Real Estate", 0.85, 0.11, 0.038 },
        { "Materials", 1.0, 0.10, 0.020 },
    } };
    return traits;
}

int sectorIndex(const std::optional<QString>& sector)
{
    if (!sector)
        return -1;
    for (int i = 0; i < sectorCount; ++i)
        if (*sector == QLatin1String(sectorTraits()[i].name))
            return i;
    return -1;
}

} // namespace tessary::server::demo
