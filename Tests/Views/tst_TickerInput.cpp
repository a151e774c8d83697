#include "Tessary/Store/Store.h"
#include "Tessary/Views/Input/Input.h"
#include "Tessary/Views/Input/NoticeLabel.h"
#include "Tessary/Views/Input/SuggestionList.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include "Support/TempStore.h"

#include "KeyRecorder.h"
#include <QVBoxLayout>

using namespace tessary;
using test::KeyRecorder;

namespace {

TickerInfo info(const char* symbol, const char* name, bool etf = false)
{
    return TickerInfo { QString::fromUtf8(symbol), QString::fromUtf8(name), etf, false, {}, {}, {}, {} };
}

std::vector<TickerInfo> sampleUniverse()
{
    return { info("AAPL", "Apple Inc."), info("MSFT", "Microsoft"), info("NVDA", "NVIDIA"),
        info("NVDS", "Tradr NVDA Short", true), info("AVGO", "Broadcom"), info("SMH", "Semiconductor ETF", true),
        info("SMCI", "Super Micro Computer"), info("SPY", "S&P 500 ETF", true), info("SPYG", "S&P 500 Growth", true),
        info("QQQ", "Nasdaq 100", true), info("MAPL", "Maple Apple Farms") };
}

// Stands in for the rest of the window: records every key the field lets through.
QStringList symbolsOf(const std::vector<TickerInfo>& infos)
{
    QStringList symbols;
    for (const TickerInfo& entry : infos)
        symbols.append(entry.symbol);
    return symbols;
}

} // namespace

class TickerInputTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void tokens_data();
    void tokens();
    void notice_data();
    void notice();
    void placeholder();
    void suggestionsAndMarks_data();
    void suggestionsAndMarks();
    void arrows_data();
    void arrows();
    void arrowsNeedFocus();
    void escape_data();
    void escape();
    void enter_data();
    void enter();
    void clickingARowPicksIt();
    void pasteBeyondTheLimit();
    void emptyUniverseAcceptsEverything();
    void tenThousandSymbolPasteKeepsEveryNotice();
    void hiddenForCuratedLists();
    void commandFocusesTheField();
    void startQueryTypesItself();
    void benchmarkField_data();
    void benchmarkField();

private:
    void makeWindow(const QStringList& tickers, std::vector<TickerInfo> universe = sampleUniverse());
    void type(const QString& text);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<KeyRecorder> m_window;
    TickerInput* m_input = nullptr;
};

void TickerInputTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_store = test::openStore(*m_dir);
}

void TickerInputTests::cleanup()
{
    m_window.reset();
    m_store.reset();
    m_dir.reset();
}

void TickerInputTests::makeWindow(const QStringList& tickers, std::vector<TickerInfo> universe)
{
    m_store->setUniverse(std::move(universe));
    m_store->select(SidebarItem::list(m_store->create(QStringLiteral("Chips"), tickers)));
    m_window = std::make_unique<KeyRecorder>();
    m_window->resize(600, 400);
    auto* layout = new QVBoxLayout(m_window.get());
    m_input = new TickerInput(*m_store, m_window.get());
    layout->addWidget(m_input);
    layout->addStretch();
    m_window->show();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    m_input->field()->setFocus();
    QTRY_VERIFY(m_input->field()->hasFocus());
}

void TickerInputTests::type(const QString& text)
{
    QTest::keyClicks(m_input->field(), text);
}

void TickerInputTests::tokens_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("tokens");
    QTest::addColumn<QString>("last");

    QTest::newRow("spaces") << "nvda avgo smh" << QStringList { "nvda", "avgo", "smh" } << "smh";
    QTest::newRow("commas and spaces mixed") << "NVDA,AVGO SMH" << QStringList { "NVDA", "AVGO", "SMH" } << "SMH";
    QTest::newRow("empty pieces dropped") << ",, NVDA ," << QStringList { "NVDA" } << "NVDA";
    QTest::newRow("tab and semicolon stay inside") << "A\tB;C D" << QStringList { "A\tB;C", "D" } << "D";
    QTest::newRow("line breaks stay inside") << "A\nB" << QStringList { "A\nB" } << "A\nB";
    QTest::newRow("nothing but separators") << " , ,," << QStringList {} << "";
    QTest::newRow("empty") << "" << QStringList {} << "";
    QTest::newRow("trailing separator keeps the last symbol") << "NVDA AV " << QStringList { "NVDA", "AV" } << "AV";
}

