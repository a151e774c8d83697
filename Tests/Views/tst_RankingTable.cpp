#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QMenu>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include "Tessary/Model/Palette.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Rankings/QuoteLinks.h"
#include "Tessary/Views/Rankings/RankingHeader.h"
#include "Tessary/Views/Rankings/RankingTable.h"
#include "Tessary/Views/Rankings/SummaryCards.h"

using namespace tessary;
using Column = RankingTableModel::Column;

namespace {

// Rows written compactly: "TICKER:return:volatility", "-" for a missing value and a trailing
// "!" for a row whose data starts late, e.g. "AAA:0.1:-!".
std::vector<RankRow> rowsFrom(const QString& text)
{
    std::vector<RankRow> rows;
    for (QString rowText : text.split(u' ', Qt::SkipEmptyParts)) {
        RankRow row;
        row.incomplete = rowText.endsWith(u'!');
        if (row.incomplete)
            rowText.chop(1);
        const QStringList parts = rowText.split(u':');
        row.ticker = parts.value(0);
        const auto number = [&](int at) -> std::optional<double> {
            bool ok = false;
            const double value = parts.value(at).toDouble(&ok);
            return ok ? std::optional(value) : std::nullopt;
        };
        row.netReturn = number(1);
        row.volatility = number(2);
        row.startDate = QDate(2024, 3, 1);
        rows.push_back(row);
    }
    return rows;
}

QStringList displayOrder(const RankingTableModel& model)
{
    QStringList tickers;
    for (int row = 0; row < model.rowCount(); ++row)
        tickers.append(model.index(row, int(Column::ticker)).data(RankingTableModel::TickerRole).toString());
    return tickers;
}

RankingTableModel::Input inputOf(const QString& rows, const QString& benchmark = QStringLiteral("SPY"))
{
    return { rowsFrom(rows), std::nullopt, {}, benchmark, false };
}

} // namespace

class RankingTableTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void modelPassesTheTester();
    void sortOrder_data();
    void sortOrder();
    void headingClicks_data();
    void headingClicks();
    void ranksAndColours_data();
    void ranksAndColours();
    void benchmarkRowAppearsOnce_data();
    void benchmarkRowAppearsOnce();
    void headingsAndHoverText();
    void quoteLinks_data();
    void quoteLinks();
    void editsOfferedOnlyWhenEditable_data();
    void editsOfferedOnlyWhenEditable();
    void summary_data();
    void summary();
    void clickThrough();
    void columnsFitTheirValues_data();
    void columnsFitTheirValues();
};

void RankingTableTests::modelPassesTheTester()
{
    RankingTableModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setInput(inputOf(QStringLiteral("AAA:0.1:0.2 BBB:-:0.3 CCC:0.3:-!")));
    model.clickHeading(Column::volatility);
    model.clickHeading(Column::volatility);
    model.setInput(inputOf(QString()));
    model.setInput({ rowsFrom(QStringLiteral("AAA:0.1:0.2")), rowsFrom(QStringLiteral("SPY:0.05:0.1")).front(), {},
        QStringLiteral("SPY"), true });
    QCOMPARE(model.rowCount(), 2);
}

