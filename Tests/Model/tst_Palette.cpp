#include "Support/ColourDifference.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Palette.h"

#include <QTest>

using namespace tessary;
class PaletteTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void benchmarkTakesNoSeriesColour_data();
    void benchmarkTakesNoSeriesColour();
    void labOfSrgb_data();
    void labOfSrgb();
    void colourDifference_data();
    void colourDifference();
};

void PaletteTests::benchmarkTakesNoSeriesColour_data()
{
    // Which series are benchmarks, and the palette index each series gets (-1: the grey).
    QTest::addColumn<QList<bool>>("benchmarks");
    QTest::addColumn<QList<int>>("indices");

    QTest::newRow("tickers only") << QList<bool> { false, false, false } << QList<int> { 0, 1, 2 };
    QTest::newRow("benchmark first") << QList<bool> { true, false, false } << QList<int> { -1, 0, 1 };
    QTest::newRow("benchmark between") << QList<bool> { false, true, false } << QList<int> { 0, -1, 1 };
}

void PaletteTests::benchmarkTakesNoSeriesColour()
{
    QFETCH(QList<bool>, benchmarks);
    QFETCH(QList<int>, indices);
    std::vector<ChartSeries> series;
    for (const bool isBenchmark : benchmarks)
        series.push_back(ChartSeries { QStringLiteral("T%1").arg(series.size()), {}, isBenchmark });
    const std::vector<QColor> colors = Palette::seriesColors(series);
    QCOMPARE(colors.size(), series.size());
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

QTEST_GUILESS_MAIN(PaletteTests)
#include "tst_Palette.moc"
