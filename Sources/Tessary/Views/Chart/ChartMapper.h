#pragma once

#include <QPointF>
#include <QPolygonF>
#include <QRectF>
#include <QSet>
#include <QString>

#include <span>
#include <utility>
#include <vector>

#include "TimeAxis.h"

namespace tessary {

struct ChartSeries;

// The y-range of a chart: returns as fractions in linear mode, growth factors (1 + return)
// in log mode.
struct YRange {
    double lower = 0;
    double upper = 0;

    friend bool operator==(const YRange&, const YRange&) = default;
};

// Turns (time, return) pairs into points of a plot rectangle, through the compressed time
// axis and a linear or logarithmic y-range. A value, rebuilt whenever the data, the plot
// size, the scale or the zoom change.
class ChartMapper {
public:
    ChartMapper() = default;
    ChartMapper(QRectF plot, TimeAxis axis, YRange range, bool log);

    double x(double time) const;
    double y(double value) const;
    QPointF point(double time, double value) const { return { x(time), y(value) }; }
    // The value drawn at a view height; the inverse of y().
    double valueAt(double y) const;
    // The line of one series: a straight segment between consecutive points, no breaks.
    QPolygonF path(const ChartSeries& series) const;
    // The same into a reused buffer.
    void path(const ChartSeries& series, QPolygonF& into) const;

    const QRectF& plot() const { return m_plot; }
    const TimeAxis& axis() const { return m_axis; }
    const YRange& range() const { return m_range; }
    bool log() const { return m_log; }

private:
    QRectF m_plot;
    TimeAxis m_axis;
    YRange m_range;
    bool m_log = false;
    double m_logLower = 0;
    double m_logUpper = 0;
};

// Returns at or below −99.9 % still have a place on a log scale: they plot at this factor.
inline constexpr double minimumGrowthFactor = 0.001;

// The y-range that shows every point of the series whose ticker is in `zoomTo`, or of all
// series when `zoomTo` is empty or matches none, with a little padding.
YRange yDomain(std::span<const ChartSeries> series, const QSet<QString>& zoomTo, bool log);
// Growth factors for the horizontal grid of a log chart: at most seven, 1.0 kept if in range.
std::vector<double> logTicks(YRange range);
// Round returns for the horizontal grid of a linear chart, about `count` of them.
std::vector<double> linearTicks(YRange range, int count);

} // namespace tessary
