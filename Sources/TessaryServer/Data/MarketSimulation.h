#pragma once

#include <QDate>

#include <array>
#include <vector>

#include "TessaryServer/Data/DemoUniverse.h"
#include "TessaryServer/MarketReader.h"

namespace tessary::server::demo {

// The common drivers of the demo market; sectors follow the general ones in `Factor` order.
enum class Factor { market, size, international, emerging, bonds, longBonds, gold, oil, crypto, cash, firstSector };
inline constexpr int sectorCount = 11;
inline constexpr int factorCount = static_cast<int>(Factor::firstSector) + sectorCount;

// The simulated market: daily log returns of the common factors on every session from
// `firstDay` on, and from them each symbol's closes. Everything is a pure function of the
// seed and the dates, so a longer simulation agrees with a shorter one on their common days.
class MarketSimulation {
public:
    MarketSimulation(quint64 seed, QDate firstDay, QDate lastDay);

    const std::vector<QDate>& sessions() const { return m_sessions; }
    QDate lastDay() const { return m_lastDay; }

    // The symbol's bars from its first session to `lastDay`. Adjusted closes equal the closes
    // on a fixed reference day and carry every later dividend and split from there.
    DailyHistory dailyHistory(const DemoSymbol& symbol) const;
    // 15-minute bars of the last `sessions` sessions of `daily`, each session ending at its close.
    IntradayHistory intradayHistory(const DemoSymbol& symbol, const DailyHistory& daily, int sessions) const;

private:
    double factorReturn(int factor, std::size_t session) const { return m_factors[factor][session]; }

    quint64 m_seed;
    QDate m_lastDay;
    std::vector<QDate> m_sessions; // through max(lastDay, reference day)
    std::size_t m_lastIndex = 0; // index of the last session on or before lastDay
    std::vector<double> m_volatility; // regime volatility multiplier per session
    std::array<std::vector<double>, factorCount> m_factors;
};

} // namespace tessary::server::demo
