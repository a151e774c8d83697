// The same 201 lines × 500 points drawn by Qt's general-purpose chart library, rendered to
// an image of the same size at the same device pixel ratio, as a yardstick for our own
// painter (ChartBench.cpp). With thin=0 the library draws its lines with its own default
// pen, as a chart made with it would look; with thin=1 they get the pen ours have, one
// device pixel wide, so the two draw the very same lines.

#include <QChart>
#include <QChartView>
#include <QCoreApplication>
#include <QDateTime>
#include <QImage>
#include <QLineSeries>
#include <QPainter>
#include <QPen>
#include <QTimeZone>
#include <QValueAxis>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

namespace {

void chartsLibraryStaticLayer(benchmark::State& state)
{
    constexpr int lines = 201;
    constexpr int points = 500;
    std::mt19937 random(20240501);
    std::normal_distribution<double> step(0.0004, 0.018);

    auto* chart = new QChart;
    chart->legend()->hide();
    auto* x = new QValueAxis;
    auto* y = new QValueAxis;
    chart->addAxis(x, Qt::AlignBottom);
    chart->addAxis(y, Qt::AlignLeft);
    double low = 0;
    double high = 0;
    for (int s = 0; s < lines; ++s) {
        auto* series = new QLineSeries;
        QList<QPointF> data;
        double growth = 1;
        for (int i = 0; i < points; ++i) {
            data.append(QPointF(i, growth - 1));
            low = std::min(low, growth - 1);
            high = std::max(high, growth - 1);
            growth *= 1 + step(random);
        }
        series->replace(data);
        if (state.range(1) != 0) {
            QPen pen = series->pen();
            pen.setWidth(0);
            pen.setCosmetic(true);
            series->setPen(pen);
        }
        chart->addSeries(series);
        series->attachAxis(x);
        series->attachAxis(y);
    }
    x->setRange(0, points - 1);
    y->setRange(low, high);
    QChartView view(chart);
    view.setRenderHint(QPainter::Antialiasing);
    view.resize(1200, 600);
    // The chart lays itself out when its view is shown; an unshown view renders an empty plot.
    view.show();
    QCoreApplication::processEvents();

    const qreal ratio = static_cast<qreal>(state.range(0));
    QImage image(view.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    // QWidget::render through a painter on an image of ratio 2 scales the widget twice over:
    // only its top-left quarter landed in the image. The view's own render maps the whole
    // viewport onto the image's logical size.
    const QRectF target(QPointF(0, 0), QSizeF(view.size()));
    for (auto _ : state) {
        image.fill(Qt::white);
        QPainter painter(&image);
        view.QGraphicsView::render(&painter, target, view.viewport()->rect());
    }
}
BENCHMARK(chartsLibraryStaticLayer)
    ->ArgNames({ "dpr", "thin" })
    ->Args({ 1, 0 })
    ->Args({ 2, 0 })
    ->Args({ 1, 1 })
    ->Args({ 2, 1 })
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->ComputeStatistics("min", [](const std::vector<double>& values) { return *std::ranges::min_element(values); })
    ->Unit(benchmark::kMillisecond);

} // namespace
