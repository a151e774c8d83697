#include <QTest>

#include "Tessary/Model/Comparison.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartReadout.h"
#include "Tessary/Views/Chart/EndLabels.h"

using namespace tessary;

namespace {

// Series named after their index ("S0", "S1", …), each with one point at date 100 carrying
// the given return, except where the value is NaN: those have no point at that date.
std::vector<ChartSeries> seriesAt(const std::vector<double>& values)
{
    std::vector<ChartSeries> result;
    for (std::size_t i = 0; i < values.size(); ++i) {
        ChartSeries line { QStringLiteral("S%1").arg(i), { { 50, 0, std::nullopt } }, false };
        if (!std::isnan(values[i]))
            line.points.push_back(ChartPoint { 100, values[i], 10.0 + static_cast<double>(i) });
        line.points.push_back(ChartPoint { 150, 0, std::nullopt });
        result.push_back(std::move(line));
    }
    return result;
}

QStringList tickersOf(
    const std::vector<ChartSeries>& series, const ChartReadout& readout, const std::vector<std::size_t>& rows)
{
    QStringList tickers;
    for (const std::size_t row : rows)
        tickers.append(series[readout.rows()[row].series].ticker);
    return tickers;
}

} // namespace

Q_DECLARE_METATYPE(std::vector<double>)

class ChartOverlayTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ranksByReturnAtTheDate_data();
    void ranksByReturnAtTheDate();
    void readoutCapacity_data();
    void readoutCapacity();
    void visibleRows_data();
    void visibleRows();
    void shortName_data();
    void shortName();
    void endLabelPages_data();
    void endLabelPages();
    void focusPinning();
};

void ChartOverlayTests::ranksByReturnAtTheDate_data()
{
    QTest::addColumn<std::vector<double>>("values");
    QTest::addColumn<QStringList>("order");

    const double none = std::nan("");
    QTest::newRow("highest first") << std::vector { 0.1, 0.3, -0.2 } << QStringList { "S1", "S0", "S2" };
    QTest::newRow("ties keep the series order")
        << std::vector { 0.1, 0.2, 0.1, 0.2 } << QStringList { "S1", "S3", "S0", "S2" };
    QTest::newRow("series without a point there are left out")
        << std::vector { none, 0.5, none, -1.0 } << QStringList { "S1", "S3" };
    QTest::newRow("nobody has a point") << std::vector { none, none } << QStringList {};
}

void ChartOverlayTests::ranksByReturnAtTheDate()
{
    QFETCH(std::vector<double>, values);
    QFETCH(QStringList, order);

    const auto series = seriesAt(values);
    ChartReadout readout;
    readout.rank(series, 100);
    QStringList tickers;
    int expectedRank = 1;
    for (const auto& row : readout.rows()) {
        tickers.append(series[row.series].ticker);
        QCOMPARE(row.rank, expectedRank++);
        QCOMPARE(row.value, values[row.series]);
        QCOMPARE(row.price, std::optional { 10.0 + static_cast<double>(row.series) });
    }
    QCOMPARE(tickers, order);
}

void ChartOverlayTests::readoutCapacity_data()
{
    QTest::addColumn<double>("plotHeight");
    QTest::addColumn<int>("rows");

    QTest::newRow("50 points still holds four") << 50.0 << 4;
    QTest::newRow("zero height holds four") << 0.0 << 4;
    QTest::newRow("exactly four rows") << 56.0 + 4 * 17 << 4;
    QTest::newRow("room for ten") << 56.0 + 10 * 17 << 10;
    QTest::newRow("a point short of ten") << 56.0 + 10 * 17 - 1 << 9;
}

void ChartOverlayTests::readoutCapacity()
{
    QFETCH(double, plotHeight);
    QFETCH(int, rows);
    QCOMPARE(ChartReadout::capacity(plotHeight), rows);
}

