#include <QPainter>
#include <QTest>
#include <QTimeZone>

#include <functional>

#include "Tessary/Model/Comparison.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartLayers.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "Tessary/Views/Chart/ChartWideLine.h"

using namespace tessary;

using ViewChange = std::function<void(ChartView&, ChartFocus&)>;

Q_DECLARE_METATYPE(tessary::ChartView::HoverSpot)
Q_DECLARE_METATYPE(ViewChange)

namespace {

constexpr double day = 86'400;
const double monday
    = static_cast<double>(QDateTime(QDate(2024, 1, 8), QTime(0, 0), QTimeZone::utc()).toSecsSinceEpoch());

ChartSeries line(const QString& ticker, std::initializer_list<double> values)
{
    ChartSeries series { ticker, {}, false };
    double date = monday;
    for (const double value : values) {
        series.points.push_back(ChartPoint { date, value, 100 * (1 + value) });
        date += day;
    }
    return series;
}

// Four weekdays; the lines cross so that the ranking differs from day to day.
Comparison threeLines()
{
    Comparison comparison;
    comparison.id = QUuid::createUuid();
    comparison.interval = QStringLiteral("1D");
    comparison.series = { line("AAA", { 0, 0.10, 0.20, 0.30 }), line("BBB", { 0, -0.05, -0.10, -0.15 }),
        line("CCC", { 0, 0.05, 0.02, 0.40 }) };
    return comparison;
}

// Sums how far each pixel is from white, over all three channels: how much ink is drawn.
double ink(const QImage& image)
{
    double total = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            total += 765 - qRed(pixel) - qGreen(pixel) - qBlue(pixel);
        }
    return total;
}

QStringList readoutOrder(const ChartView& view)
{
    QStringList tickers;
    for (const auto& row : view.readout().rows())
        tickers.append(view.comparison().series[row.series].ticker);
    return tickers;
}

} // namespace

class ChartViewTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void pointerMovesRankWithoutRepaintingTheLines_data();
    void pointerMovesRankWithoutRepaintingTheLines();
    void hoveringALineHighlightsIt();
    void labelClickPinsAndEscapeClears();
    void zoomToPinnedRefitsTheRange();
    void logScaleSurvivesTotalLoss();
    void forcedHoverStandsWithoutAPointer_data();
    void forcedHoverStandsWithoutAPointer();
    void keptLayersNeverShowAStalePicture_data();
    void keptLayersNeverShowAStalePicture();
    void keptLayersFollowThePixelRatio();
    void wideLinesMatchThePaintersStroke_data();
    void wideLinesMatchThePaintersStroke();

private:
    QPoint at(double date, double value) const { return m_view->mapper().point(date, value).toPoint(); }

    std::unique_ptr<ChartFocus> m_focus;
    std::unique_ptr<ChartView> m_view;
};

void ChartViewTests::init()
{
    m_focus = std::make_unique<ChartFocus>();
    m_view = std::make_unique<ChartView>(m_focus.get());
    m_view->resize(800, 420);
    m_view->setComparison(std::make_shared<const Comparison>(threeLines()));
    m_view->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
    m_view->repaint();
}

void ChartViewTests::cleanup()
{
    m_view.reset();
    m_focus.reset();
}

void ChartViewTests::pointerMovesRankWithoutRepaintingTheLines_data()
{
    QTest::addColumn<int>("dayIndex");
    QTest::addColumn<double>("pointerValue"); // a height away from every line on that day
    QTest::addColumn<QStringList>("order");

    QTest::newRow("first day: all level, series order") << 0 << 0.35 << QStringList { "AAA", "BBB", "CCC" };
    QTest::newRow("second day") << 1 << 0.30 << QStringList { "AAA", "CCC", "BBB" };
    QTest::newRow("third day") << 2 << 0.11 << QStringList { "AAA", "CCC", "BBB" };
    QTest::newRow("fourth day: CCC overtakes") << 3 << 0.12 << QStringList { "CCC", "AAA", "BBB" };
}

