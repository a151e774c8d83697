#pragma once

#include <QFont>
#include <QLocale>
#include <QString>
#include <QStringView>

#include <optional>
#include <span>
#include <vector>

namespace tessary {

struct ChartSeries;

// The chart's horizontal axis. Markets are closed at night, at weekends and on holidays, so
// the axis is built from the times that occur in the data and every long step between two of
// them is shortened to a fixed length; lines then run on instead of jumping across the
// closed stretch. Positions are "compressed seconds" from the first time.
//
// A value: build one per loaded comparison, share it by copy.
class TimeAxis {
public:
    struct Tick {
        double position = 0; // compressed seconds, like positions()
        QString label;
        bool major = false;

        friend bool operator==(const Tick&, const Tick&) = default;
    };

    // An axis with no times; nearestDate() is absent and ticks() empty.
    TimeAxis() = default;

    // `now` (seconds since 1970) supplies a one-day axis ending now when the series hold
    // fewer than two distinct times.
    static TimeAxis build(std::span<const ChartSeries> series, QStringView interval, double now);
    static TimeAxis build(std::span<const ChartSeries> series, QStringView interval);
    // The same from bare times (seconds since 1970, any order, duplicates allowed).
    static TimeAxis fromTimes(std::vector<double> times, QStringView interval, double now);

    // Compressed position of any time, also one that is not a data time: a time inside a
    // shortened gap maps to the gap's start. Bisection, no allocation.
    double position(double time) const;
    // The data time whose position is nearest to `x`; exactly halfway picks the earlier one.
    std::optional<double> nearestDate(double x) const;
    // Index into dates() of nearestDate(x), or -1 when there are no dates.
    qsizetype nearestIndex(double x) const;

    // Tick marks for a plot `width` points wide, aiming at one per `spacing` points, thinned
    // so that no two labels, measured in the tick font, come closer than 10 points.
    std::vector<Tick> ticks(double width, double spacing) const;
    std::vector<Tick> ticks(double width, double spacing, const QFont& font, const QLocale& locale) const;
    // The font ticks are measured and drawn in: the application font at 11.5 points.
    static QFont tickFont(bool major);

    const std::vector<double>& dates() const { return m_dates; }
    const std::vector<double>& positions() const { return m_positions; }
    double span() const { return m_span; }
    bool intraday() const { return m_intraday; }
    double origin() const { return m_origin; }
    const std::vector<double>& breakStarts() const { return m_breakStarts; }
    const std::vector<double>& breakEnds() const { return m_breakEnds; }
    const std::vector<double>& hiddenBefore() const { return m_hiddenBefore; }
    const std::vector<double>& breakPositions() const { return m_breakPositions; }

private:
    std::vector<double> m_dates;
    std::vector<double> m_positions;
    double m_span = 0;
    bool m_intraday = false;
    double m_origin = 0;
    std::vector<double> m_breakStarts;
    std::vector<double> m_breakEnds;
    std::vector<double> m_hiddenBefore;
    std::vector<double> m_breakPositions;
};


} // namespace tessary