void RankingTableTests::sortOrder_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("ascending");
    QTest::addColumn<QStringList>("expected");

    const int ret = int(Column::netReturn);
    const int vol = int(Column::volatility);
    // The whole ascending order is reversed, so equal values swap places when descending.
    QTest::newRow("equal returns, descending") << "A:0.1 B:0.1 C:0.2" << ret << false << QStringList { "C", "B", "A" };
    QTest::newRow("equal returns, ascending") << "A:0.1 B:0.1 C:0.2" << ret << true << QStringList { "A", "B", "C" };
    QTest::newRow("missing volatility, ascending")
        << "A:0:0.2 B:0:- C:0:0.1" << vol << true << QStringList { "C", "A", "B" };
    QTest::newRow("missing volatility, descending")
        << "A:0:0.2 B:0:- C:0:0.1" << vol << false << QStringList { "B", "A", "C" };
    QTest::newRow("missing return, ascending") << "A:0.1 B:- C:-0.5" << ret << true << QStringList { "B", "C", "A" };
    QTest::newRow("missing return, descending") << "A:0.1 B:- C:-0.5" << ret << false << QStringList { "A", "C", "B" };
    QTest::newRow("incomplete last, descending")
        << "A:0.9! B:0.3 C:0.2 D:-!" << ret << false << QStringList { "B", "C", "A", "D" };
    QTest::newRow("incomplete last, ascending")
        << "A:0.9! B:0.3 C:0.2 D:-!" << ret << true << QStringList { "C", "B", "D", "A" };
    QTest::newRow("ticker text") << "b:1 B:1 A:1" << int(Column::ticker) << true << QStringList { "A", "B", "b" };
}

void RankingTableTests::sortOrder()
{
    QFETCH(QString, rows);
    QFETCH(int, column);
    QFETCH(bool, ascending);
    QFETCH(QStringList, expected);
    RankingTableModel model;
    model.setInput(inputOf(rows));
    model.setSort(static_cast<Column>(column), ascending);
    QCOMPARE(displayOrder(model), expected);
}

void RankingTableTests::headingClicks_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("firstTop");
    QTest::addColumn<QString>("secondTop");
    // CALM has the lowest volatility and the lowest return.
    QTest::newRow("volatility: calmest first") << int(Column::volatility) << "CALM"
                                               << "WILD";
    QTest::newRow("return: best first") << int(Column::netReturn) << "WILD"
                                        << "CALM";
    QTest::newRow("ticker: alphabetical") << int(Column::ticker) << "CALM"
                                          << "WILD";
}

void RankingTableTests::headingClicks()
{
    QFETCH(int, column);
    QFETCH(QString, firstTop);
    QFETCH(QString, secondTop);
    RankingTableModel model;
    model.setInput(inputOf(QStringLiteral("MID:0.1:0.2 WILD:0.5:0.6 CALM:0.01:0.05")));
    // Start from another column so that the first click really is a first click.
    model.setSort(column == int(Column::sharpe) ? Column::price : Column::sharpe, true);
    model.clickHeading(static_cast<Column>(column));
    QCOMPARE(displayOrder(model).front(), firstTop);
    model.clickHeading(static_cast<Column>(column));
    QCOMPARE(displayOrder(model).front(), secondTop);
}

void RankingTableTests::ranksAndColours_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("ticker");
    QTest::addColumn<int>("rank"); // 0: no rank
    QTest::addColumn<int>("count");

    QTest::newRow("best return") << "A:0.1 B:0.3 C:0.2" << int(Column::netReturn) << "B" << 1 << 3;
    QTest::newRow("ties keep row order") << "A:0.2 B:0.2" << int(Column::netReturn) << "B" << 2 << 2;
    QTest::newRow("calmest ranks first") << "A:0:0.4 B:0:0.1" << int(Column::volatility) << "B" << 1 << 2;
    QTest::newRow("missing value has no rank") << "A:0.1 B:-" << int(Column::netReturn) << "B" << 0 << 1;
    QTest::newRow("single ranked ticker") << "A:0.1 B:-" << int(Column::netReturn) << "A" << 1 << 1;
    QTest::newRow("price is not ranked") << "A:0.1" << int(Column::price) << "A" << 0 << 0;
}

void RankingTableTests::ranksAndColours()
{
    QFETCH(QString, rows);
    QFETCH(int, column);
    QFETCH(QString, ticker);
    QFETCH(int, rank);
    QFETCH(int, count);
    RankingTableModel model;
    model.setInput(inputOf(rows));
    const QModelIndex cell = model.index(model.rowOf(ticker), column);
    QCOMPARE(cell.data(RankingTableModel::RankRole).toInt(), rank);
    if (rank == 0) {
        QVERIFY(!cell.data(Qt::ForegroundRole).isValid());
        return;
    }
    const auto colour = cell.data(Qt::ForegroundRole).value<QColor>();
    QCOMPARE(colour, Palette::rankColor(rank, count));
    if (count < 2)
        QCOMPARE(colour, QColor::fromRgbF(0.6f, 0.6f, 0.6f)); // nothing to compare with: grey, not green
}