void ChartViewTests::pointerMovesRankWithoutRepaintingTheLines()
{
    QFETCH(int, dayIndex);
    QFETCH(double, pointerValue);
    QFETCH(QStringList, order);

    const int builds = m_view->staticLayerBuilds();
    QVERIFY(builds > 0);
    const double date = monday + dayIndex * day;
    // Slightly off the date's x: the nearest date is still the one under the pointer.
    QTest::mouseMove(m_view.get(), at(date, pointerValue) + QPoint(dayIndex == 3 ? -20 : 20, 0));
    m_view->repaint();
    QCOMPARE(m_view->readout().date(), std::optional { date });
    QCOMPARE(readoutOrder(*m_view), order);
    QVERIFY(!m_focus->hovered().has_value());
    QVERIFY(m_focus->chartHovering());

    QTest::mouseMove(m_view.get(), at(date, pointerValue) + QPoint(0, 3));
    m_view->repaint();
    QCOMPARE(m_view->staticLayerBuilds(), builds);
}

void ChartViewTests::hoveringALineHighlightsIt()
{
    const int builds = m_view->staticLayerBuilds();
    // Halfway between the second and third day AAA runs at 0.15.
    const QPoint onAAA = at(monday + 1.5 * day, 0.15);
    QTest::mouseMove(m_view.get(), onAAA);
    QCOMPARE(m_focus->hovered(), std::optional<QString>("AAA"));
    QVERIFY(m_focus->hoverFromChart());
    m_view->repaint();
    QCOMPARE(m_view->staticLayerBuilds(), builds + 1);

    // Moving along the same line keeps the picture.
    QTest::mouseMove(m_view.get(), onAAA + QPoint(1, 0));
    m_view->repaint();
    QCOMPARE(m_view->staticLayerBuilds(), builds + 1);

    // Off the line the chart's own hover ends; a hover set by the legend would stay.
    QTest::mouseMove(m_view.get(), at(monday + 1.5 * day, 0.35));
    QVERIFY(!m_focus->hovered().has_value());
    m_focus->setHovered(QString("BBB"), false);
    QTest::mouseMove(m_view.get(), at(monday + 1.5 * day, 0.36));
    QCOMPARE(m_focus->hovered(), std::optional<QString>("BBB"));
}

void ChartViewTests::labelClickPinsAndEscapeClears()
{
    const QRectF plot = m_view->mapper().plot();
    // CCC ends highest, so its label is the top one in the gutter.
    const double endY = m_view->mapper().y(0.40);
    const QPoint label(static_cast<int>(plot.right() + 30), static_cast<int>(endY));
    QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, label);
    QCOMPARE(m_focus->pinned(), QStringList { "CCC" });
    QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, label);
    QVERIFY(m_focus->pinned().isEmpty());

    m_focus->setPinned({ "AAA", "BBB" });
    QTest::keyClick(m_view.get(), Qt::Key_Escape);
    QVERIFY(m_focus->pinned().isEmpty());
}

void ChartViewTests::zoomToPinnedRefitsTheRange()
{
    const YRange all = m_view->mapper().range();
    m_view->setZoomToPinned(true);
    QCOMPARE(m_view->mapper().range(), all);
    m_focus->pin("BBB");
    // BBB alone runs from 0 to −15 %: 6 % of that as padding on either side.
    QCOMPARE(m_view->mapper().range(), (YRange { -0.15 - 0.009, 0.009 }));
    m_view->setZoomToPinned(false);
    QCOMPARE(m_view->mapper().range(), all);
}

void ChartViewTests::logScaleSurvivesTotalLoss()
{
    Comparison comparison = threeLines();
    comparison.series.push_back(line("DDD", { 0, -0.5, -1.0, -1.0 }));
    m_view->setComparison(std::make_shared<const Comparison>(comparison));
    m_view->setLogScale(true);
    m_view->repaint();
    QVERIFY(m_view->mapper().range().lower > 0);
    const double bottom = m_view->mapper().y(-1.0);
    QVERIFY(std::isfinite(bottom));
    QVERIFY(bottom <= m_view->mapper().plot().bottom());
    QTest::mouseMove(m_view.get(), at(monday + 3 * day, 0.2));
    QCOMPARE(readoutOrder(*m_view), (QStringList { "CCC", "AAA", "BBB", "DDD" }));
}

