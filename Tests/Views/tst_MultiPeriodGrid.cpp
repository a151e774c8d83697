#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include "Tessary/Model/MultiPeriods.h"
#include "Tessary/Model/Palette.h"
#include "Tessary/Store/Preferences.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Rankings/MultiPeriodChips.h"
#include "Tessary/Views/Rankings/MultiPeriodChoice.h"
#include "Tessary/Views/Rankings/MultiPeriodGrid.h"
#include "Tessary/Views/Rankings/MultiPeriodMenu.h"
#include "Tessary/Views/Rankings/MultiPeriodSettings.h"

using namespace tessary;
using Kind = GridSortKey::Kind;

namespace {

// Rows written compactly: "TICKER:1Y=0.1,3Y=0.2", one per space-separated piece.
std::vector<RankRow> rowsFrom(const QString& text)
{
    std::vector<RankRow> rows;
    for (const QString& rowText : text.split(u' ', Qt::SkipEmptyParts)) {
        RankRow row;
        row.ticker = rowText.section(u':', 0, 0);
        for (const QString& entry : rowText.section(u':', 1).split(u',', Qt::SkipEmptyParts))
            row.presetReturns[static_cast<std::size_t>(*Timeframes::fromRawValue(entry.section(u'=', 0, 0)))]
                = entry.section(u'=', 1).toDouble();
        rows.push_back(row);
    }
    return rows;
}

std::vector<Timeframe> periodsFrom(QStringView text)
{
    return MultiPeriods::decode(text);
}

QString describe(const GridLine& line)
{
    QStringList cells { line.ticker };
    for (const auto& place : line.places)
        cells.append(place ? QStringLiteral("%1/%2").arg(place->rank).arg(place->total) : QStringLiteral("NA"));
    cells.append(line.averageRank ? QString::number(*line.averageRank) : QStringLiteral("NA"));
    cells.append(line.beats ? QStringLiteral("%1 of %2").arg(line.beats->beaten).arg(line.beats->compared)
                            : QStringLiteral("NA"));
    return cells.join(u' ');
}

const QString benchmarkSpec = QStringLiteral("SPY:1Y=0.1,3Y=0.3,5Y=0.5");

QStringList tickersOf(const std::vector<GridLine>& lines)
{
    QStringList tickers;
    for (const GridLine& line : lines)
        tickers.append(line.ticker);
    return tickers;
}

} // namespace

Q_DECLARE_METATYPE(GridSortKey)

class MultiPeriodGridTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void modelPassesTheTester();
    void lines_data();
    void lines();
    void sorting_data();
    void sorting();
    void labelsTakeTheChartColours();
    void headingClickSortsAndReverses();
    void periodChoicePersistsAcrossRestarts();
    void lastPeriodCannotBeRemoved();
    void hoverFollowsThePointer();
};

void MultiPeriodGridTests::modelPassesTheTester()
{
    MultiPeriodGridModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    const auto benchmark = rowsFrom(benchmarkSpec).front();
    model.setInput({ rowsFrom(QStringLiteral("AAA:1Y=0.2 BBB:3Y=0.1")), benchmark, QStringLiteral("SPY"),
        periodsFrom(u"1Y,3Y"), {} });
    model.clickHeading(1);
    model.clickHeading(1);
    model.setInput({ rowsFrom(QStringLiteral("AAA:1Y=0.2")), std::nullopt, QStringLiteral("SPY"),
        periodsFrom(u"1Y,3Y,5Y,10Y"), {} });
    model.setInput({});
    QCOMPARE(model.columnCount(), int(MultiPeriodGridModel::count));
}

void MultiPeriodGridTests::lines_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QString>("periods");
    QTest::addColumn<QStringList>("expected"); // in the grid's row order, before sorting

    QTest::newRow("listed two years ago")
        << "OLD:1Y=0.3,3Y=0.6,5Y=0.9 NEW:1Y=0.4"
        << "1Y,3Y,5Y"
        << QStringList { "SPY 3/3 2/2 2/2 2.33333 0 of 3", "OLD 2/3 1/2 1/2 1.33333 3 of 3", "NEW 1/3 NA NA 1 1 of 1" };
    QTest::newRow("equal to the benchmark is not a beat")
        << "TIE:1Y=0.1,3Y=0.3 UP:1Y=0.11,3Y=0.29"
        << "1Y,3Y" << QStringList { "SPY 2/3 1/3 1.5 0 of 2", "TIE 3/3 2/3 2.5 0 of 2", "UP 1/3 3/3 2 1 of 2" };
    QTest::newRow("no history at all") << "NONE: AAA:1Y=0.2"
                                       << "1Y"
                                       << QStringList { "SPY 2/2 2 0 of 1", "NONE NA NA NA", "AAA 1/2 1 1 of 1" };
    QTest::newRow("benchmark in the list stays in place")
        << "AAA:1Y=0.2 SPY:1Y=0.1"
        << "1Y" << QStringList { "AAA 1/2 1 1 of 1", "SPY 2/2 2 0 of 1" };
}

