#include "TessaryServer/Data/MarketSimulation.h"

#include <QTimeZone>

#include <algorithm>
#include <cmath>

#include "TessaryServer/Data/DemoRandom.h"
#include "TessaryServer/Data/MarketRegimes.h"
#include "TessaryServer/Data/TradingCalendar.h"

namespace tessary::server::demo {

namespace {

constexpr double sessionsPerYear = 252;
// Adjusted closes equal the closes on this day: a fixed point, so extending the market later
// never rescales what was stored before.
const QDate referenceDay(2025, 12, 31);
const QDate cryptoStart(2010, 7, 19);

constexpr int f(Factor factor)
{
    return static_cast<int>(factor);
}

struct FactorTraits {
    double drift; // annual log return outside the regimes
    double volatility;
};

FactorTraits factorTraits(int factor, QDate day)
{
    const int year = day.year();
    switch (static_cast<Factor>(factor)) {
    case Factor::market:
        return { 0.075, 0.15 };
    case Factor::size:
        return { 0.0, 0.08 };
    case Factor::international:
        return { -0.01, 0.10 };
    case Factor::emerging:
        return { 0.0, 0.14 };
    // Bond returns follow the level of rates: high in the eighties, near nothing in the 2010s.
    case Factor::bonds:
        return { year < 2000 ? 0.075 : year < 2009 ? 0.05 : year < 2022 ? 0.03 : 0.042, 0.04 };
    case Factor::longBonds:
        return { year < 2000 ? 0.085 : year < 2009 ? 0.06 : year < 2022 ? 0.04 : 0.045, 0.11 };
    case Factor::gold:
        return { 0.03, 0.15 };
    case Factor::oil:
        return { 0.0, 0.33 };
    case Factor::crypto:
        return { day < cryptoStart ? 0.0 : 0.55, day < cryptoStart ? 0.0 : 0.75 };
    case Factor::cash:
        return { year < 2009 ? 0.045 : year < 2017 ? 0.003 : year < 2022 ? 0.012 : year < 2023 ? 0.02 : 0.048, 0.001 };
    case Factor::firstSector:
        break;
    }
    return { 0.0, sectorTraits()[factor - f(Factor::firstSector)].volatility };
}

// How one symbol is driven: weights on the factors, its own noise, dividend yield and drift.
struct Exposure {
    std::array<double, factorCount> weights {};
    double noise = 0.01;
    double yield = 0;
    double alpha = 0;
    bool splits = false;
};

Exposure fundExposure(const QString& profile, int sector)
{
    Exposure e;
    auto w = [&e](Factor factor) -> double& { return e.weights[f(factor)]; };
    auto sectorWeight = [&e](int index) -> double& { return e.weights[f(Factor::firstSector) + index]; };
    const double sectorBeta = sector >= 0 ? sectorTraits()[sector].beta : 1.0;
    e.yield = 0.015;
    if (profile == u"market" || profile == u"total" || profile == u"equal") {
        w(Factor::market) = 1;
        w(Factor::size) = profile == u"market" ? 0 : profile == u"total" ? 0.15 : 0.35;
        e.noise = 0.004;
    } else if (profile == u"nasdaq" || profile == u"growth") {
        w(Factor::market) = profile == u"nasdaq" ? 1.12 : 1.05;
        sectorWeight(0) = profile == u"nasdaq" ? 0.65 : 0.4;
        sectorWeight(1) = 0.25;
        e.yield = 0.006;
        e.noise = 0.02;
    } else if (profile == u"value" || profile == u"dow") {
        w(Factor::market) = 0.95;
        sectorWeight(5) = 0.3;
        sectorWeight(7) = profile == u"value" ? 0.2 : 0.05;
        sectorWeight(6) = profile == u"dow" ? 0.3 : 0.1;
        e.yield = 0.022;
        e.noise = 0.02;
    } else if (profile == u"smallcap" || profile == u"midcap") {
        w(Factor::market) = profile == u"smallcap" ? 1.15 : 1.05;
        w(Factor::size) = profile == u"smallcap" ? 1.0 : 0.5;
        e.yield = 0.013;
        e.noise = 0.02;
    } else if (profile == u"lowvol" || profile == u"dividend") {
        w(Factor::market) = profile == u"lowvol" ? 0.72 : 0.85;
        sectorWeight(3) = 0.3;
        sectorWeight(8) = 0.2;
        sectorWeight(5) = profile == u"dividend" ? 0.2 : 0.0;
        e.yield = profile == u"dividend" ? 0.034 : 0.018;
        e.noise = 0.02;
    } else if (profile == u"covered") {
        w(Factor::market) = 0.6;
        e.yield = 0.08;
        e.alpha = 0.03;
        e.noise = 0.03;
    } else if (profile == u"sector" || profile == u"theme" || profile == u"speculative") {
        const double strength = profile == u"sector" ? 1.0 : profile == u"theme" ? 1.35 : 1.6;
        w(Factor::market) = sectorBeta * (profile == u"sector" ? 1.0 : 1.15);
        if (sector >= 0)
            sectorWeight(sector) = strength;
        if (profile == u"speculative") {
            w(Factor::size) = 0.6;
            w(Factor::crypto) = 0.08;
        }
        e.yield = profile == u"sector" && sector >= 0 ? sectorTraits()[sector].yield * 0.9 : 0.005;
        e.noise = profile == u"sector" ? 0.015 : profile == u"theme" ? 0.1 : 0.28;
    } else if (profile == u"intl" || profile == u"emerging" || profile == u"world") {
        w(Factor::market) = profile == u"world" ? 0.9 : 0.8;
        w(profile == u"emerging" ? Factor::emerging : Factor::international) = profile == u"world" ? 0.4 : 1.0;
        e.yield = 0.028;
        e.noise = 0.02;
    } else if (profile == u"bond" || profile == u"corporate" || profile == u"highyield") {
        w(Factor::bonds) = profile == u"highyield" ? 0.5 : profile == u"corporate" ? 1.2 : 1.0;
        w(Factor::market) = profile == u"highyield" ? 0.35 : profile == u"corporate" ? 0.1 : 0;
        e.yield = profile == u"highyield" ? 0.06 : 0.032;
        e.noise = 0.01;
    } else if (profile == u"longbond") {
        w(Factor::longBonds) = 1;
        e.yield = 0.035;
        e.noise = 0.01;
    } else if (profile == u"shortbond" || profile == u"cash") {
        w(Factor::bonds) = profile == u"shortbond" ? 0.25 : 0;
        w(Factor::cash) = profile == u"shortbond" ? 0.7 : 1.0;
        e.yield = 0.03;
        e.noise = profile == u"shortbond" ? 0.004 : 0.0005;
    } else if (profile == u"gold" || profile == u"silver" || profile == u"goldminers") {
        w(Factor::gold) = profile == u"gold" ? 1.0 : profile == u"silver" ? 1.4 : 1.8;
        w(Factor::market) = profile == u"goldminers" ? 0.45 : 0;
        e.yield = profile == u"goldminers" ? 0.012 : 0;
        e.noise = profile == u"gold" ? 0.01 : 0.2;
    } else if (profile == u"oil" || profile == u"commodity") {
        w(Factor::oil) = profile == u"oil" ? 1.0 : 0.5;
        w(Factor::gold) = profile == u"oil" ? 0 : 0.3;
        w(Factor::market) = profile == u"oil" ? 0 : 0.2;
        e.yield = 0;
        e.alpha = profile == u"oil" ? -0.04 : 0; // the roll cost of futures
        e.noise = 0.04;
    } else if (profile == u"bitcoin" || profile == u"ether") {
        w(Factor::crypto) = profile == u"bitcoin" ? 1.0 : 1.3;
        e.yield = 0;
        e.noise = profile == u"bitcoin" ? 0.02 : 0.4;
    } else if (profile == u"balanced" || profile == u"conservative") {
        w(Factor::market) = profile == u"balanced" ? 0.62 : 0.38;
        w(Factor::bonds) = profile == u"balanced" ? 0.38 : 0.62;
        e.yield = 0.025;
        e.noise = 0.01;
    } else {
        w(Factor::market) = 1;
    }
    return e;
}

Exposure stockExposure(const DemoSymbol& symbol, int sector, quint64 seed)
{
    Exposure e;
    const quint64 stream = streamOf(symbol.info.symbol, 0x57);
    auto u = [&](int n) { return uniform(key(seed, stream, n)); };
    const SectorTraits traits = sector >= 0 ? sectorTraits()[sector] : SectorTraits { "", 1.0, 0.1, 0.015 };
    const double capBillions = symbol.info.marketCap.value_or(10e9) / 1e9;
    const double size = std::clamp((std::log10(capBillions) - 0.5) / 3.0, 0.0, 1.0); // 0 small … 1 giant
    e.weights[f(Factor::market)] = traits.beta * (0.85 + 0.3 * u(1));
    if (sector >= 0)
        e.weights[f(Factor::firstSector) + sector] = 0.8 + 0.4 * u(2);
    e.weights[f(Factor::size)] = 0.6 * (1 - size);
    e.noise = 0.18 + 0.17 * (1 - size) + 0.08 * u(3) + (symbol.since >= 2017 ? 0.15 : 0.0);
    // Today's giants got there somehow: a tilt of the drift by today's size.
    e.alpha = 0.035 * (size - 0.45) + 0.03 * (u(4) - 0.5);
    e.yield = u(5) < (symbol.since >= 2005 ? 0.6 : 0.15) ? 0.0 : traits.yield * (0.5 + u(6));
    e.splits = true;
    if (symbol.profile == u"crypto") {
        e.weights[f(Factor::crypto)] = 0.55;
        e.noise += 0.15;
        e.yield = 0;
    } else if (symbol.profile == u"gold") {
        e.weights[f(Factor::gold)] = 1.2;
        e.weights[f(Factor::market)] = 0.4;
    }
    return e;
}

} // namespace

MarketSimulation::MarketSimulation(quint64 seed, QDate firstDay, QDate lastDay)
    : m_seed(seed)
    , m_lastDay(tradingDayOnOrBefore(lastDay))
{
    m_sessions = tradingDays(firstDay, std::max(lastDay, referenceDay));
    const auto last = std::ranges::upper_bound(m_sessions, m_lastDay);
    m_lastIndex = last == m_sessions.begin() ? 0 : std::size_t(last - m_sessions.begin() - 1);
    const std::size_t count = m_sessions.size();

    // Regime moves are spread evenly over the regime's sessions; volatilities multiply.
    m_volatility.assign(count, 1.0);
    std::array<std::vector<double>, factorCount> drift;
    for (auto& values : drift)
        values.assign(count, 0.0);
    for (const MarketRegime& regime : marketRegimes()) {
        const auto from = std::ranges::lower_bound(m_sessions, regime.start) - m_sessions.begin();
        const auto to = std::ranges::upper_bound(m_sessions, regime.end) - m_sessions.begin();
        const auto span = tradingDays(regime.start, regime.end).size();
        if (span == 0)
            continue;
        for (auto i = from; i < to; ++i) {
            m_volatility[i] *= regime.volatility;
            for (int factor = 0; factor < factorCount; ++factor)
                drift[factor][i] += regime.moves[factor] / double(span);
        }
    }
    // Each factor wanders around its drift path and is pulled back towards it within about a
    // year, so the episodes keep their shape and forty years end at plausible levels.
    constexpr double pullBack = 1.0 / 250;
    for (int factor = 0; factor < factorCount; ++factor) {
        auto& values = m_factors[factor];
        values.resize(count);
        double deviation = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const QDate day = m_sessions[i];
            const auto traits = factorTraits(factor, day);
            const quint64 k = key(seed, 0xfac7000 + factor, day.toJulianDay());
            double shock = traits.volatility * std::sqrt(m_volatility[i] / sessionsPerYear) * normal(k);
            // Now and then the whole market jumps.
            if (factor == f(Factor::market) && uniform(k ^ 0x1u) < 0.004)
                shock += 0.025 * normal(k ^ 0x2u);
            const double step = shock - pullBack * deviation;
            deviation += step;
            values[i] = traits.drift / sessionsPerYear + drift[factor][i] + step;
        }
    }
}