void ChartViewTests::forcedHoverStandsWithoutAPointer_data()
{
    QTest::addColumn<ChartView::HoverSpot>("spot");
    QTest::addColumn<int>("dayIndex");

    const QDate first = QDateTime::fromSecsSinceEpoch(qint64(monday), QTimeZone::utc()).date();
    QTest::newRow("a day") << ChartView::HoverSpot(first.addDays(2)) << 2;
    QTest::newRow("a day past the data: the last bar") << ChartView::HoverSpot(first.addDays(30)) << 3;
    QTest::newRow("the left edge") << ChartView::HoverSpot(0.0) << 0;
    QTest::newRow("the right edge") << ChartView::HoverSpot(1.0) << 3;
}

void ChartViewTests::forcedHoverStandsWithoutAPointer()
{
    QFETCH(ChartView::HoverSpot, spot);
    QFETCH(int, dayIndex);

    m_view->forceHover(spot);
    const std::optional date { monday + dayIndex * day };
    QCOMPARE(m_view->readout().date(), date);
    // It stays through a resize and new data, as a snapshot needs.
    m_view->resize(600, 300);
    QCOMPARE(m_view->readout().date(), date);
    m_view->setComparison(std::make_shared<const Comparison>(threeLines()));
    QCOMPARE(m_view->readout().date(), date);
    QCOMPARE(readoutOrder(*m_view).size(), 3);
}

void ChartViewTests::keptLayersNeverShowAStalePicture_data()
{
    QTest::addColumn<ViewChange>("change");

    const auto data = [](ChartView& view, ChartFocus&) {
        Comparison other = threeLines();
        other.series[0] = line("AAA", { 0, -0.30, 0.50, 0.10 });
        view.setComparison(std::make_shared<const Comparison>(other));
    };
    QTest::newRow("new data") << ViewChange(data);
    QTest::newRow("log scale") << ViewChange([](ChartView& view, ChartFocus&) { view.setLogScale(true); });
    QTest::newRow("zoom to the pinned lines")
        << ViewChange([](ChartView& view, ChartFocus&) { view.setZoomToPinned(true); });
    QTest::newRow("another theme") << ViewChange([](ChartView& view, ChartFocus&) {
        QPalette dark = view.palette();
        dark.setColor(QPalette::Base, QColor(0x1b, 0x1d, 0x21));
        dark.setColor(QPalette::Text, QColor(0xe6, 0xe8, 0xeb));
        view.setPalette(dark);
    });
    QTest::newRow("resize") << ViewChange([](ChartView& view, ChartFocus&) { view.resize(640, 360); });
    QTest::newRow("other pins") << ViewChange([](ChartView&, ChartFocus& focus) { focus.setPinned({ "BBB", "CCC" }); });
    QTest::newRow("no pins") << ViewChange([](ChartView&, ChartFocus& focus) { focus.clearPinned(); });
    QTest::newRow("a hovered line") << ViewChange(
        [](ChartView&, ChartFocus& focus) { focus.setHovered(QString("CCC")); });
}

void ChartViewTests::keptLayersNeverShowAStalePicture()
{
    QFETCH(ViewChange, change);

    // Both kept layers painted: plain, then faded under a pin.
    m_focus->pin("AAA");
    m_view->grab();
    m_focus->clearPinned();
    m_view->grab();
    m_focus->pin("AAA");
    m_view->grab();
    change(*m_view, *m_focus);
    const QImage kept = m_view->grab().toImage();

    // The same chart painted from nothing.
    ChartFocus focus;
    ChartView fresh(&focus);
    fresh.resize(800, 420);
    fresh.setComparison(std::make_shared<const Comparison>(threeLines()));
    focus.pin("AAA");
    change(fresh, focus);
    QCOMPARE(kept, fresh.grab().toImage());
}