void TickerInputTests::tokens()
{
    QFETCH(QString, text);
    QFETCH(QStringList, tokens);
    QFETCH(QString, last);
    QCOMPARE(tickerTokens(text), tokens);
    QCOMPARE(lastTickerToken(text).toString(), last);
}

void TickerInputTests::notice_data()
{
    QTest::addColumn<QStringList>("unknown");
    QTest::addColumn<int>("overLimit");
    QTest::addColumn<QString>("notice");

    QTest::newRow("nothing to say") << QStringList {} << 0 << "";
    QTest::newRow("unknown in given order") << QStringList { "ZZZ", "AAA" } << 0 << "Not found: ZZZ, AAA";
    QTest::newRow("over the limit") << QStringList {} << 2 << "2 skipped — lists hold up to 200 tickers";
    QTest::newRow("both, joined") << QStringList { "XX" } << 1
                                  << "Not found: XX · 1 skipped — lists hold up to 200 tickers";
}

void TickerInputTests::notice()
{
    QFETCH(QStringList, unknown);
    QFETCH(int, overLimit);
    QFETCH(QString, notice);
    QCOMPARE(addNotice(Store::AddResult { unknown, overLimit }), notice);
}

void TickerInputTests::placeholder()
{
    QCOMPARE(tickerPlaceholder(0), QStringLiteral("Add tickers — type or paste NVDA AVGO SMH…"));
    // Grouped the same way under every locale (this test also runs under a German one).
    QCOMPARE(tickerPlaceholder(15'234), QStringLiteral("Search 15,234 stocks & ETFs — type or paste NVDA AVGO SMH…"));
    QCOMPARE(tickerPlaceholder(999), QStringLiteral("Search 999 stocks & ETFs — type or paste NVDA AVGO SMH…"));
}

void TickerInputTests::suggestionsAndMarks_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("symbols");
    QTest::addColumn<QList<int>>("marks"); // SuggestionList::Mark per row

    const int none = 0, benchmark = 1, already = 2;
    QTest::newRow("last token only") << "NVDA AVGO sm" << QStringList { "SMH", "SMCI" } << QList<int> { none, none };
    QTest::newRow("benchmark and already-in-list marked")
        << "s" << QStringList { "SMH", "SPY", "SMCI", "SPYG" } << QList<int> { none, benchmark, none, none };
    QTest::newRow("two letters match symbols only") << "ap" << QStringList {} << QList<int> {};
    QTest::newRow("three letters also match names")
        << "app" << QStringList { "AAPL", "MAPL" } << QList<int> { already, none };
    QTest::newRow("exact first") << "nvda" << QStringList { "NVDA", "NVDS" } << QList<int> { none, none };
    QTest::newRow("separator at the end still completes")
        << "nv," << QStringList { "NVDA", "NVDS" } << QList<int> { none, none };
}

void TickerInputTests::suggestionsAndMarks()
{
    QFETCH(QString, typed);
    QFETCH(QStringList, symbols);
    QFETCH(QList<int>, marks);
    makeWindow({ "AAPL", "MSFT" });
    type(typed);

    QCOMPARE(symbolsOf(m_input->suggestions()), symbols);
    QList<int> shownMarks;
    for (const auto& row : m_input->suggestionList()->rows())
        shownMarks.append(static_cast<int>(row.mark));
    QCOMPARE(shownMarks, marks);
    QCOMPARE(m_input->suggestionList()->isVisible(), !symbols.isEmpty());
}

void TickerInputTests::arrows_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QList<QKeyCombination>>("keys");
    QTest::addColumn<int>("highlight");
    QTest::addColumn<int>("passedOn");

    const QKeyCombination down(Qt::Key_Down), up(Qt::Key_Up);
    QTest::newRow("up at the top stays") << "s" << QList { up, up } << 0 << 0;
    QTest::newRow("down stops at the last") << "s" << QList { down, down, down, down, down, down } << 3 << 0;
    QTest::newRow("down then up") << "s" << QList { down, down, up } << 1 << 0;
    QTest::newRow("shift is not a command")
        << "s" << QList { QKeyCombination(Qt::ShiftModifier, Qt::Key_Down) } << 1 << 0;
    // The line edit itself moves its caret on Ctrl+arrows; the rows must not react.
    QTest::newRow("ctrl left to the field")
        << "s" << QList { QKeyCombination(Qt::ControlModifier, Qt::Key_Down) } << 0 << 0;
    QTest::newRow("alt passes on") << "s" << QList { QKeyCombination(Qt::AltModifier, Qt::Key_Down), down } << 1 << 1;
    QTest::newRow("meta passes on") << "s" << QList { down, QKeyCombination(Qt::MetaModifier, Qt::Key_Up) } << 1 << 1;
    QTest::newRow("no suggestions, nothing to move") << "zzzz" << QList { down, up } << 0 << 2;
    QTest::newRow("typing resets the highlight") << "s" << QList { down, down, QKeyCombination(Qt::Key_M) } << 0 << 0;
}

