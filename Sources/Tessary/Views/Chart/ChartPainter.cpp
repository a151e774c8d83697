#include "ChartPainter.h"

#include <QFontMetricsF>
#include <QLocale>
#include <QPainter>

#include <cmath>

#include "ChartFocus.h"
#include "ChartMapper.h"
#include "ChartScale.h"
#include "ChartWideLine.h"
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

// Grid lines go out as filled rectangles one device pixel across, in the grid's colour laid
// over the background: the raster engine fills an opaque rectangle directly, where a line
// the width or height of the plot is handed to its thread pool in dozens of pieces and
// waited for (most of a full repaint's overhead at pixel ratio 2).
QColor opaqueGrid(const ChartPainter::Theme& theme)
{
    const float alpha = theme.grid.alphaF();
    const auto mix = [&](float over, float under) { return over * alpha + under * (1 - alpha); };
    return QColor::fromRgbF(mix(theme.grid.redF(), theme.background.redF()),
        mix(theme.grid.greenF(), theme.background.greenF()), mix(theme.grid.blueF(), theme.background.blueF()));
}

// The horizontal or vertical line from `from` to `to` as a rectangle one device pixel
// across, on the pixel the line falls in.
QRectF hairline(const QPainter& painter, QPointF from, QPointF to)
{
    const QTransform device = painter.deviceTransform();
    if (device.type() > QTransform::TxScale)
        return QRectF(from, to).adjusted(0, 0, from.x() == to.x() ? 1 : 0, from.y() == to.y() ? 1 : 0);
    const QRectF span = device.mapRect(QRectF(from, to).normalized());
    const QRectF pixels = from.x() == to.x() ? QRectF(std::floor(span.left()), span.top(), 1, span.height())
                                             : QRectF(span.left(), std::floor(span.top()), span.width(), 1);
    return device.inverted().mapRect(pixels);
}

} // namespace

void ChartPainter::paint(QPainter& painter, const QRectF& area, const Scene& scene)
{
    paintBase(painter, area, scene, scene.anyHighlighted);
    if (scene.anyHighlighted)
        paintHighlighted(painter, scene);
    paintLabels(painter, scene);
}

void ChartPainter::paintBase(QPainter& painter, const QRectF& area, const Scene& scene, bool faded)
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
    paintLines(painter, scene, faded);
    painter.setFont(font);
}

void ChartPainter::paintLabels(QPainter& painter, const Scene& scene)
{
    if (scene.mapper && scene.labels)
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
    const QColor grid = opaqueGrid(scene.theme);
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (const double value : returns) {
        const double y = mapper.y(value);
        if (y < plot.top() - 0.5 || y > plot.bottom() + 0.5)
            continue;
        painter.fillRect(hairline(painter, QPointF(plot.left(), y), QPointF(plot.right(), y)), grid);
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
    const QColor grid = opaqueGrid(scene.theme);
    for (const TimeAxis::Tick& tick : scene.ticks) {
        const double x = plot.left() + plot.width() * tick.position / span;
        painter.fillRect(hairline(painter, QPointF(x, plot.top()), QPointF(x, plot.bottom())), grid);
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

QRectF ChartPainter::lineClip(const Scene& scene)
{
    return scene.mapper->plot().adjusted(-2, -2, 2, 2);
}

void ChartPainter::paintLines(QPainter& painter, const Scene& scene, bool faded)
{
    painter.save();
    const QRectF clip = lineClip(scene);
    painter.setClipRect(clip);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setBrush(Qt::NoBrush);
    // The lines go out with a cosmetic pen one device pixel wide: the raster engine's fast
    // path. Faded, the highlighted ones are drawn too, under their wide strokes: then the
    // faded picture is the same whichever lines are highlighted, and a view can keep it.
    QPen thin(Qt::black, 0);
    thin.setCosmetic(true);
    for (std::size_t s = 0; s < scene.paths.size(); ++s) {
        const QColor color = s < scene.colors.size() ? scene.colors[s] : scene.theme.text;
        thin.setColor(faded ? withAlpha(color, Palette::fadedOpacity) : color);
        painter.setPen(thin);
        painter.drawPolyline(scene.paths[s]);
    }
    painter.restore();
}

void ChartPainter::paintHighlighted(QPainter& painter, const Scene& scene)
{
    if (!scene.mapper || !scene.highlighted)
        return;
    painter.save();
    const QRectF clip = lineClip(scene);
    painter.setClipRect(clip);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setBrush(Qt::NoBrush);
    // Straight into an image's pixels where the painter draws on one; elsewhere (an SVG
    // file) through the painter, with the same round joins.
    auto raster = ChartWideLine::onto(painter, clip);
    QPen wide(Qt::black, highlightedWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    for (std::size_t s = 0; s < scene.paths.size(); ++s) {
        if (!scene.highlighted(s))
            continue;
        const QColor color = s < scene.colors.size() ? scene.colors[s] : scene.theme.text;
        if (raster) {
            raster->stroke(scene.paths[s], highlightedWidth, color);
        } else {
            wide.setColor(color);
            painter.setPen(wide);
            painter.drawPolyline(scene.paths[s]);
        }
    }
    painter.restore();
}

} // namespace tessary
