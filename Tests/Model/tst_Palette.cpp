#include "Support/ColourDifference.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Palette.h"

#include <QImage>
#include <QPainter>
#include <QTest>

using namespace tessary;
using test::Vision;

Q_DECLARE_METATYPE(Vision)

namespace {

// The colour a line leaves on the chart's background when it steps back for a highlighted
// one, painted the way the chart paints it.
QColor faded(const QColor& color, const QColor& background)
{
    QImage image(1, 1, QImage::Format_ARGB32_Premultiplied);
    image.fill(background);
    QColor translucent = color;
    translucent.setAlphaF(static_cast<float>(Palette::fadedOpacity));
    QPainter painter(&image);
    painter.fillRect(image.rect(), translucent);
    painter.end();
    return image.pixelColor(0, 0);
}

// The first `count` series colours and the benchmark grey, which shares the chart with them.
QList<QColor> chartColours(std::size_t count)
{
    QList<QColor> colours(Palette::series().begin(), Palette::series().begin() + qsizetype(count));
    colours.append(Palette::benchmark());
    return colours;
}

// The pair of `colours` that lies closest together, as a failure message when it is closer
// than `minimum`; empty when every pair keeps apart.
template <class Difference>
QString closestPairBelow(const QList<QColor>& colours, double minimum, Difference difference)
{
    QString closest;
    double smallest = minimum;
    for (qsizetype i = 0; i < colours.size(); ++i) {
        for (qsizetype j = i + 1; j < colours.size(); ++j) {
            const double distance = difference(colours[i], colours[j]);
            if (distance < smallest) {
                smallest = distance;
                closest = QStringLiteral("%1 and %2 are only %3 apart")
                              .arg(colours[i].name(), colours[j].name())
                              .arg(distance, 0, 'f', 2);
            }
        }
    }
    return closest;
}

} // namespace

class PaletteTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void seriesColoursFollowTheList_data();
    void seriesColoursFollowTheList();
    void labOfSrgb_data();
    void labOfSrgb();
    void greyStaysGrey_data();
    void greyStaysGrey();
    void colourDifference_data();
    void colourDifference();
    void seriesColoursStayApart_data();
    void seriesColoursStayApart();
    void fadedColoursStayApart_data();
    void fadedColoursStayApart();
    void linesStandOutFromTheBackground_data();
    void linesStandOutFromTheBackground();
};

void PaletteTests::seriesColoursFollowTheList_data()
{
    // The list's tickers, the tickers the response has lines for, and the palette index each
    // line gets (-1: the benchmark grey). SPY is the benchmark.
    QTest::addColumn<QStringList>("tickers");
    QTest::addColumn<QStringList>("lines");
    QTest::addColumn<QList<int>>("indices");

    QTest::newRow("tickers only") << QStringList { "A", "B", "C" } << QStringList { "A", "B", "C" }
                                  << QList<int> { 0, 1, 2 };
    QTest::newRow("benchmark first") << QStringList { "A", "B" } << QStringList { "SPY", "A", "B" }
                                     << QList<int> { -1, 0, 1 };
    QTest::newRow("benchmark between") << QStringList { "A", "B" } << QStringList { "A", "SPY", "B" }
                                       << QList<int> { 0, -1, 1 };
    QTest::newRow("a ticker without data shifts no one")
        << QStringList { "A", "B", "C" } << QStringList { "A", "C" } << QList<int> { 0, 2 };
    QTest::newRow("benchmark in the list is a ticker")
        << QStringList { "A", "SPY", "B" } << QStringList { "A", "SPY", "B" } << QList<int> { 0, 1, 2 };
}

void PaletteTests::seriesColoursFollowTheList()
{
    QFETCH(QStringList, tickers);
    QFETCH(QStringList, lines);
    QFETCH(QList<int>, indices);
    PricesResponse response;
    for (const QString& ticker : lines)
        response.series.push_back(TickerSeries { ticker, { 0 }, { 0.0 }, std::nullopt });
    const Comparison comparison = buildComparison(response, tickers, QStringLiteral("SPY"));
    const std::vector<QColor> colors = Palette::seriesColors(comparison.series);
    QCOMPARE(colors.size(), std::size_t(lines.size()));
    for (qsizetype i = 0; i < indices.size(); ++i) {
        const QColor expected = indices[i] < 0 ? Palette::benchmark() : Palette::seriesColor(std::size_t(indices[i]));
        QCOMPARE(colors[std::size_t(i)], expected);
    }
}