void ChartViewTests::keptLayersFollowThePixelRatio()
{
    ChartFocus focus;
    const Comparison comparison = threeLines();
    const QSize size(400, 240);
    const TimeAxis axis = TimeAxis::build(comparison.series, comparison.interval);
    const ChartMapper mapper(ChartPainter::plotRect(QRectF(QPointF(0, 0), QSizeF(size))), axis,
        yDomain(comparison.series, {}, false), false);
    std::vector<QPolygonF> paths(comparison.series.size());
    for (std::size_t s = 0; s < paths.size(); ++s)
        mapper.path(comparison.series[s], paths[s]);
    const std::vector<QColor> colors(paths.size(), Qt::darkBlue);
    ChartPainter::Scene scene;
    scene.mapper = &mapper;
    scene.series = comparison.series;
    scene.paths = paths;
    scene.colors = colors;
    scene.highlighted = [](std::size_t s) { return s == 0; };
    scene.anyHighlighted = true;
    scene.theme = { Qt::white, Qt::black, Qt::gray, QColor(0, 0, 0, 20) };

    ChartLayers moved;
    moved.compose(scene, size, 1, QFont());
    const QImage atTwo = moved.compose(scene, size, 2, QFont());
    QCOMPARE(atTwo.size(), size * 2);
    ChartLayers fresh;
    QCOMPARE(atTwo, fresh.compose(scene, size, 2, QFont()));
}

void ChartViewTests::wideLinesMatchThePaintersStroke_data()
{
    QTest::addColumn<QPolygonF>("line");
    QTest::addColumn<double>("ratio");

    const QPolygonF zigzag { { 10, 50 }, { 30, 20 }, { 35, 80 }, { 60, 40 }, { 62, 42 }, { 110, 45 } };
    QTest::newRow("zigzag") << zigzag << 1.0;
    QTest::newRow("zigzag at ratio 2") << zigzag << 2.0;
    QTest::newRow("a walk of short steps") << [] {
        QPolygonF walk;
        for (int i = 0; i < 60; ++i)
            walk << QPointF(5 + i * 1.8, 50 + 20 * std::sin(i * 0.9));
        return walk;
    }() << 2.0;
    QTest::newRow("running out of the clip") << QPolygonF { { -40, 10 }, { 60, 95 }, { 150, 120 } } << 1.0;
    // As a line does when the chart is zoomed to other lines.
    QTest::newRow("reaching far outside") << QPolygonF { { 10, 50 }, { 40, 60 }, { 60, 5e6 } } << 2.0;
}

void ChartViewTests::wideLinesMatchThePaintersStroke()
{
    QFETCH(QPolygonF, line);
    QFETCH(double, ratio);

    const QRectF clip(2, 2, 116, 96);
    const auto draw = [&](bool direct) {
        QImage image((QSizeF(120, 100) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
        image.setDevicePixelRatio(ratio);
        image.fill(Qt::white);
        QPainter painter(&image);
        painter.setClipRect(clip);
        painter.setRenderHint(QPainter::Antialiasing);
        if (direct) {
            ChartWideLine::onto(painter, clip)->stroke(line, 2.25, Qt::darkBlue);
        } else {
            painter.setPen(QPen(Qt::darkBlue, 2.25, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.drawPolyline(line);
        }
        return image;
    };
    const QImage ours = draw(true);
    const QImage painters = draw(false);
    // The same amount of ink, in the same places: only at the tips of sharp turns, where the
    // stroker flattens the round join, does a pixel differ by more than a quarter.
    QVERIFY(ink(painters) > 0);
    QVERIFY2(std::abs(ink(ours) / ink(painters) - 1) < 0.02, qPrintable(QString::number(ink(ours) / ink(painters))));
    int inked = 0;
    int off = 0;
    for (int y = 0; y < ours.height(); ++y)
        for (int x = 0; x < ours.width(); ++x) {
            inked += qGray(painters.pixel(x, y)) < 255 ? 1 : 0;
            off += std::abs(qGray(ours.pixel(x, y)) - qGray(painters.pixel(x, y))) > 64 ? 1 : 0;
        }
    QVERIFY2(off <= inked / 50, qPrintable(QStringLiteral("%1 of %2 pixels").arg(off).arg(inked)));
}

QTEST_MAIN(ChartViewTests)
#include "tst_ChartView.moc"
