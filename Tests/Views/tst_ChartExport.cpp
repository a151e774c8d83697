#include "Tessary/Views/Chart/BrandGeometry.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartExporter.h"
#include "Tessary/Views/Chart/ChartFocus.h"

#include <QApplication>
#include <QPalette>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace tessary;

namespace {

// Every shape of the mark, as the standalone SVG must write it.
const QString markPolygons = QStringLiteral(
    R"(<polygon fill="#94A3B8" points="7,78 33,78 33,86 7,86"/><polygon fill="#94A3B8" points="7,68 33,68 33,76 7,76"/>)"
    R"(<polygon fill="#94A3B8" points="37,78 63,78 63,86 37,86"/><polygon fill="#94A3B8" points="37,68 63,68 63,76 37,76"/>)"
    R"(<polygon fill="#94A3B8" points="67,78 93,78 93,86 67,86"/><polygon fill="#94A3B8" points="67,68 93,68 93,76 67,76"/>)"
    R"(<polygon fill="#3B5BDB" points="11,66 33,55 33,66"/><polygon fill="#3B5BDB" points="37,53 63,40 63,66 37,66"/>)"
    R"(<polygon fill="#3B5BDB" points="67,38 93,25 93,66 67,66"/><polygon fill="#2B8A6E" points="7,58 33,45 33,53 7,66"/>)"
    R"(<polygon fill="#2B8A6E" points="37,43 63,30 63,38 37,51"/><polygon fill="#2B8A6E" points="67,28 93,15 93,23 67,36"/>)");

// Three tickers drifting apart over 60 weekdays, the last one falling.
std::shared_ptr<const Comparison> sampleComparison(const QString& interval = QStringLiteral("1D"))
{
    auto comparison = std::make_shared<Comparison>();
    comparison->interval = interval;
    const double start
        = static_cast<double>(QDateTime(QDate(2024, 1, 2), QTime(0, 0), QTimeZone::utc()).toSecsSinceEpoch());
    const QStringList tickers { "AAPL", "MSFT", "XOM" };
    for (qsizetype t = 0; t < tickers.size(); ++t) {
        ChartSeries line { tickers[t], {}, false };
        for (int i = 0; i < 60; ++i)
            line.points.push_back({ start + i * 86'400.0, (t == 2 ? -0.004 : 0.003 * (t + 1)) * i, std::nullopt });
        comparison->series.push_back(std::move(line));
    }
    comparison->lastQuote = QDateTime(QDate(2024, 3, 1), QTime(21, 0), QTimeZone::utc());
    return comparison;
}

QImage render(const ChartExportCard::Content& content, const ChartFocus& focus, double scale = 1)
{
    const auto image = ChartExporter::image(ChartExportCard(content, focus), scale);
    return image ? *image : QImage();
}

ChartExportCard::Content sampleContent()
{
    return { QStringLiteral("Big Tech"), ListPeriod::forPreset(Timeframe::oneYear), sampleComparison(), false, false,
        QDateTime(QDate(2024, 3, 4), QTime(12, 0), QTimeZone::utc()) };
}

// Inside the card's plot, left of the end labels: only the lines and the grid are here.
QImage chartBand(const QImage& card)
{
    return card.copy(110, 130, 940, 500);
}

} // namespace

class ChartExportTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void brandSvg_data();
    void brandSvg();
    void brandColoursInOrder();
    void suggestedFileName_data();
    void suggestedFileName();
    void pngDecodesAtItsScale_data();
    void pngDecodesAtItsScale();
    void drawingFollowsScaleAndHighlights_data();
    void drawingFollowsScaleAndHighlights();
    void lightWhateverTheDesktop();
    void failedSaveLeavesNoFile();
};

void ChartExportTests::brandSvg_data()
{
    QTest::addColumn<int>("height");
    QTest::addColumn<QString>("opening");
    QTest::newRow("76: the view box's own size")
        << 76 << R"(<svg xmlns="http://www.w3.org/2000/svg" width="92" height="76" )";
    QTest::newRow("16: 19.37 rounds down")
        << 16 << R"(<svg xmlns="http://www.w3.org/2000/svg" width="19" height="16" )";
    QTest::newRow("40: 48.42 rounds down")
        << 40 << R"(<svg xmlns="http://www.w3.org/2000/svg" width="48" height="40" )";
    QTest::newRow("100: 121.05") << 100 << R"(<svg xmlns="http://www.w3.org/2000/svg" width="121" height="100" )";
    QTest::newRow("33: 39.95 rounds up") << 33 << R"(<svg xmlns="http://www.w3.org/2000/svg" width="40" height="33" )";
}

void ChartExportTests::brandSvg()
{
    QFETCH(int, height);
    QFETCH(QString, opening);
    const QString expected
        = opening + R"(viewBox="4 12 92 76" role="img" aria-label="Tessary">)" + markPolygons + "</svg>";
    QCOMPARE(BrandGeometry::svg(height), expected);
}

void ChartExportTests::brandColoursInOrder()
{
    const auto polygons = BrandGeometry::polygons();
    QCOMPARE(polygons.size(), 12u);
    const QRectF box = BrandGeometry::viewBox();
    for (std::size_t i = 0; i < polygons.size(); ++i) {
        const QRgb expected = i < 6 ? 0x94A3B8 : i < 9 ? 0x3B5BDB : 0x2B8A6E;
        QCOMPARE(polygons[i].color, expected);
        for (const QPointF& point : polygons[i].points)
            QVERIFY2(box.contains(point), qPrintable(QStringLiteral("shape %1 leaves the view box").arg(i)));
    }
}

void ChartExportTests::suggestedFileName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<ListPeriod>("period");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << "Big Tech" << ListPeriod::forPreset(Timeframe::fiveYear) << "Tessary – Big Tech 5Y.png";
    QTest::newRow("separators and reserved characters")
        << R"(AI/ML: "best" <picks>? a\b|c*)" << ListPeriod::forPreset(Timeframe::oneYear)
        << "Tessary – AI-ML- -best- -picks-- a-b-c- 1Y.png";
    QTest::newRow("control characters") << "Tab\there\nnewline" << ListPeriod::forPreset(Timeframe::oneYear)
                                        << "Tessary – Tab-here-newline 1Y.png";
    QTest::newRow("scenario by name") << "Banks"
                                      << ListPeriod::forScenario(*Scenario::find(QStringLiteral("covid-crash")))
                                      << "Tessary – Banks COVID Crash.png";
    QTest::newRow("range by its days") << "Mine"
                                       << ListPeriod::forRange(
                                              QStringLiteral("2012-01-03"), QStringLiteral("2016-12-30"))
                                       << "Tessary – Mine Jan 3, 2012 – Dec 30, 2016.png";
}

void ChartExportTests::suggestedFileName()
{
    QFETCH(QString, name);
    QFETCH(ListPeriod, period);
    QFETCH(QString, expected);
    ChartFocus focus;
    QCOMPARE(ChartExportCard({ name, period, sampleComparison() }, focus).suggestedFileName(), expected);
}

void ChartExportTests::pngDecodesAtItsScale_data()
{
    QTest::addColumn<double>("scale");
    QTest::newRow("1") << 1.0;
    QTest::newRow("2") << 2.0;
}

void ChartExportTests::pngDecodesAtItsScale()
{
    QFETCH(double, scale);
    ChartFocus focus;
    const auto image = ChartExporter::image(ChartExportCard(sampleContent(), focus), scale);
    QVERIFY(image);
    const auto png = ChartExporter::png(*image);
    QVERIFY(png);
    QVERIFY(png->startsWith("\x89PNG\r\n\x1a\n"));
    const QImage decoded = QImage::fromData(*png, "PNG");
    QCOMPARE(decoded.width(), qRound(1200 * scale));
    QCOMPARE(decoded.height(), qRound(ChartExportCard::size().height() * scale));
}

void ChartExportTests::drawingFollowsScaleAndHighlights_data()
{
    QTest::addColumn<bool>("log");
    QTest::addColumn<QStringList>("pinned");
    QTest::addColumn<bool>("zoomToPinned");
    QTest::newRow("log scale") << true << QStringList {} << false;
    QTest::newRow("a pinned ticker fades the others") << false << QStringList { "XOM" } << false;
    QTest::newRow("zoomed to the pinned ticker") << false << QStringList { "XOM" } << true;
}

void ChartExportTests::drawingFollowsScaleAndHighlights()
{
    QFETCH(bool, log);
    QFETCH(QStringList, pinned);
    QFETCH(bool, zoomToPinned);
    ChartFocus plain;
    const QImage before = render(sampleContent(), plain);
    ChartFocus focus;
    focus.setPinned(pinned);
    ChartExportCard::Content content = sampleContent();
    content.log = log;
    content.zoomToPinned = zoomToPinned;
    const QImage after = render(content, focus);
    QVERIFY(!before.isNull() && !after.isNull());
    QVERIFY(chartBand(before) != chartBand(after));
    QCOMPARE(before.copy(0, 0, before.width(), 100), after.copy(0, 0, after.width(), 100));
    if (zoomToPinned) {
        // Zooming changes the y-range, which fading alone leaves as it is.
        ChartExportCard::Content unzoomed = content;
        unzoomed.zoomToPinned = false;
        QVERIFY(chartBand(render(unzoomed, focus)) != chartBand(after));
    }
}

void ChartExportTests::lightWhateverTheDesktop()
{
    const QPalette original = QApplication::palette();
    QPalette dark = original;
    dark.setColor(QPalette::Base, QColor(0x1b, 0x1d, 0x21));
    dark.setColor(QPalette::Window, QColor(0x24, 0x26, 0x2b));
    dark.setColor(QPalette::Text, QColor(0xe6, 0xe8, 0xeb));
    dark.setColor(QPalette::WindowText, QColor(0xe6, 0xe8, 0xeb));
    QApplication::setPalette(dark);
    ChartFocus focus;
    const QImage light = render(sampleContent(), focus);
    const QImage night
        = *ChartExporter::image(ChartExportCard(sampleContent(), focus, ChartExportCard::Appearance::dark), 1);
    QApplication::setPalette(original);

    // Corners and the middle of the plot are background; the title's pixels are ink.
    for (const QPoint point : { QPoint(2, 2), QPoint(1197, 700), QPoint(600, 300) }) {
        QCOMPARE(QColor(light.pixel(point)), QColor(Qt::white));
        QVERIFY(QColor(night.pixel(point)).lightness() < 60);
    }
    int inkedLight = 0;
    for (int x = 40; x < 300; ++x)
        inkedLight += QColor(light.pixel(x, 52)).lightness() < 100 ? 1 : 0;
    QVERIFY2(inkedLight > 10, "the title is dark ink on the light card");
}

void ChartExportTests::failedSaveLeavesNoFile()
{
    QTemporaryDir dir;
    const QString missingFolder = dir.filePath(QStringLiteral("missing/card.png"));
    const auto failed = ChartExporter::save("png bytes", missingFolder);
    QVERIFY(!failed);
    const QString line = failed.error().description();
    QVERIFY2(line.startsWith(QStringLiteral("Couldn't save the image to ")), qPrintable(line));
    QVERIFY(!line.contains(u'\n'));
    QCOMPARE(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList {});

    // Over an existing file: the new bytes replace it whole.
    const QString path = dir.filePath(QStringLiteral("card.png"));
    QVERIFY(ChartExporter::save("old", path));
    QVERIFY(ChartExporter::save("new bytes", path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("new bytes"));
}

QTEST_MAIN(ChartExportTests)
#include "tst_ChartExport.moc"