DailyHistory MarketSimulation::dailyHistory(const DemoSymbol& symbol) const
{
    DailyHistory bars;
    if (m_sessions.empty())
        return bars;
    const quint64 stream = streamOf(symbol.info.symbol);
    auto u = [&](int n) { return uniform(key(m_seed, stream, n)); };
    const int sector = sectorIndex(symbol.info.sector);
    const bool stock = !symbol.info.isEtf && !symbol.info.isFund;
    const Exposure e = stock ? stockExposure(symbol, sector, m_seed) : fundExposure(symbol.profile, sector);

    QDate listing = QDate(symbol.since, 1, 2).addDays(symbol.since <= m_sessions.front().year() ? 0 : int(u(10) * 300));
    const std::size_t first = std::size_t(std::ranges::lower_bound(m_sessions, listing) - m_sessions.begin());
    if (first > m_lastIndex)
        return bars;

    double close = stock ? 12 + 48 * u(11) : symbol.info.isFund ? 10 + 40 * u(11) : 25 + 75 * u(11);
    double logTotal = 0; // log of the total-return index
    const double splitLevel = 120 + 380 * u(12);
    const int dividendPhase = int(u(13) * 63);
    std::size_t lastSplit = first;
    std::vector<double> closes, totals;
    closes.reserve(m_sessions.size() - first);
    totals.reserve(m_sessions.size() - first);
    for (std::size_t i = first; i < m_sessions.size(); ++i) {
        if (i > first) {
            double r = e.alpha / sessionsPerYear;
            for (int factor = 0; factor < factorCount; ++factor)
                if (e.weights[factor] != 0)
                    r += e.weights[factor] * m_factors[factor][i];
            r += e.noise * std::sqrt(m_volatility[i] / sessionsPerYear)
                * normal(key(m_seed, stream, 1000 + m_sessions[i].toJulianDay()));
            logTotal += r;
            close *= std::exp(r);
            if (e.yield > 0 && (i - first) % 63 == std::size_t(dividendPhase))
                close *= 1 - e.yield / 4;
            if (e.splits && close > splitLevel && i - lastSplit > 750) {
                const double pick = uniform(key(m_seed, stream, 500000 + i));
                close /= pick < 0.6 ? 2 : pick < 0.85 ? 3 : 4;
                lastSplit = i;
            }
        }
        closes.push_back(close);
        totals.push_back(logTotal);
    }
    const auto afterReference = std::ranges::upper_bound(m_sessions, referenceDay);
    const std::size_t reference
        = afterReference == m_sessions.begin() ? 0 : std::size_t(afterReference - m_sessions.begin() - 1);
    const std::size_t anchor = std::max(reference, first) - first;
    bars.reserve(m_lastIndex + 1 - first);
    for (std::size_t i = first; i <= m_lastIndex; ++i) {
        const std::size_t j = i - first;
        bars.push_back(DailyBar { m_sessions[i], closes[j], closes[anchor] * std::exp(totals[j] - totals[anchor]) });
    }
    return bars;
}

IntradayHistory MarketSimulation::intradayHistory(
    const DemoSymbol& symbol, const DailyHistory& daily, int sessions) const
{
    IntradayHistory bars;
    static const QTimeZone newYork("America/New_York");
    const quint64 stream = streamOf(symbol.info.symbol, 0x1d);
    const std::size_t from = daily.size() > std::size_t(sessions) ? daily.size() - sessions : 0;
    for (std::size_t d = from; d < daily.size(); ++d) {
        const DailyBar& day = daily[d];
        const double open = d > 0 ? daily[d - 1].close : day.close;
        const double ratio = day.adjClose / day.close;
        const int count = int(QTime(9, 30).secsTo(closingTime(day.date)) / 900);
        const auto vol = m_volatility[std::ranges::lower_bound(m_sessions, day.date) - m_sessions.begin()];
        const double step = 0.012 * std::sqrt(vol / count);
        // A Brownian bridge from the previous close to this close.
        std::vector<double> walk(count + 1, 0.0);
        for (int k = 1; k <= count; ++k)
            walk[k] = walk[k - 1] + step * normal(key(m_seed, stream, day.date.toJulianDay() * 64 + k));
        // New York's offset is the same all session long (clocks change at 2 a.m.).
        const qint64 offset = QDateTime(day.date, QTime(12, 0), newYork).offsetFromUtc();
        const qint64 midnight = QDateTime(day.date, QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch();
        for (int k = 1; k <= count; ++k) {
            const double t = double(k) / count;
            const double level
                = std::exp((1 - t) * std::log(open) + t * std::log(day.close) + walk[k] - t * walk[count]);
            const double price = k == count ? day.close : level;
            const qint64 secondsOfDay = 9 * 3600 + 30 * 60 + 900 * k;
            bars.push_back(IntradayBar { midnight + (secondsOfDay - offset) * 1000, price, price * ratio });
        }
    }
    return bars;
}

} // namespace tessary::server::demo