void TickerInputTests::arrows()
{
    QFETCH(QString, typed);
    QFETCH(QList<QKeyCombination>, keys);
    QFETCH(int, highlight);
    QFETCH(int, passedOn);
    makeWindow({ "AAPL" });
    type(typed);
    for (const QKeyCombination key : keys)
        QTest::keyClick(m_input->field(), key.key(), key.keyboardModifiers());

    QCOMPARE(m_input->highlight(), highlight);
    QCOMPARE(m_input->suggestionList()->highlight(), highlight);
    QCOMPARE(m_window->keys.size(), passedOn);
}

void TickerInputTests::arrowsNeedFocus()
{
    makeWindow({ "AAPL" });
    type(QStringLiteral("s"));
    auto* other = new QLineEdit(m_window.get());
    m_window->layout()->addWidget(other);
    other->setFocus();
    QTRY_VERIFY(!m_input->field()->hasFocus());
    QVERIFY(!m_input->suggestionList()->isVisible());

    QTest::keyClick(m_input->field(), Qt::Key_Down);
    QCOMPARE(m_input->highlight(), 0);
}

void TickerInputTests::escape_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("passedOn");

    QTest::newRow("empty field passes it on") << "" << 1;
    QTest::newRow("text is cleared, key kept") << "NVDA AV" << 0;
}

void TickerInputTests::escape()
{
    QFETCH(QString, typed);
    QFETCH(int, passedOn);
    makeWindow({ "AAPL" });
    type(typed);
    QTest::keyClick(m_input->field(), Qt::Key_Escape);

    QCOMPARE(m_input->field()->text(), QString());
    QCOMPARE(m_window->keys.size(), passedOn);
    QVERIFY(m_input->suggestions().empty());
}

void TickerInputTests::enter_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("downs");
    QTest::addColumn<QStringList>("tickers");
    QTest::addColumn<QString>("notice");
    QTest::addColumn<QString>("textAfter");

    const QStringList start { "AAPL", "MSFT" };
    QTest::newRow("partial symbol takes the first suggestion") << "nv" << 0 << start + QStringList { "NVDA" } << ""
                                                               << "";
    QTest::newRow("partial symbol takes the highlighted one") << "nv" << 1 << start + QStringList { "NVDS" } << ""
                                                              << "";
    QTest::newRow("company name takes the first suggestion") << "broadcom" << 0 << start + QStringList { "AVGO" } << ""
                                                             << "";
    QTest::newRow("complete symbol wins over the highlight") << "nvda" << 1 << start + QStringList { "NVDA" } << ""
                                                             << "";
    QTest::newRow("typed benchmark goes straight in") << " spy " << 1 << start + QStringList { "SPY" } << ""
                                                      << "";
    QTest::newRow("benchmark picked from the rows is refused") << "sp" << 0 << start << "SPY is this list's benchmark"
                                                               << "sp";
    QTest::newRow("duplicate picked from the rows is refused")
        << "apple" << 0 << start << "AAPL is already in this list"
        << "apple";
    QTest::newRow("pick completes the last token, adds the rest")
        << "nvda avgo sm" << 0 << start + QStringList { "NVDA", "AVGO", "SMH" } << ""
        << "";
    QTest::newRow("commas, all complete") << "NVDA,AVGO,SMH" << 0 << start + QStringList { "NVDA", "AVGO", "SMH" } << ""
                                          << "";
    QTest::newRow("unknown reported, known still added")
        << "ZZZZ nvda YYYY qqq" << 0 << start + QStringList { "NVDA", "QQQ" } << "Not found: ZZZZ, YYYY"
        << "";
    QTest::newRow("duplicates skipped silently") << "aapl nvda nvda" << 0 << start + QStringList { "NVDA" } << ""
                                                 << "";
    QTest::newRow("nothing typed does nothing") << " , " << 0 << start << ""
                                                << " , ";
}

