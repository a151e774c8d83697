// How long the chart takes to paint its still layer for a full list (201 lines × 500
// points at 1200×600), to repaint the crosshair and ranked readout on a pointer move, and
// to draw and encode the export card of the same list.

#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QTimeZone>

#include <benchmark/benchmark.h>

#include <random>

#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Palette.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartExporter.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartMapper.h"
#include "Tessary/Views/Chart/ChartPainter.h"
#include "Tessary/Views/Chart/ChartScale.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Chart/EndLabels.h"

using namespace tessary;

namespace {

constexpr int lineCount = 201;
constexpr int pointCount = 500;
constexpr QSize chartSize(1200, 600);

// Random walks on weekday dates, the same every run.
Comparison bigComparison(int points = pointCount)
{
    std::mt19937 random(20240501);
    std::normal_distribution<double> step(0.0004, 0.018);
    std::vector<double> dates;
    for (QDate date(2022, 6, 1); static_cast<int>(dates.size()) < points; date = date.addDays(1))
        if (date.dayOfWeek() <= 5)
            dates.push_back(static_cast<double>(QDateTime(date, QTime(0, 0), QTimeZone::utc()).toSecsSinceEpoch()));
    Comparison comparison;
    comparison.id = QUuid::createUuid();
    comparison.interval = QStringLiteral("1D");
    for (int s = 0; s < lineCount; ++s) {
        ChartSeries line { QStringLiteral("T%1").arg(s), {}, s == lineCount - 1 };
        double growth = 1;
        for (const double date : dates) {
            line.points.push_back(ChartPoint { date, growth - 1, 50 * growth });
            growth *= 1 + step(random);
        }
        comparison.series.push_back(std::move(line));
    }
    return comparison;
}

const Comparison& comparison()
{
    static const Comparison shared = bigComparison();
    return shared;
}

void staticLayer(benchmark::State& state)
{
    const qreal ratio = static_cast<qreal>(state.range(0));
    const auto highlightedCount = static_cast<std::size_t>(state.range(1));
    const auto& series = comparison().series;
    const QRectF plot = ChartPainter::plotRect(QRectF(QPointF(0, 0), QSizeF(chartSize)));
    const TimeAxis axis = TimeAxis::build(series, comparison().interval);
    const ChartMapper mapper(plot, axis, yDomain(series, {}, false), false);
    std::vector<QPolygonF> paths(series.size());
    for (std::size_t s = 0; s < series.size(); ++s)
        mapper.path(series[s], paths[s]);
    const auto ticks = axis.ticks(plot.width(), ChartScale::tickSpacing);
    const auto colors = Palette::seriesColors(series);
    ChartFocus focus;
    for (std::size_t s = 0; s < highlightedCount; ++s)
        focus.pin(series[s].ticker);
    EndLabels labels;
    ChartPainter::placeLabels(labels, series, colors, mapper, focus, 0);

    ChartPainter::Scene scene;
    scene.mapper = &mapper;
    scene.ticks = ticks;
    scene.series = series;
    scene.paths = paths;
    scene.colors = colors;
    scene.highlighted = [&](std::size_t s) { return s < highlightedCount; };
    scene.anyHighlighted = highlightedCount > 0;
    scene.labels = &labels;
    scene.theme = { Qt::white, Qt::black, Qt::gray, QColor(0, 0, 0, 20) };

    QImage image(chartSize * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    for (auto _ : state) {
        QPainter painter(&image);
        ChartPainter::paint(painter, QRectF(QPointF(0, 0), QSizeF(chartSize)), scene);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(staticLayer)
    ->ArgNames({ "dpr", "highlighted" })
    ->Args({ 1, 0 })
    ->Args({ 1, 3 })
    ->Args({ 2, 0 })
    ->Args({ 2, 3 })
    ->Unit(benchmark::kMillisecond);

// A pointer move across the plot: rank 201 tickers at the new date, then repaint the widget
// from its cached layer plus the crosshair and readout.
void hoverRepaint(benchmark::State& state)
{
    ChartFocus focus;
    ChartView view(&focus);
    view.resize(chartSize);
    view.setComparison(std::make_shared<const Comparison>(comparison()));
    QImage target(chartSize, QImage::Format_ARGB32_Premultiplied);
    view.render(&target);
    const int buildsBefore = view.staticLayerBuilds();
    const QRectF plot = view.mapper().plot();
    // Far above every line, so the hover never picks one out and the still layer stays.
    const double y = plot.top() + 2;
    double x = plot.left() + 1;
    for (auto _ : state) {
        x += 7;
        if (x >= plot.right())
            x = plot.left() + 1;
        QMouseEvent move(QEvent::MouseMove, QPointF(x, y), QPointF(x, y), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&view, &move);
        view.render(&target);
        benchmark::DoNotOptimize(target.constBits());
    }
    if (view.staticLayerBuilds() != buildsBefore)
        state.SkipWithError("a pointer move rebuilt the still layer");
    state.counters["rows"] = static_cast<double>(view.readout().rows().size());
}
BENCHMARK(hoverRepaint)->Unit(benchmark::kMillisecond);

// Ranking alone: the readout's share of a move.
void hoverRanking(benchmark::State& state)
{
    const auto& series = comparison().series;
    const auto& dates = series.front().points;
    ChartReadout readout;
    std::size_t i = 0;
    for (auto _ : state) {
        readout.rank(series, dates[i].date);
        i = (i + 37) % dates.size();
        benchmark::DoNotOptimize(readout.rows().data());
    }
}
BENCHMARK(hoverRanking)->Unit(benchmark::kMicrosecond);

// Building the compressed time axis of a loaded comparison: every distinct date of 201
// series of 600 bars, merged, then the gaps found and shortened.
void timeAxisBuild(benchmark::State& state)
{
    static const Comparison wide = bigComparison(600);
    for (auto _ : state)
        benchmark::DoNotOptimize(TimeAxis::build(wide.series, wide.interval));
}
BENCHMARK(timeAxisBuild)->Unit(benchmark::kMillisecond);

// Copy Chart Image for a full list: the export card laid out and drawn off-screen at scale 2
// (2400 pixels wide), then, with png=1, encoded as PNG.
void exportCard(benchmark::State& state)
{
    const bool encode = state.range(0) != 0;
    ChartFocus focus;
    const ChartExportCard card(
        { QStringLiteral("Full list"), ListPeriod {}, std::make_shared<const Comparison>(comparison()) }, focus);
    qsizetype bytes = 0;
    for (auto _ : state) {
        const auto image = ChartExporter::image(card, ChartExporter::defaultScale);
        const auto png = image && encode ? ChartExporter::png(*image) : std::nullopt;
        if (!image || (encode && !png)) {
            state.SkipWithError("the card did not render");
            break;
        }
        bytes = png ? png->size() : 0;
    }
    state.counters["kB"] = static_cast<double>(bytes) / 1024;
}
BENCHMARK(exportCard)->ArgNames({ "png" })->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace
