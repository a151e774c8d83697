// How long the chart takes to paint its still layer for a full list (201 lines × 500
// points at 1200×600), to change the highlighted lines over it, to repaint the crosshair and
// ranked readout on a pointer move, and to draw and encode the export card of the same list.
//
// The painting benchmarks report the whole process's CPU time beside the wall time: the
// raster engine can share its work with a thread pool, whose time the calling thread's
// clock would leave out.

#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QTimeZone>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Palette.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartExporter.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartLayers.h"
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

// The machine is shared: the least of the repetitions is the figure least disturbed by others.
double least(const std::vector<double>& values)
{
    return *std::ranges::min_element(values);
}

// A chart of the full list at 1200×600, mapped and laid out as the view does it.
struct Chart {
    explicit Chart(std::size_t highlightedCount)
        : series(comparison().series)
        , axis(TimeAxis::build(series, comparison().interval))
        , mapper(
              ChartPainter::plotRect(QRectF(QPointF(0, 0), QSizeF(chartSize))), axis, yDomain(series, {}, false), false)
        , paths(series.size())
        , ticks(axis.ticks(mapper.plot().width(), ChartScale::tickSpacing))
        , colors(Palette::seriesColors(series))
    {
        for (std::size_t s = 0; s < series.size(); ++s)
            mapper.path(series[s], paths[s]);
        for (std::size_t s = 0; s < highlightedCount; ++s)
            focus.pin(series[s].ticker);
        placeLabels();
        scene.mapper = &mapper;
        scene.ticks = ticks;
        scene.series = series;
        scene.paths = paths;
        scene.colors = colors;
        scene.highlighted = [this](std::size_t s) { return focus.isHighlighted(series[s].ticker); };
        scene.labels = &labels;
        scene.theme = { Qt::white, Qt::black, Qt::gray, QColor(0, 0, 0, 20) };
    }

    void placeLabels()
    {
        ChartPainter::placeLabels(labels, series, colors, mapper, focus, 0);
        scene.anyHighlighted = focus.hasHighlight();
    }

    const std::vector<ChartSeries>& series;
    TimeAxis axis;
    ChartMapper mapper;
    std::vector<QPolygonF> paths;
    std::vector<TimeAxis::Tick> ticks;
    std::vector<QColor> colors;
    ChartFocus focus;
    EndLabels labels;
    ChartPainter::Scene scene;
};

// Everything painted afresh, as after new data or a resize: the base with every line, the
// highlighted lines over it and the labels.
void staticLayer(benchmark::State& state)
{
    const qreal ratio = static_cast<qreal>(state.range(0));
    Chart chart(static_cast<std::size_t>(state.range(1)));
    QImage image(chartSize * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    for (auto _ : state) {
        QPainter painter(&image);
        ChartPainter::paint(painter, QRectF(QPointF(0, 0), QSizeF(chartSize)), chart.scene);
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
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->ComputeStatistics("min", least)
    ->Unit(benchmark::kMillisecond);

// Pinning three other lines while three are pinned, as the view does it: the labels placed
// again and the picture composed from the kept faded base.
void highlightChange(benchmark::State& state)
{
    const qreal ratio = static_cast<qreal>(state.range(0));
    Chart chart(3);
    ChartLayers layers;
    layers.compose(chart.scene, chartSize, ratio, QFont());
    const int baseBuilds = layers.baseBuilds();
    std::size_t first = 0;
    for (auto _ : state) {
        first = (first + 3) % 198;
        chart.focus.setPinned(
            { chart.series[first].ticker, chart.series[first + 1].ticker, chart.series[first + 2].ticker });
        chart.placeLabels();
        benchmark::DoNotOptimize(layers.compose(chart.scene, chartSize, ratio, QFont()).constBits());
    }
    if (layers.baseBuilds() != baseBuilds)
        state.SkipWithError("a change of highlights painted the base again");
}
BENCHMARK(highlightChange)
    ->ArgName("dpr")
    ->Arg(1)
    ->Arg(2)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->ComputeStatistics("min", least)
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
