#pragma once

#include "TessaryWire/BarDay.h"
#include "TessaryWire/Timeframe.h"
#include "TessaryWire/WireRecords.h"

#include <QDate>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

namespace tessary {

// One drawn point: when (seconds since 1970), the return since the period start as a
// fraction, and the adjusted close of that bar when the service sent one. A comparison holds
// up to 100,000 of them, so an absent close is kept as NaN rather than in a std::optional:
// 24 bytes a point instead of 32.
struct ChartPoint {
    double date = 0;
    double value = 0;

    ChartPoint() = default;
    ChartPoint(double date, double value, std::optional<double> price)
        : date(date)
        , value(value)
        , m_price(price.value_or(noPrice))
    {
    }

    std::optional<double> price() const { return std::isnan(m_price) ? std::nullopt : std::optional(m_price); }

    friend bool operator==(const ChartPoint& a, const ChartPoint& b)
    {
        return a.date == b.date && a.value == b.value && a.price() == b.price();
    }

private:
    static constexpr double noPrice = std::numeric_limits<double>::quiet_NaN();
    double m_price = noPrice;
};

struct ChartSeries {
    QString ticker;
    std::vector<ChartPoint> points;
    bool isBenchmark = false;
    // The ticker's position in the list's tickers: its line, legend chip and grid label all
    // take their colour from it, so a ticker without data does not shift everyone else's.
    qsizetype listIndex = 0;

    friend bool operator==(const ChartSeries&, const ChartSeries&) = default;
};

// One ticker's metrics as the tables show them; an absent metric shows as NA.
struct RankRow {
    QString ticker;
    std::optional<double> netReturn;
    std::optional<double> vsBenchmark;
    std::optional<double> cagr;
    std::optional<double> volatility;
    std::optional<double> sharpe;
    std::optional<double> maxDrawdown;
    std::optional<double> price;
    std::optional<double> marketCap;
    std::optional<QDate> startDate;
    // The return over each preset period, by Timeframe; absent where the service sent null or
    // nothing. Slots rather than a map keyed by text: the tables copy every row, and a
    // 200-ticker list would otherwise allocate some 5,000 map nodes a copy.
    std::array<std::optional<double>, timeframeCount> presetReturns {};
    bool incomplete = false; // data starts after the period begins

    std::optional<double> presetReturn(Timeframe period) const
    {
        return presetReturns[static_cast<std::size_t>(period)];
    }

    friend bool operator==(const RankRow&, const RankRow&) = default;
};

struct LateStarter {
    QString ticker;
    QDateTime firstDate;

    friend bool operator==(const LateStarter&, const LateStarter&) = default;
};

// What every display of one list over one period reads. Each build has a fresh `id`, so
// views can tell two builds apart even when their contents are equal.
struct Comparison {
    QUuid id;
    std::vector<ChartSeries> series;
    std::vector<RankRow> rows;
    std::optional<RankRow> benchmarkRow;
    std::optional<double> benchmarkReturn;
    QDateTime start;
    QString interval;
    QStringList skipped;
    std::optional<QDateTime> lastQuote;
    std::vector<LateStarter> lateStarters;
    std::optional<QString> dataSource; // "simulated" or "imported" when the service says
    std::optional<QString> dataProvider; // who the service fetched imported prices from
    std::optional<QDateTime> dataRefreshed; // and when it last did
};

// How many points each line keeps for a requested set of `requested` tickers: the total
// stays near 100,000 however long the list.
int pointBudget(qsizetype requested);

// A ticker whose first bar comes more than this after the start is a late starter; shorter
// gaps are listing holidays or a few missing days.
inline constexpr qint64 lateStartSeconds = 30LL * 24 * 60 * 60;

// The market day a bar time of this comparison falls on (see BarDay.h).
QDate barDay(const Comparison& comparison, const QDateTime& instant);

// Selects, thins and arranges one prices response for a list of `tickers` and its
// `benchmark`. Never fails: a response without series gives a comparison without series.
Comparison buildComparison(const PricesResponse& response, const QStringList& tickers, const QString& benchmark,
    const QDateTime& now = QDateTime::currentDateTimeUtc());

} // namespace tessary
