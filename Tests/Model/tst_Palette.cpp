#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Palette.h"

#include <QTest>

using namespace tessary;

class PaletteTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void benchmarkTakesNoSeriesColour_data();
    void benchmarkTakesNoSeriesColour();
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

QTEST_GUILESS_MAIN(PaletteTests)
#include "tst_Palette.moc"