void RankingTableTests::benchmarkRowAppearsOnce_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("benchmark outside the list") << "AAA:0.3 BBB:0.1" << QStringList { "AAA", "SPY", "BBB" };
    QTest::newRow("benchmark in the list") << "AAA:0.3 SPY:0.2 BBB:0.1" << QStringList { "AAA", "SPY", "BBB" };
}

void RankingTableTests::benchmarkRowAppearsOnce()
{
    QFETCH(QString, rows);
    QFETCH(QStringList, expected);
    RankingTableModel model;
    model.setInput({ rowsFrom(rows), rowsFrom(QStringLiteral("SPY:0.2")).front(), {}, QStringLiteral("SPY"), false });
    QCOMPARE(displayOrder(model), expected);
    const QModelIndex benchmark = model.index(1, int(Column::netReturn));
    QVERIFY(benchmark.data(RankingTableModel::BenchmarkRole).toBool());
    QCOMPARE(benchmark.data(RankingTableModel::RankCountRole).toInt(), 3);
}

void RankingTableTests::headingsAndHoverText()
{
    RankingTableModel model;
    model.setInput(inputOf(QStringLiteral("AAA:0.1 NEW:-!"), QStringLiteral("QQQ")));
    QCOMPARE(model.headerData(int(Column::vsBenchmark), Qt::Horizontal).toString(), QStringLiteral("VS QQQ"));
    QCOMPARE(model.headerData(int(Column::maxDrawdown), Qt::Horizontal).toString(), QStringLiteral("MAX DD"));
    QVERIFY(model.headerData(int(Column::sharpe), Qt::Horizontal, Qt::ToolTipRole).isValid());
    QVERIFY(!model.headerData(int(Column::price), Qt::Horizontal, Qt::ToolTipRole).isValid());
    QCOMPARE(model.index(1, int(Column::cagr)).data().toString(), QStringLiteral("NA"));
    QCOMPARE(model.index(1, int(Column::ticker)).data(Qt::ToolTipRole).toString(),
        QStringLiteral("NEW's data starts on 2024-03-01, after this period begins, so its metrics show NA and "
                       "it's listed last."));
    QVERIFY(!model.index(0, int(Column::ticker)).data(Qt::ToolTipRole).isValid());
}

void RankingTableTests::quoteLinks_data()
{
    QTest::addColumn<QString>("ticker");
    QTest::addColumn<QString>("exchange");
    QTest::addColumn<QStringList>("urls");
    QTest::newRow("with exchange") << "AAPL"
                                   << "NASDAQ"
                                   << QStringList { "https://q.test/quote/AAPL",
                                          "https://f.test/finance/quote/AAPL%3ANASDAQ",
                                          "https://s.test/search?q=AAPL%20stock", "https://r.test/research/AAPL" };
    QTest::newRow("no exchange, dotted class share")
        << "BRK.B" << QString()
        << QStringList { "https://q.test/quote/BRK.B", "https://f.test/finance/quote/BRK.B",
               "https://s.test/search?q=BRK.B%20stock", "https://r.test/research/BRK.B" };
}

void RankingTableTests::quoteLinks()
{
    QFETCH(QString, ticker);
    QFETCH(QString, exchange);
    QFETCH(QStringList, urls);
    const QuoteHosts hosts { QStringLiteral("https://q.test"), QStringLiteral("https://f.test/"),
        QStringLiteral("https://s.test"), QStringLiteral("https://r.test") };
    const auto links = tessary::quoteLinks(ticker, exchange.isEmpty() ? std::nullopt : std::optional(exchange), hosts);
    QStringList actual;
    for (const QuoteLink& link : links)
        actual.append(QString::fromUtf8(link.url.toEncoded()));
    QCOMPARE(actual, urls);
    QVERIFY(links[0].text.endsWith(QStringLiteral("on Yahoo Finance")));
    QVERIFY(links[1].text.endsWith(QStringLiteral("on Google Finance")));
    QVERIFY(links[3].text.endsWith(QStringLiteral("beat SPY? (Yardmark)")));
}