void TickerInputTests::enter()
{
    QFETCH(QString, typed);
    QFETCH(int, downs);
    QFETCH(QStringList, tickers);
    QFETCH(QString, notice);
    QFETCH(QString, textAfter);
    makeWindow({ "AAPL", "MSFT" });
    type(typed);
    for (int i = 0; i < downs; ++i)
        QTest::keyClick(m_input->field(), Qt::Key_Down);
    QTest::keyClick(m_input->field(), Qt::Key_Return);

    QCOMPARE(m_store->selectedList()->tickers, tickers);
    QCOMPARE(m_input->notice(), notice);
    QCOMPARE(m_input->field()->text(), textAfter);
    QCOMPARE(m_input->highlight(), 0);
    QVERIFY(m_input->field()->hasFocus());
    QVERIFY(m_window->keys.isEmpty());
}

void TickerInputTests::clickingARowPicksIt()
{
    makeWindow({ "AAPL" });
    type(QStringLiteral("msft sm"));
    SuggestionList* rows = m_input->suggestionList();
    QTRY_VERIFY(rows->isVisible());
    QCOMPARE(rows->rows().at(1).info.symbol, QStringLiteral("SMCI"));
    QTest::mouseClick(rows, Qt::LeftButton, {}, rows->rowRect(1).center());

    QCOMPARE(m_store->selectedList()->tickers, (QStringList { "AAPL", "MSFT", "SMCI" }));
    QVERIFY(m_input->field()->text().isEmpty());
    QVERIFY(m_input->field()->hasFocus());
}

void TickerInputTests::pasteBeyondTheLimit()
{
    QStringList full;
    std::vector<TickerInfo> universe = sampleUniverse();
    for (int i = 0; i < 199; ++i) {
        full.append(QStringLiteral("T%1").arg(i, 3, 10, QLatin1Char('0')));
        universe.push_back(TickerInfo { full.last(), QStringLiteral("Filler"), false, false, {}, {}, {}, {} });
    }
    makeWindow(full, universe);
    m_input->field()->setText(QStringLiteral("NVDA AVGO SMH ZZZZ"));
    QTest::keyClick(m_input->field(), Qt::Key_Return);

    QCOMPARE(m_store->selectedList()->tickers.size(), 200);
    QCOMPARE(m_store->selectedList()->tickers.last(), QStringLiteral("NVDA"));
    QCOMPARE(m_input->notice(), QStringLiteral("Not found: ZZZZ · 2 skipped — lists hold up to 200 tickers"));
}

void TickerInputTests::emptyUniverseAcceptsEverything()
{
    makeWindow({ "AAPL" }, {});
    QCOMPARE(m_input->field()->placeholderText(), tickerPlaceholder(0));
    type(QStringLiteral("zzzz nv"));
    QVERIFY(m_input->suggestions().empty());
    QTest::keyClick(m_input->field(), Qt::Key_Return);

    QCOMPARE(m_store->selectedList()->tickers, (QStringList { "AAPL", "ZZZZ", "NV" }));
    QCOMPARE(m_input->notice(), QString());

    m_store->setUniverse(sampleUniverse());
    QCOMPARE(m_input->field()->placeholderText(), tickerPlaceholder(11));
}