void PaletteTests::labOfSrgb_data()
{
    QTest::addColumn<QColor>("colour");
    QTest::addColumn<QList<double>>("expected");

    QTest::newRow("white") << QColor(0xFF, 0xFF, 0xFF) << QList<double> { 100, 0, 0 };
    QTest::newRow("red") << QColor(0xFF, 0x00, 0x00) << QList<double> { 53.24, 80.09, 67.20 };
    QTest::newRow("green") << QColor(0x00, 0xFF, 0x00) << QList<double> { 87.73, -86.18, 83.18 };
    QTest::newRow("blue") << QColor(0x00, 0x00, 0xFF) << QList<double> { 32.30, 79.19, -107.86 };
    // Dark enough to take the linear part of both the sRGB decoding and the Lab curve.
    QTest::newRow("near black") << QColor(0x02, 0x02, 0x02) << QList<double> { 0.55, 0, 0 };
}

void PaletteTests::labOfSrgb()
{
    QFETCH(QColor, colour);
    QFETCH(QList<double>, expected);
    const test::Lab lab = test::lab(colour);
    QVERIFY2(std::abs(lab.lightness - expected[0]) < 0.01, qPrintable(QString::number(lab.lightness)));
    QVERIFY2(std::abs(lab.a - expected[1]) < 0.01, qPrintable(QString::number(lab.a)));
    QVERIFY2(std::abs(lab.b - expected[2]) < 0.01, qPrintable(QString::number(lab.b)));
}

void PaletteTests::greyStaysGrey_data()
{
    QTest::addColumn<Vision>("vision");

    QTest::newRow("protanopia") << Vision::protanopia;
    QTest::newRow("deuteranopia") << Vision::deuteranopia;
    QTest::newRow("tritanopia") << Vision::tritanopia;
}

void PaletteTests::greyStaysGrey()
{
    // Every row of the simulation matrices sums to 1, so a grey looks the same to everyone:
    // a digit copied wrongly into a matrix shows up here.
    QFETCH(Vision, vision);
    const QColor grey(0x77, 0x77, 0x77);
    const test::Lab seen = test::lab(grey, vision);
    const test::Lab normal = test::lab(grey);
    QVERIFY2(std::abs(seen.lightness - normal.lightness) < 1e-3 && std::abs(seen.a - normal.a) < 1e-3
            && std::abs(seen.b - normal.b) < 1e-3,
        qPrintable(QStringLiteral("%1 %2 %3").arg(seen.lightness).arg(seen.a).arg(seen.b)));
}

void PaletteTests::colourDifference_data()
{
    QTest::addColumn<QList<double>>("first");
    QTest::addColumn<QList<double>>("second");
    QTest::addColumn<double>("difference");

    // Pairs from the published test data for CIEDE2000 (Sharma, Wu and Dalal, 2005), chosen
    // for the branches they take.
    QTest::newRow("1: blue, mostly hue") << QList<double> { 50, 2.6772, -79.7751 } << QList<double> { 50, 0, -82.7485 }
                                         << 2.0425;
    QTest::newRow("4: blue, hue the other way")
        << QList<double> { 50, -1.3802, -84.2814 } << QList<double> { 50, 0, -82.7485 } << 1.0000;
    QTest::newRow("7: grey against a colour") << QList<double> { 50, 0, 0 } << QList<double> { 50, -1, 2 } << 2.3669;
    QTest::newRow("8: hues either side of 0, mean across 360")
        << QList<double> { 50, 2.49, -0.001 } << QList<double> { 50, -2.49, 0.0009 } << 7.1792;
    QTest::newRow("9: the same, mean not across 360")
        << QList<double> { 50, 2.49, -0.001 } << QList<double> { 50, -2.49, 0.0011 } << 7.2195;
    QTest::newRow("17: large difference") << QList<double> { 50, 2.5, 0 } << QList<double> { 73, 25, -18 } << 27.1492;
    QTest::newRow("25: greens") << QList<double> { 60.2574, -34.0099, 36.2677 }
                                << QList<double> { 60.4626, -34.1751, 39.4387 } << 1.2644;
    QTest::newRow("34: near black") << QList<double> { 2.0776, 0.0795, -1.1350 }
                                    << QList<double> { 0.9033, -0.0636, -0.5514 } << 0.9082;
}