void RankingTableTests::editsOfferedOnlyWhenEditable_data()
{
    QTest::addColumn<bool>("editable");
    QTest::addColumn<QString>("ticker");
    QTest::addColumn<bool>("removable");
    QTest::addColumn<bool>("canBecomeBenchmark");
    QTest::newRow("editable list") << true << "AAA" << true << true;
    QTest::newRow("curated list") << false << "AAA" << false << false;
    QTest::newRow("the benchmark") << true << "SPY" << false << false;
}

void RankingTableTests::editsOfferedOnlyWhenEditable()
{
    QFETCH(bool, editable);
    QFETCH(QString, ticker);
    QFETCH(bool, removable);
    QFETCH(bool, canBecomeBenchmark);
    ChartFocus focus;
    RankingTable table(focus);
    table.setInput({ rowsFrom(QStringLiteral("AAA:0.1")), rowsFrom(QStringLiteral("SPY:0.2")).front(),
        { QStringLiteral("AAA") }, QStringLiteral("SPY"), editable });
    QSignalSpy makes(&table, &RankingTable::makeBenchmarkRequested);
    QSignalSpy removes(&table, &RankingTable::removeRequested);
    const int row = table.tableModel().rowOf(ticker);
    std::unique_ptr<QMenu> menu(table.contextMenuFor(row));
    QVERIFY(menu);
    const auto trigger = [&](QStringView text) {
        for (QAction* action : menu->actions()) {
            if (action->text() == text) {
                action->trigger();
                return true;
            }
        }
        return false;
    };
    QCOMPARE(trigger(TickerActions::makeBenchmarkText), canBecomeBenchmark);
    QCOMPARE(trigger(TickerActions::removeText), removable);
    QVERIFY(trigger(TickerActions::copySymbolText));
    QCOMPARE(QGuiApplication::clipboard()->text(), ticker);

    // Delete on the current row does what "Remove from List" does.
    table.setCurrentIndex(table.model()->index(row, 0));
    QTest::keyClick(&table, Qt::Key_Delete);
    QCOMPARE(makes.size(), canBecomeBenchmark ? 1 : 0);
    QCOMPARE(removes.size(), removable ? 2 : 0);
    for (const auto& request : std::as_const(removes))
        QCOMPARE(request.front().toString(), ticker);
}

void RankingTableTests::summary_data()
{
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QString>("benchmarkReturn");
    QTest::addColumn<QStringList>("values");
    QTest::newRow("a tie with the benchmark is no beat")
        << "AAA:0.3 BBB:0.1 CCC:0.2"
        << "0.2" << QStringList { "AAA  +30.0%", "BBB  +10.0%", "SPY  +20.0%", "1 of 3" };
    QTest::newRow("benchmark in the list is not counted")
        << "SPY:0.2 AAA:0.5 BBB:-"
        << "0.2" << QStringList { "AAA  +50.0%", "SPY  +20.0%", "SPY  +20.0%", "1 of 2" };
    QTest::newRow("equal leaders: the earlier row")
        << "AAA:0.4 BBB:0.4"
        << "-" << QStringList { "AAA  +40.0%", "AAA  +40.0%", QStringLiteral("SPY  \u2014"), "0 of 2" };
    QTest::newRow("a late starter is not compared")
        << "AAA:0.3 LATE:-!"
        << "0.2" << QStringList { "AAA  +30.0%", "AAA  +30.0%", "SPY  +20.0%", "1 of 1" };
}