void ChartOverlayTests::visibleRows_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("capacity");
    QTest::addColumn<QStringList>("highlighted");
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<int>("more");

    // Returns fall with the index, so S0 ranks first.
    QTest::newRow("ten rows, room for four") << 10 << 4 << QStringList {} << QStringList { "S0", "S1", "S2" } << 7;
    QTest::newRow("exactly full") << 4 << 4 << QStringList {} << QStringList { "S0", "S1", "S2", "S3" } << 0;
    QTest::newRow("one too many") << 5 << 4 << QStringList {} << QStringList { "S0", "S1", "S2" } << 2;
    QTest::newRow("a pinned ticker far down stays in view")
        << 10 << 4 << QStringList { "S8" } << QStringList { "S0", "S1", "S8" } << 7;
    QTest::newRow("highlighted rows already in view change nothing")
        << 10 << 4 << QStringList { "S1" } << QStringList { "S0", "S1", "S2" } << 7;
    QTest::newRow("more highlighted than room: the best of them")
        << 10 << 3 << QStringList { "S9", "S5", "S7" } << QStringList { "S5", "S7" } << 8;
}

void ChartOverlayTests::visibleRows()
{
    QFETCH(int, count);
    QFETCH(int, capacity);
    QFETCH(QStringList, highlighted);
    QFETCH(QStringList, shown);
    QFETCH(int, more);

    std::vector<double> values;
    for (int i = 0; i < count; ++i)
        values.push_back(1.0 - 0.1 * i);
    const auto series = seriesAt(values);
    ChartReadout readout;
    readout.rank(series, 100);
    const auto visible
        = readout.visible(capacity, [&](std::size_t s) { return highlighted.contains(series[s].ticker); });
    QCOMPARE(tickersOf(series, readout, visible.rows), shown);
    QCOMPARE(visible.more, more);
}

void ChartOverlayTests::shortName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shortened");

    QTest::newRow("Inc.") << "Apple Inc."
                          << "Apple";
    QTest::newRow("comma and Inc") << "Tesla, Inc"
                                   << "Tesla";
    QTest::newRow("Corporation, any case") << "Microsoft CORPORATION"
                                           << "Microsoft";
    QTest::newRow("Co") << "The Coca-Cola Co"
                        << "The Coca-Cola";
    QTest::newRow("N.V. only, Holding stays") << "ASML Holding N.V."
                                              << "ASML Holding";
    QTest::newRow("Holdings") << "Booking Holdings"
                              << "Booking";
    QTest::newRow("S.A. after a comma") << "Banco Santander, S.A."
                                        << "Banco Santander";
    QTest::newRow("SE") << "SAP SE"
                        << "SAP";
    QTest::newRow("plc") << "Unilever plc"
                         << "Unilever";
    QTest::newRow("a word merely ending in co") << "Costco"
                                                << "Costco";
    QTest::newRow("suffix inside the name stays") << "Inc Research Trust"
                                                  << "Inc Research Trust";
    QTest::newRow("fund names untouched") << "Vanguard 500 Index Fund"
                                          << "Vanguard 500 Index Fund";
    QTest::newRow("empty") << ""
                           << "";
}

void ChartOverlayTests::shortName()
{
    QFETCH(QString, name);
    QFETCH(QString, shortened);
    QCOMPARE(ChartReadout::shortName(name), shortened);
}

void ChartOverlayTests::endLabelPages_data()
{
    QTest::addColumn<std::vector<double>>("ends");
    QTest::addColumn<QList<int>>("pinned");
    QTest::addColumn<double>("height");
    QTest::addColumn<int>("pageCount");
    QTest::addColumn<int>("firstPageSize");

    // Labels of 14 points in a plot from y = 0 to `height`.
    QTest::newRow("all fit on one page") << std::vector { 10.0, 12.0, 14.0, 100.0 } << QList<int> {} << 140.0 << 1 << 4;
    QTest::newRow("crowded ends still fit when there is room")
        << std::vector(10, 70.0) << QList<int> {} << 140.0 << 1 << 10;
    QTest::newRow("twenty in room for ten: two pages") << std::vector(20, 70.0) << QList<int> {} << 140.0 << 2 << 10;
    QTest::newRow("two pinned take room on every page")
        << std::vector(20, 70.0) << QList<int> { 3, 17 } << 140.0 << 3 << 10;
    QTest::newRow("ends outside the plot are dropped")
        << std::vector { -20.0, 50.0, 60.0, 400.0 } << QList<int> {} << 140.0 << 1 << 2;
    QTest::newRow("a pinned end outside the plot is kept")
        << std::vector { -20.0, 50.0, 60.0, 400.0 } << QList<int> { 3 } << 140.0 << 1 << 3;
    QTest::newRow("a tiny plot holds one") << std::vector { 1.0, 2.0, 3.0 } << QList<int> {} << 5.0 << 3 << 1;
}