void TickerInputTests::tenThousandSymbolPasteKeepsEveryNotice()
{
    makeWindow({ "AAPL" });
    QStringList pasted;
    for (int i = 0; i < 10'000; ++i)
        pasted.append(QStringLiteral("X%1").arg(i));
    pasted.append(QStringLiteral("NVDA"));
    m_input->field()->setText(pasted.join(u' '));
    // Longer than a line edit takes by default: nothing may be cut off.
    QCOMPARE(m_input->field()->text().size(), pasted.join(u' ').size());
    QTest::keyClick(m_input->field(), Qt::Key_Return);

    QCOMPARE(m_store->selectedList()->tickers, (QStringList { "AAPL", "NVDA" }));
    QVERIFY(m_input->notice().startsWith(QStringLiteral("Not found: X0, X1, X2")));
    QVERIFY(m_input->notice().endsWith(QStringLiteral("X9998, X9999")));
    // The label shows a line that fits; the whole text stays in the model.
    auto* label = m_input->findChild<NoticeLabel*>();
    QVERIFY(label->isVisible());
    QVERIFY(label->text().size() < 1000);
    QVERIFY(m_window->width() <= 600);
}

void TickerInputTests::hiddenForCuratedLists()
{
    makeWindow({ "AAPL" });
    QVERIFY(m_store->acceptCatalogDocument(
        R"({"categories":[],"collections":[{"id":"mega","name":"Mega","tickers":["AAPL"]}]})"));
    m_store->select(SidebarItem::featured(QStringLiteral("mega")));
    QVERIFY(!m_input->isVisible());
    m_store->select(SidebarItem::list(m_store->lists().front().id));
    QVERIFY(m_input->isVisible());
}

void TickerInputTests::commandFocusesTheField()
{
    makeWindow({ "AAPL" });
    auto* other = new QLineEdit(m_window.get());
    m_window->layout()->addWidget(other);
    QuickJump jump(*m_store, m_window.get());
    const InputCommands commands = installInputCommands(*m_window, *m_input, jump, Environment {});
    other->setFocus();
    QTRY_VERIFY(other->hasFocus());

    QTest::keyClick(other, Qt::Key_K, Qt::ControlModifier);
    QTRY_VERIFY(m_input->field()->hasFocus());
    QVERIFY(commands.focusTickerField);
}

void TickerInputTests::startQueryTypesItself()
{
    m_store->setUniverse(sampleUniverse());
    m_store->select(SidebarItem::list(m_store->create(QStringLiteral("Chips"), { "AAPL" })));
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* input = new TickerInput(*m_store, &window);
    layout->addWidget(input);
    layout->addWidget(new QLineEdit(&window));
    Environment environment;
    environment.tickerQuery = QStringLiteral("nvd");
    input->useEnvironment(environment);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(input->field()->text().isEmpty());

    QTRY_COMPARE_WITH_TIMEOUT(input->field()->text(), QStringLiteral("nvd"), 4000);
    QVERIFY(input->field()->hasFocus());
    QCOMPARE(symbolsOf(input->suggestions()), (QStringList { "NVDA", "NVDS" }));
}

void TickerInputTests::benchmarkField_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("downs");
    QTest::addColumn<QString>("benchmark");
    QTest::addColumn<QStringList>("tickers");
    QTest::addColumn<QString>("notice");

    const QStringList tickers { "AAPL", "NVDA" };
    QTest::newRow("whole symbol") << "qqq" << 0 << "QQQ" << tickers << "";
    QTest::newRow("the highlighted suggestion") << "Nasdaq" << 0 << "QQQ" << tickers << "";
    QTest::newRow("a whole symbol wins over the highlighted row") << "SPY" << 1 << "SPY" << tickers << "";
    QTest::newRow("a ticker of the list leaves the tickers") << "nvda" << 0 << "NVDA" << QStringList { "AAPL" } << "";
    QTest::newRow("unknown: refused, kept") << "ZZZZ" << 0 << "SPY" << tickers << "Not found: ZZZZ";
    QTest::newRow("empty: nothing changes") << "" << 0 << "SPY" << tickers << "";
}

void TickerInputTests::benchmarkField()
{
    QFETCH(QString, typed);
    QFETCH(int, downs);
    QFETCH(QString, benchmark);
    QFETCH(QStringList, tickers);
    QFETCH(QString, notice);

    makeWindow({ "AAPL", "NVDA" });
    auto* field = new BenchmarkField(*m_store, m_window.get());
    m_window->layout()->addWidget(field);
    QTRY_VERIFY(field->isVisible());
    QCOMPARE(field->field()->text(), QStringLiteral("SPY"));
    field->field()->setFocus();
    QTRY_VERIFY(field->field()->hasFocus());
    // Focus selects the whole symbol, so typing replaces it.
    QTest::keyClick(field->field(), Qt::Key_Backspace);
    QTest::keyClicks(field->field(), typed);
    for (int i = 0; i < downs; ++i)
        QTest::keyClick(field->field(), Qt::Key_Down);
    QTest::keyClick(field->field(), Qt::Key_Return);
    QCOMPARE(m_store->selectedBenchmark(), benchmark);
    QCOMPARE(m_store->selectedTickers(), tickers);
    QCOMPARE(field->notice(), notice);
    if (notice.isEmpty())
        QCOMPARE(field->field()->text(), benchmark);

    // A curated list has no benchmark to edit.
    QVERIFY(m_store->acceptCatalogDocument(
        R"({"categories":[],"collections":[{"id":"c","name":"C","tickers":["AAPL"]}]})"));
    m_store->select(SidebarItem::featured(QStringLiteral("c")));
    QVERIFY(!field->isVisible());
}

QTEST_MAIN(TickerInputTests)
#include "tst_TickerInput.moc"