void MultiPeriodGridTests::lines()
{
    QFETCH(QString, rows);
    QFETCH(QString, periods);
    QFETCH(QStringList, expected);
    QStringList actual;
    for (const GridLine& line :
        gridLines(rowsFrom(rows), rowsFrom(benchmarkSpec).front(), QStringLiteral("SPY"), periodsFrom(periods)))
        actual.append(describe(line));
    QCOMPARE(actual, expected);
}

void MultiPeriodGridTests::sorting_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<GridSortKey>("key");
    QTest::addColumn<bool>("ascending");
    QTest::addColumn<QStringList>("expected");

    // With SPY at 1Y=0.1, 3Y=0.3, 5Y=0.5: TWO beats 2 of 2, THREE 2 of 3.
    const QString beats = QStringLiteral("THREE:1Y=0.2,3Y=0.4,5Y=0.1 TWO:1Y=0.2,3Y=0.4 NONE:");
    QTest::newRow("beats: 2 of 2 before 2 of 3")
        << beats << GridSortKey { Kind::beats } << true << QStringList { "TWO", "THREE", "SPY", "NONE" };
    QTest::newRow("beats reversed, NA still last")
        << beats << GridSortKey { Kind::beats } << false << QStringList { "SPY", "THREE", "TWO", "NONE" };
    const QString ranks = QStringLiteral("NONE: LOW:1Y=-0.5,3Y=-0.5 HIGH:1Y=0.9,3Y=0.9");
    QTest::newRow("average rank, best first")
        << ranks << GridSortKey { Kind::averageRank } << true << QStringList { "HIGH", "SPY", "LOW", "NONE" };
    QTest::newRow("average rank reversed, NA still last")
        << ranks << GridSortKey { Kind::averageRank } << false << QStringList { "LOW", "SPY", "HIGH", "NONE" };
    QTest::newRow("one period, ties in row order")
        << "A:5Y=0.5 B:5Y=0.5 C:1Y=0.1" << GridSortKey { Kind::period, Timeframe::fiveYear } << false
        << QStringList { "B", "A", "SPY", "C" };
    QTest::newRow("ticker, descending") << ranks << GridSortKey { Kind::ticker } << false
                                        << QStringList { "SPY", "NONE", "LOW", "HIGH" };
}

void MultiPeriodGridTests::sorting()
{
    QFETCH(QString, rows);
    QFETCH(GridSortKey, key);
    QFETCH(bool, ascending);
    QFETCH(QStringList, expected);
    const auto periods = periodsFrom(u"1Y,3Y,5Y");
    auto lines = gridLines(rowsFrom(rows), rowsFrom(benchmarkSpec).front(), QStringLiteral("SPY"), periods);
    QCOMPARE(tickersOf(sortGridLines(std::move(lines), key, ascending, periods)), expected);
}

void MultiPeriodGridTests::labelsTakeTheChartColours()
{
    MultiPeriodGridModel model;
    const QColor chartColour = Palette::seriesColor(3);
    model.setInput({ rowsFrom(QStringLiteral("AAA:1Y=0.2 ZZZ:1Y=0.3")), rowsFrom(benchmarkSpec).front(),
        QStringLiteral("SPY"), periodsFrom(u"1Y"), { { QStringLiteral("AAA"), chartColour } } });
    const auto colourOf = [&](const QString& ticker) {
        for (int row = 0; row < model.rowCount(); ++row)
            if (model.index(row, 0).data().toString() == ticker)
                return model.index(row, 0).data(Qt::ForegroundRole).value<QColor>();
        return QColor();
    };
    QCOMPARE(colourOf(QStringLiteral("AAA")), chartColour);
    QCOMPARE(colourOf(QStringLiteral("SPY")), MultiPeriodGridModel::secondaryColor());
    QCOMPARE(colourOf(QStringLiteral("ZZZ")), MultiPeriodGridModel::secondaryColor());
    QCOMPARE(model.index(0, 1).data(Qt::ForegroundRole).value<QColor>(), Palette::rankColor(1, 3));
}