void PaletteTests::colourDifference()
{
    QFETCH(QList<double>, first);
    QFETCH(QList<double>, second);
    QFETCH(double, difference);
    const test::Lab one { first[0], first[1], first[2] };
    const test::Lab other { second[0], second[1], second[2] };
    QVERIFY2(std::abs(test::colourDifference(one, other) - difference) < 5e-5,
        qPrintable(QString::number(test::colourDifference(one, other), 'f', 4)));
    QVERIFY2(std::abs(test::colourDifference(other, one) - difference) < 5e-5,
        qPrintable(QString::number(test::colourDifference(other, one), 'f', 4)));
}

void PaletteTests::seriesColoursStayApart_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<Vision>("vision");
    QTest::addColumn<double>("minimum");

    // Most lists hold fewer than ten tickers, and a line is matched to its label by colour
    // alone, so the first ten colours (with the benchmark grey) are held to the most.
    //
    // A difference of 20 is the usual bar for categorical colours, and normal vision gets it.
    // The simulated deficiencies cannot: the 3:1 contrast against both backgrounds confines
    // every colour to a lightness band of about L* 44 to 62, and a dichromat also loses one
    // of the two hue axes, so ten colours crowd together. Searching the sRGB cube found no
    // ten that keep more than 12.5 apart even for deuteranopia alone, about 11 under all
    // three at once, and 10.3 once normal vision keeps its 20. 10 is still five times the
    // difference noticed between two patches side by side (about 2), so two lines read as
    // two colours. Beyond ten the band fills up: all twenty keep 12 apart for normal vision
    // and 6 under each deficiency, so a longer list still draws no two lines alike.
    QTest::newRow("first ten, normal vision") << 10 << Vision::normal << 20.0;
    QTest::newRow("first ten, protanopia") << 10 << Vision::protanopia << 10.0;
    QTest::newRow("first ten, deuteranopia") << 10 << Vision::deuteranopia << 10.0;
    QTest::newRow("first ten, tritanopia") << 10 << Vision::tritanopia << 10.0;
    QTest::newRow("all, normal vision") << int(Palette::series().size()) << Vision::normal << 12.0;
    QTest::newRow("all, protanopia") << int(Palette::series().size()) << Vision::protanopia << 6.0;
    QTest::newRow("all, deuteranopia") << int(Palette::series().size()) << Vision::deuteranopia << 6.0;
    QTest::newRow("all, tritanopia") << int(Palette::series().size()) << Vision::tritanopia << 6.0;
}

void PaletteTests::seriesColoursStayApart()
{
    QFETCH(int, count);
    QFETCH(Vision, vision);
    QFETCH(double, minimum);
    const QString closest
        = closestPairBelow(chartColours(std::size_t(count)), minimum, [vision](const QColor& one, const QColor& other) {
              return test::colourDifference(test::lab(one, vision), test::lab(other, vision));
          });
    QVERIFY2(closest.isEmpty(), qPrintable(closest));
}

void PaletteTests::fadedColoursStayApart_data()
{
    QTest::addColumn<bool>("dark");

    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

void PaletteTests::fadedColoursStayApart()
{
    // Faded lines step back, but the user still picks the next one to hover by its colour,
    // so they must differ by more than the barely noticeable (about 2).
    QFETCH(bool, dark);
    const QColor background = Palette::background(dark);
    const QString closest
        = closestPairBelow(chartColours(10), 5.0, [&background](const QColor& one, const QColor& other) {
              return test::colourDifference(test::lab(faded(one, background)), test::lab(faded(other, background)));
          });
    QVERIFY2(closest.isEmpty(), qPrintable(closest));
}

void PaletteTests::linesStandOutFromTheBackground_data()
{
    fadedColoursStayApart_data();
}

void PaletteTests::linesStandOutFromTheBackground()
{
    // The bulk of the lines are one device pixel wide; 3:1 is what a thin graphic needs to be
    // seen against what lies behind it.
    QFETCH(bool, dark);
    const QColor background = Palette::background(dark);
    for (const QColor& colour : chartColours(Palette::series().size())) {
        const double contrast = test::contrastRatio(colour, background);
        QVERIFY2(contrast >= 3.0,
            qPrintable(QStringLiteral("%1 on %2: %3").arg(colour.name(), background.name()).arg(contrast)));
    }
}

QTEST_MAIN(PaletteTests)
#include "tst_Palette.moc"
