#include "ChartPainter.h"

#include <QFontMetricsF>
#include <QLocale>
#include <QPainter>

#include <cmath>

#include "ChartFocus.h"
#include "ChartMapper.h"
#include "ChartScale.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Format.h"
#include "Tessary/Model/Palette.h"

namespace tessary {

namespace {

// Room for the y-axis labels on the left and the time labels below the plot.
constexpr double leftMargin = 60;
constexpr double topMargin = 12;
constexpr double bottomMargin = 28;
constexpr double yLabelGap = 6;
constexpr double tickLength = 4;
constexpr double baselineOpacity = 0.45;

// Grid values are round, so "+50%" reads better than "+50.0%"; a value that is not a whole
// percentage keeps one decimal.
QString gridLabel(double value)
{
    const double percent = value * 100;
    if (std::abs(percent) < 1e-9)
        return QStringLiteral("0%");
    const int decimals = std::abs(percent - std::round(percent)) < 1e-6 ? 0 : 1;
    const QString digits = QLocale().toString(std::abs(percent), 'f', decimals);
    return (percent < 0 ? QString(Format::minusSign) : QStringLiteral("+")) + digits + QLatin1Char('%');
}

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

} // namespace

void ChartPainter::paint(QPainter& painter, const QRectF& area, const Scene& scene)
{
    painter.fillRect(area, scene.theme.background);
    if (!scene.mapper)
        return;
    // The grid and the ticks set their own fonts; the labels start again from the caller's,
    // not from whichever tick happened to be drawn last.
    const QFont font = painter.font();
    paintGrid(painter, scene);
    paintTimeTicks(painter, scene);
    paintBaseline(painter, scene);
    paintLines(painter, scene);
    painter.setFont(font);
    if (scene.labels)
        scene.labels->paint(
            painter, scene.anyHighlighted, scene.theme.text, scene.theme.secondary, scene.labelPageArrows);
}

QRectF ChartPainter::plotRect(const QRectF& bounds)
{
    return bounds.adjusted(leftMargin, topMargin, -ChartScale::labelGutter, -bottomMargin);
}

void ChartPainter::placeLabels(EndLabels& labels, std::span<const ChartSeries> series, std::span<const QColor> colors,
    const ChartMapper& mapper, const ChartFocus& focus, int page)
{
    std::vector<EndLabels::Input> inputs;
    inputs.reserve(series.size());
    for (std::size_t s = 0; s < series.size(); ++s) {
        const ChartSeries& line = series[s];
        if (line.points.empty())
            continue;
        inputs.push_back(EndLabels::Input { line.ticker, mapper.y(line.points.back().value), colors[s],
            focus.isPinned(line.ticker), focus.isHighlighted(line.ticker) });
    }
    const QRectF plot = mapper.plot();
    const QRectF gutter(plot.right(), plot.top(), ChartScale::labelGutter, plot.height());
    labels.place(std::move(inputs), gutter, plot.top(), plot.bottom(), page);
}

void ChartPainter::paintGrid(QPainter& painter, const Scene& scene)
{
    const ChartMapper& mapper = *scene.mapper;
    const QRectF plot = mapper.plot();
    // Log grids sit at round growth factors, linear ones at round returns; both label in
    // returns, as everything else on the chart does.
    std::vector<double> returns;
    if (mapper.log()) {
        for (const double factor : logTicks(mapper.range()))
            returns.push_back(factor - 1);
    } else {
        const int count = std::max(static_cast<int>(plot.height() / 60), 2);
        returns = linearTicks(mapper.range(), count);
    }
    QFont font = painter.font();
    font.setPointSizeF(10.5);
    painter.setFont(font);
    const QFontMetricsF metrics(font);
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (const double value : returns) {
        const double y = mapper.y(value);
        if (y < plot.top() - 0.5 || y > plot.bottom() + 0.5)
            continue;
        painter.setPen(QPen(scene.theme.grid, 0));
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(scene.theme.secondary);
        const QRectF label(0, y - metrics.height() / 2, plot.left() - yLabelGap, metrics.height());
        painter.drawText(label, Qt::AlignRight | Qt::AlignVCenter, gridLabel(value));
    }
}

void ChartPainter::paintTimeTicks(QPainter& painter, const Scene& scene)
{
    const ChartMapper& mapper = *scene.mapper;
    const QRectF plot = mapper.plot();
    const double span = mapper.axis().span();
    if (span <= 0)
        return;
    const QFont minorFont = TimeAxis::tickFont(false);
    const QFont majorFont = TimeAxis::tickFont(true);
    for (const TimeAxis::Tick& tick : scene.ticks) {
        const double x = plot.left() + plot.width() * tick.position / span;
        painter.setPen(QPen(scene.theme.grid, 0));
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
        painter.setPen(QPen(scene.theme.secondary, 0));
        painter.drawLine(QPointF(x, plot.bottom()), QPointF(x, plot.bottom() + tickLength));
        painter.setFont(tick.major ? majorFont : minorFont);
        painter.setPen(tick.major ? scene.theme.text : scene.theme.secondary);
        const QFontMetricsF metrics(painter.font());
        const double width = metrics.horizontalAdvance(tick.label);
        painter.drawText(QPointF(x - width / 2, plot.bottom() + tickLength + metrics.ascent() + 2), tick.label);
    }
}

void ChartPainter::paintBaseline(QPainter& painter, const Scene& scene)
{
    const ChartMapper& mapper = *scene.mapper;
    const QRectF plot = mapper.plot();
    const double y = mapper.y(0);
    if (y < plot.top() || y > plot.bottom())
        return;
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(withAlpha(scene.theme.secondary, baselineOpacity), 1));
    painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
}

void ChartPainter::paintLines(QPainter& painter, const Scene& scene)
{
    painter.save();
    painter.setClipRect(scene.mapper->plot().adjusted(-2, -2, 2, 2));
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setBrush(Qt::NoBrush);
    // The bulk of the lines go out with a cosmetic pen one device pixel wide: the raster
    // engine's fast path. Wider strokes are kept for the few highlighted lines.
    QPen thin(Qt::black, 0);
    thin.setCosmetic(true);
    const auto isHighlighted = [&](std::size_t s) { return scene.highlighted && scene.highlighted(s); };
    for (std::size_t s = 0; s < scene.paths.size(); ++s) {
        if (scene.anyHighlighted && isHighlighted(s))
            continue;
        const QColor color = s < scene.colors.size() ? scene.colors[s] : scene.theme.text;
        thin.setColor(scene.anyHighlighted ? withAlpha(color, Palette::fadedOpacity) : color);
        painter.setPen(thin);
        painter.drawPolyline(scene.paths[s]);
    }
    if (scene.anyHighlighted) {
        // Bevelled joins: at this width they differ from round ones by a fraction of a pixel,
        // and the stroker makes them in well under half the time (201 lines of 500 points,
        // three pinned, at device pixel ratio 2: about 30 against 55 ms of CPU on this machine).
        QPen wide(Qt::black, highlightedWidth, Qt::SolidLine, Qt::RoundCap, Qt::BevelJoin);
        for (std::size_t s = 0; s < scene.paths.size(); ++s) {
            if (!isHighlighted(s))
                continue;
            wide.setColor(s < scene.colors.size() ? scene.colors[s] : scene.theme.text);
            painter.setPen(wide);
            painter.drawPolyline(scene.paths[s]);
        }
    }
    painter.restore();
}

} // namespace tessary