void MultiPeriodGridTests::headingClickSortsAndReverses()
{
    MultiPeriodGridModel model;
    model.setInput({ rowsFrom(QStringLiteral("A:1Y=0.3 B:1Y=0.5 C:")), rowsFrom(benchmarkSpec).front(),
        QStringLiteral("SPY"), periodsFrom(u"1Y,3Y"), {} });
    // Opens by average rank, best first.
    QCOMPARE(model.sortKey(), GridSortKey { Kind::averageRank });
    QVERIFY(model.ascending());
    const int oneYear = model.columnOfKey({ Kind::period, Timeframe::oneYear });
    model.clickHeading(oneYear);
    QCOMPARE(model.index(0, 0).data().toString(), QStringLiteral("B"));
    model.clickHeading(oneYear);
    QCOMPARE(model.index(0, 0).data().toString(), QStringLiteral("SPY"));
    QCOMPARE(model.index(3, 0).data().toString(), QStringLiteral("C"));
    // Dropping the sorted period falls back to the opening order.
    model.setInput({ model.input().rows, model.input().benchmarkRow, QStringLiteral("SPY"), periodsFrom(u"3Y"), {} });
    QCOMPARE(model.sortKey(), GridSortKey { Kind::averageRank });
}

void MultiPeriodGridTests::periodChoicePersistsAcrossRestarts()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString file = dir.filePath(QStringLiteral("preferences.ini"));
    {
        Preferences preferences(file);
        MultiPeriodChoice choice(preferences);
        QCOMPARE(choice.periods(), MultiPeriods::defaults());
        MultiPeriodMenu menu(choice);
        QSignalSpy changes(&choice, &MultiPeriodChoice::periodsChanged);
        for (QAction* action : menu.actions())
            if (action->text() == QStringLiteral("YTD") || action->text() == QStringLiteral("1D"))
                action->trigger();
        QCOMPARE(changes.size(), 2);
        QCOMPARE(preferences.multiPeriods(), QStringLiteral("1W,1M,6M,YTD,1Y,3Y,5Y,10Y"));
    }
    {
        Preferences preferences(file);
        MultiPeriodChoice choice(preferences);
        QCOMPARE(MultiPeriods::encode(choice.periods()), QStringLiteral("1W,1M,6M,YTD,1Y,3Y,5Y,10Y"));
        // Settings edits the same choice, and the chips follow.
        MultiPeriodSettings settings(choice);
        MultiPeriodChips chips(choice);
        QVERIFY(settings.box(Timeframe::ytd)->isChecked());
        settings.box(Timeframe::twentyYear)->click();
        QCOMPARE(chips.chips().size(), 9);
        QCOMPARE(chips.chips().back()->text(), QStringLiteral("20Y"));
        MultiPeriodMenu menu(choice);
        menu.actions().back()->trigger();
        QCOMPARE(menu.actions().back()->text(), MultiPeriodMenu::resetText);
        QVERIFY(!settings.box(Timeframe::twentyYear)->isChecked());
    }
    Preferences reopened(file);
    QCOMPARE(MultiPeriods::decode(reopened.multiPeriods()), MultiPeriods::defaults());
}

void MultiPeriodGridTests::lastPeriodCannotBeRemoved()
{
    QTemporaryDir dir;
    Preferences preferences(dir.filePath(QStringLiteral("preferences.ini")));
    MultiPeriodChoice choice(preferences);
    choice.setPeriods({ Timeframe::fiveYear });
    MultiPeriodMenu menu(choice);
    QAction* fiveYear = menu.actions()[static_cast<qsizetype>(Timeframe::fiveYear)];
    QVERIFY(fiveYear->isChecked());
    fiveYear->trigger();
    QCOMPARE(choice.periods(), std::vector<Timeframe> { Timeframe::fiveYear });
    QVERIFY(fiveYear->isChecked());
    QCOMPARE(preferences.multiPeriods(), QStringLiteral("5Y"));
}

void MultiPeriodGridTests::hoverFollowsThePointer()
{
    ChartFocus focus;
    MultiPeriodGrid grid(focus);
    grid.resize(600, 300);
    grid.setInput({ rowsFrom(QStringLiteral("A:1Y=0.3 B:1Y=0.5")), rowsFrom(benchmarkSpec).front(),
        QStringLiteral("SPY"), periodsFrom(u"1Y,3Y"), {} });
    grid.show();
    QVERIFY(QTest::qWaitForWindowExposed(&grid));
    const QPoint cell = grid.visualRect(grid.gridModel().index(0, 1)).center();
    QTest::mouseMove(grid.viewport(), cell);
    QTRY_COMPARE(grid.hover(), (GridHover { QStringLiteral("B"), Timeframe::oneYear }));
    QCOMPARE(focus.hovered(), std::optional<QString>(QStringLiteral("B")));
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, {}, cell);
    QVERIFY(focus.isPinned(QStringLiteral("B")));
}

QTEST_MAIN(MultiPeriodGridTests)
#include "tst_MultiPeriodGrid.moc"
