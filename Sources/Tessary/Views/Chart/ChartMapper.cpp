#include "ChartMapper.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "Tessary/Model/Comparison.h"

namespace tessary {

ChartMapper::ChartMapper(QRectF plot, TimeAxis axis, YRange range, bool log)
    : m_plot(plot)
    , m_axis(std::move(axis))
    , m_range(range)
    , m_log(log)
    , m_logLower(log && range.lower > 0 ? std::log10(range.lower) : 0)
    , m_logUpper(log && range.upper > 0 ? std::log10(range.upper) : 0)
{
}

double ChartMapper::x(double time) const
{
    const double span = m_axis.span();
    if (span <= 0)
        return m_plot.left();
    return m_plot.left() + m_plot.width() * (m_axis.position(time) / span);
}

double ChartMapper::y(double value) const
{
    double t = 0.5;
    if (m_log) {
        if (m_logLower < m_logUpper)
            t = (std::log10(std::max(1 + value, minimumGrowthFactor)) - m_logLower) / (m_logUpper - m_logLower);
    } else if (m_range.lower < m_range.upper) {
        t = (value - m_range.lower) / (m_range.upper - m_range.lower);
    }
    return m_plot.bottom() - t * m_plot.height();
}

double ChartMapper::valueAt(double y) const
{
    const double t = m_plot.height() > 0 ? (m_plot.bottom() - y) / m_plot.height() : 0.5;
    if (m_log)
        return std::pow(10.0, m_logLower + t * (m_logUpper - m_logLower)) - 1;
    return m_range.lower + t * (m_range.upper - m_range.lower);
}

QPolygonF ChartMapper::path(const ChartSeries& series) const
{
    QPolygonF polyline;
    path(series, polyline);
    return polyline;
}

void ChartMapper::path(const ChartSeries& series, QPolygonF& into) const
{
    into.resize(static_cast<qsizetype>(series.points.size()));
    QPointF* out = into.data();
    for (const ChartPoint& point : series.points)
        *out++ = this->point(point.date, point.value);
}

YRange yDomain(std::span<const ChartSeries> series, const QSet<QString>& zoomTo, bool log)
{
    bool anyMatch = false;
    if (!zoomTo.isEmpty())
        anyMatch = std::ranges::any_of(series, [&](const ChartSeries& s) { return zoomTo.contains(s.ticker); });

    double lo = std::numeric_limits<double>::infinity();
    double hi = -std::numeric_limits<double>::infinity();
    for (const ChartSeries& s : series) {
        if (anyMatch && !zoomTo.contains(s.ticker))
            continue;
        for (const ChartPoint& point : s.points) {
            const double v = log ? std::max(1 + point.value, minimumGrowthFactor) : point.value;
            lo = std::min(lo, v);
            hi = std::max(hi, v);
        }
    }
    if (log) {
        if (lo > hi)
            lo = hi = 1;
        const double f = std::max(std::pow(hi / lo, 0.04), 1.005);
        return { lo / f, hi * f };
    }
    if (lo > hi)
        lo = hi = 0;
    const double pad = std::max((hi - lo) * 0.06, 0.005);
    return { lo - pad, hi + pad };
}

std::vector<double> logTicks(YRange range)
{
    static constexpr std::array candidates
        = { 0.1, 0.25, 0.5, 0.75, 1.0, 1.5, 2.0, 3.0, 5.0, 10.0, 20.0, 50.0, 100.0, 200.0, 500.0, 1000.0 };
    std::vector<double> kept;
    for (const double factor : candidates)
        if (factor >= range.lower && factor <= range.upper)
            kept.push_back(factor);
    while (kept.size() > 7) {
        std::vector<double> thinned;
        for (std::size_t i = 0; i < kept.size(); ++i)
            if (i % 2 == 0 || kept[i] == 1.0)
                thinned.push_back(kept[i]);
        kept = std::move(thinned);
    }
    return kept;
}

std::vector<double> linearTicks(YRange range, int count)
{
    std::vector<double> values;
    const double extent = range.upper - range.lower;
    if (!(extent > 0) || count < 1 || !std::isfinite(extent))
        return values;
    // A step of 1, 2, 2.5 or 5 times a power of ten, so the labels read as round numbers.
    const double rough = extent / count;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    double step = power * 10;
    for (const double multiple : { 1.0, 2.0, 2.5, 5.0 }) {
        if (multiple * power >= rough) {
            step = multiple * power;
            break;
        }
    }
    for (double k = std::ceil(range.lower / step); k * step <= range.upper; k += 1)
        values.push_back(k * step == 0 ? 0.0 : k * step);
    return values;
}

} // namespace tessary