void RankingTableTests::summary()
{
    QFETCH(QString, rows);
    QFETCH(QString, benchmarkReturn);
    QFETCH(QStringList, values);
    SummaryCards cards;
    cards.setSummary(RankingSummary::of(
        rowsFrom(rows), rowsFrom(QStringLiteral("SPY:") + benchmarkReturn).front(), QStringLiteral("SPY")));
    QCOMPARE(cards.titles().back(), QStringLiteral("Beating SPY"));
    QCOMPARE(cards.values(), values);
}

void RankingTableTests::clickThrough()
{
    ChartFocus focus;
    RankingTable table(focus);
    table.resize(900, 300);
    table.setInput(inputOf(QStringLiteral("MID:0.1:0.2 WILD:0.5:0.6 CALM:0.01:0.05")));
    table.show();
    QVERIFY(QTest::qWaitForWindowExposed(&table));

    QHeaderView* header = table.horizontalHeader();
    const QPoint volatility(header->sectionViewportPosition(int(Column::volatility)) + 20, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, volatility);
    QCOMPARE(displayOrder(table.tableModel()), (QStringList { "CALM", "MID", "WILD" }));
    QCOMPARE(table.header().sortSection(), int(Column::volatility));
    QVERIFY(table.header().sortAscending());
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, volatility);
    QCOMPARE(displayOrder(table.tableModel()), (QStringList { "WILD", "MID", "CALM" }));
    QVERIFY(!table.header().sortAscending());

    const QPoint firstRow = table.visualRect(table.tableModel().index(0, int(Column::cagr))).center();
    QTest::mouseMove(table.viewport(), firstRow);
    QTRY_COMPARE(focus.hovered(), std::optional<QString>(QStringLiteral("WILD")));
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, firstRow);
    QCOMPARE(focus.pinned(), QStringList { QStringLiteral("WILD") });
    QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, firstRow);
    QVERIFY(focus.pinned().isEmpty());
}

void RankingTableTests::columnsFitTheirValues_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<QString>("volatilityHeading");
    QTest::addColumn<bool>("scrolls");

    QTest::newRow("wide: whole headings, no scrolling") << 1400 << "VOLATILITY" << false;
    QTest::newRow("narrow: short headings, then a scroll") << 420 << "VOL" << true;
}

// "+1,184%" far down the list must never be cut, however narrow the table.
void RankingTableTests::columnsFitTheirValues()
{
    QFETCH(int, width);
    QFETCH(QString, volatilityHeading);
    QFETCH(bool, scrolls);

    QString rows;
    for (int i = 0; i < 40; ++i)
        rows += QStringLiteral("T%1:0.1:0.2 ").arg(i);
    rows += QStringLiteral("BIG:11.84:12.5");
    ChartFocus focus;
    RankingTable table(focus);
    table.resize(width, 300);
    table.setInput(inputOf(rows));
    table.show();
    QVERIFY(QTest::qWaitForWindowExposed(&table));

    QStyleOptionViewItem option;
    option.initFrom(&table);
    const auto& model = table.tableModel();
    for (int column = 0; column < model.columnCount(); ++column) {
        const QModelIndex big = model.index(model.rowOf(QStringLiteral("BIG")), column);
        QVERIFY2(table.columnWidth(column) >= table.itemDelegateForIndex(big)->sizeHint(option, big).width(),
            qPrintable(big.data().toString()));
    }
    QCOMPARE(model.index(model.rowOf(QStringLiteral("BIG")), int(Column::netReturn)).data().toString(),
        QStringLiteral("+1,184%"));
    const int volatility = int(Column::volatility);
    const bool whole = table.columnWidth(volatility) >= table.header().headingWidth(volatility, false);
    QCOMPARE(whole ? QStringLiteral("VOLATILITY") : QStringLiteral("VOL"), volatilityHeading);
    QCOMPARE(table.horizontalScrollBar()->maximum() > 0, scrolls);
}

QTEST_MAIN(RankingTableTests)
#include "tst_RankingTable.moc"