void ChartOverlayTests::endLabelPages()
{
    QFETCH(std::vector<double>, ends);
    QFETCH(QList<int>, pinned);
    QFETCH(double, height);
    QFETCH(int, pageCount);
    QFETCH(int, firstPageSize);

    std::vector<EndLabels::Input> inputs;
    for (std::size_t i = 0; i < ends.size(); ++i)
        inputs.push_back(EndLabels::Input {
            QStringLiteral("S%1").arg(i), ends[i], Qt::black, pinned.contains(static_cast<int>(i)), false });

    QSet<std::size_t> seen;
    for (int page = 0; page < pageCount + 1; ++page) {
        const auto layout = EndLabels::layout(inputs, 0, height, page);
        QCOMPARE(layout.pageCount, pageCount);
        QCOMPARE(layout.page, std::min(page, pageCount - 1));
        if (page == 0)
            QCOMPARE(static_cast<int>(layout.labels.size()), firstPageSize);
        for (std::size_t k = 0; k < layout.labels.size(); ++k) {
            const auto& label = layout.labels[k];
            seen.insert(label.input);
            if (height >= 14) {
                QVERIFY(label.y >= 7 && label.y <= height - 7);
                if (k > 0)
                    QVERIFY2(label.y - layout.labels[k - 1].y >= 14 - 1e-9, "labels overlap");
            }
        }
        for (const int index : pinned)
            QVERIFY2(std::ranges::any_of(
                         layout.labels, [&](const auto& label) { return label.input == std::size_t(index); }),
                "a pinned label is missing from a page");
    }
    // Paging shows every label that lies inside the plot once the pages are walked.
    for (std::size_t i = 0; i < ends.size(); ++i)
        if ((ends[i] >= 0 && ends[i] <= height) || pinned.contains(static_cast<int>(i)))
            QVERIFY(seen.contains(i));
}

void ChartOverlayTests::focusPinning()
{
    ChartFocus focus;
    QList<QStringList> saved;
    connect(&focus, &ChartFocus::pinnedChanged, this, [&](const QStringList& pinned) { saved.append(pinned); });

    focus.pin("AAPL");
    focus.pin("MSFT");
    focus.pin("AAPL"); // already pinned: no change to save
    QCOMPARE(focus.lastPinned(), std::optional<QString>("AAPL"));
    focus.togglePinned("MSFT");
    focus.setPinned({ "AAPL" }); // restoring the same set is not an edit
    focus.setPinned({ "NVDA", "NVDA", "SPY" });
    focus.clearPinned();
    focus.clearPinned();
    QCOMPARE(saved, (QList<QStringList> { { "AAPL" }, { "AAPL", "MSFT" }, { "AAPL" }, { "NVDA", "SPY" }, {} }));

    QVERIFY(!focus.hasHighlight());
    focus.setHovered(QString("QQQ"), true);
    QVERIFY(focus.isHighlighted("QQQ"));
    QVERIFY(focus.hoverFromChart());
    focus.setHovered(QString("QQQ"), false);
    QVERIFY(!focus.hoverFromChart());
    focus.setHovered(std::nullopt, true);
    QVERIFY(!focus.hasHighlight());
    QVERIFY(!focus.hoverFromChart());
}

QTEST_MAIN(ChartOverlayTests)
#include "tst_ChartOverlay.moc"
