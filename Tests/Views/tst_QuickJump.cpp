#include "Tessary/Shell/Environment.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Input/Input.h"

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include "Support/TempStore.h"

#include "KeyRecorder.h"
#include <QVBoxLayout>

using namespace tessary;
using test::KeyRecorder;

namespace {

// The main window's stand-in: records the keys the panel lets through.
JumpTarget target(const char* title, const char* secondary = "")
{
    return JumpTarget { SidebarItem::featured(QString::fromUtf8(title)), QString::fromUtf8(title),
        QString::fromUtf8(secondary), {} };
}

QStringList titlesOf(const std::vector<JumpTarget>& targets)
{
    QStringList titles;
    for (const JumpTarget& entry : targets)
        titles.append(entry.title);
    return titles;
}

const char* const catalogDocument = R"({"categories":[{"id":"semis","label":"Semiconductors"}],
  "collections":[{"id":"chips","name":"Chip Leaders","category":"semis","tickers":["NVDA","AVGO"]},
                 {"id":"aristocrats","name":"Dividend Aristocrats","category":"income","tickers":["KO"]}]})";

} // namespace

class QuickJumpTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void score_data();
    void score();
    void ranking_data();
    void ranking();
    void slashOpensOutsideTextFields();
    void sections_data();
    void sections();
    void arrows_data();
    void arrows();
    void enterAndClickOpen();
    void escapeCloses();
    void clickOutsideCloses();
    void environmentOpensThePanel();

private:
    void makeWindow(const Environment& environment = {});

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<KeyRecorder> m_window;
    QPushButton* m_button = nullptr;
    TickerInput* m_input = nullptr;
    QuickJump* m_jump = nullptr;
    QUuid m_tech;
};

void QuickJumpTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_store = test::openStore(*m_dir);
}

void QuickJumpTests::cleanup()
{
    m_window.reset();
    m_store.reset();
    m_dir.reset();
}

void QuickJumpTests::makeWindow(const Environment& environment)
{
    m_store->create(QStringLiteral("Dividend Growers"), { "KO", "PEP" });
    m_store->create(QStringLiteral("Empty One"), {});
    m_tech = m_store->create(QStringLiteral("Tech Giants"), { "AAPL", "MSFT", "NVDA" });
    QVERIFY(m_store->acceptCatalogDocument(catalogDocument));
    m_store->select(SidebarItem::list(m_tech));

    m_window = std::make_unique<KeyRecorder>();
    m_window->resize(800, 600);
    auto* layout = new QVBoxLayout(m_window.get());
    m_input = new TickerInput(*m_store, m_window.get());
    m_button = new QPushButton(QStringLiteral("Elsewhere"), m_window.get());
    layout->addWidget(m_input);
    layout->addWidget(m_button);
    layout->addStretch();
    m_jump = new QuickJump(*m_store, m_window.get());
    installInputCommands(*m_window, *m_input, *m_jump, environment);
    m_window->show();
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
}

void QuickJumpTests::score_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("secondary");
    QTest::addColumn<int>("score"); // -1: no match

    QTest::newRow("title begins with the query") << "tech"
                                                 << "Tech Giants"
                                                 << "" << 1000 - 11;
    QTest::newRow("whole query as prefix, any case") << "TECH gi"
                                                     << "Tech Giants"
                                                     << "" << 1000 - 11;
    QTest::newRow("word start") << "giants"
                                << "Tech Giants"
                                << "" << 800 - 11;
    QTest::newRow("inside a word") << "iant"
                                   << "Tech Giants"
                                   << "" << 600 - 11;
    QTest::newRow("words averaged") << "giants tech"
                                    << "Tech Giants"
                                    << "" << 800 - 11;
    QTest::newRow("every word must match") << "giants zzz"
                                           << "Tech Giants"
                                           << "" << -1;
    QTest::newRow("category word start") << "semi"
                                         << "Chip Makers"
                                         << "Semiconductors" << 400 - 11;
    QTest::newRow("inside the category") << "cond"
                                         << "Chip Makers"
                                         << "Semiconductors" << 200 - 11;
    QTest::newRow("title and category mixed") << "chip semi"
                                              << "Chip Makers"
                                              << "Semiconductors" << 600 - 11;
    QTest::newRow("initials from the first word") << "gd"
                                                  << "Growth & Dividends"
                                                  << "" << 500 - 18;
    QTest::newRow("initials skipping a word") << "gd"
                                              << "Global Growth Dividends"
                                              << "" << 300 - 23;
    QTest::newRow("initials out of order") << "dg"
                                           << "Growth & Dividends"
                                           << "" << -1;
    QTest::newRow("initials only for one word") << "gd x"
                                                << "Growth & Dividends"
                                                << "" << -1;
    QTest::newRow("punctuation splits words") << "p"
                                              << "S&P 500"
                                              << "" << 800 - 7;
    QTest::newRow("digits are words") << "500"
                                      << "S&P 500"
                                      << "" << 800 - 7;
    QTest::newRow("long titles count as 99")
        << "x" << QString(QStringLiteral("x") + QString(120, u'y')) << "" << 1000 - 99;
    QTest::newRow("blank query") << "  "
                                 << "Tech Giants"
                                 << "" << -1;
}

void QuickJumpTests::score()
{
    QFETCH(QString, query);
    QFETCH(QString, title);
    QFETCH(QString, secondary);
    QFETCH(int, score);
    QCOMPARE(jumpScore(query, title, secondary).value_or(-1), score);
}

void QuickJumpTests::ranking_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("titles");

    QTest::newRow("prefix, then word, then category")
        << "semi" << QStringList { "Semis & Friends", "Chip Semis", "Best of Chips" };
    QTest::newRow("equal scores keep their order") << "lead" << QStringList { "AA Leaders", "BB Leaders" };
    QTest::newRow("empty query keeps everything as given")
        << ""
        << QStringList { "Best of Chips", "Semis & Friends", "BB Leaders", "Chip Semis", "AA Leaders", "Nothing" };
}

void QuickJumpTests::ranking()
{
    QFETCH(QString, query);
    QFETCH(QStringList, titles);
    const std::vector<JumpTarget> targets { target("Best of Chips", "Semiconductors"), target("Semis & Friends"),
        target("BB Leaders"), target("Chip Semis"), target("AA Leaders"), target("Nothing") };
    std::vector<JumpTarget> ranked = rankTargets(targets, query);
    if (query == QStringLiteral("lead")) {
        QCOMPARE(titlesOf(ranked), (QStringList { "BB Leaders", "AA Leaders" }));
        std::vector<JumpTarget> reversed(targets.rbegin(), targets.rend());
        ranked = rankTargets(reversed, query);
    }
    QCOMPARE(titlesOf(ranked), titles);
}

void QuickJumpTests::slashOpensOutsideTextFields()
{
    makeWindow();
    m_input->field()->setFocus();
    QTRY_VERIFY(m_input->field()->hasFocus());
    QTest::keyClick(m_input->field(), Qt::Key_Slash);
    QCOMPARE(m_input->field()->text(), QStringLiteral("/"));
    QVERIFY(!m_jump->isVisible());

    m_button->setFocus();
    QTRY_VERIFY(m_button->hasFocus());
    QTest::keyClick(m_button, Qt::Key_Slash);
    QVERIFY(m_jump->isVisible());
    QTRY_VERIFY(m_jump->field()->hasFocus());
    QCOMPARE(m_jump->field()->placeholderText(), QStringLiteral("Jump to a list…"));
}

void QuickJumpTests::sections_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QStringList>("rows"); // as the list view shows them, headings included
    QTest::addColumn<QString>("emptyText");

    QTest::newRow("everything, recent lists first")
        << ""
        << QStringList { "My Lists", "Tech Giants  —  3 tickers", "Empty One  —  Empty",
               "Dividend Growers  —  2 tickers", "Curated Lists", "Chip Leaders  —  Semiconductors",
               "Dividend Aristocrats  —  income" }
        << "";
    QTest::newRow("both sections") << "div"
                                   << QStringList { "My Lists", "Dividend Growers  —  2 tickers", "Curated Lists",
                                          "Dividend Aristocrats  —  income" }
                                   << "";
    QTest::newRow("category only") << "semicond" << QStringList { "Curated Lists", "Chip Leaders  —  Semiconductors" }
                                   << "";
    QTest::newRow("nothing matches") << "zzz" << QStringList {} << "No list matches “zzz”";
}

void QuickJumpTests::sections()
{
    QFETCH(QString, query);
    QFETCH(QStringList, rows);
    QFETCH(QString, emptyText);
    makeWindow();
    m_jump->open();
    QTest::keyClicks(m_jump->field(), query);

    QStringList shown;
    for (int row = 0; row < m_jump->resultsView()->count(); ++row)
        shown.append(m_jump->resultsView()->item(row)->text());
    QCOMPARE(shown, rows);
    QCOMPARE(m_jump->emptyText(), emptyText);
    auto* empty = m_jump->findChild<QLabel*>(QStringLiteral("quickJumpEmpty"));
    QCOMPARE(empty->isVisible(), !emptyText.isEmpty());
    QCOMPARE(empty->text(), emptyText);
}

void QuickJumpTests::arrows_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QList<QKeyCombination>>("keys");
    QTest::addColumn<int>("highlight");
    QTest::addColumn<int>("passedOn");

    const QKeyCombination down(Qt::Key_Down), up(Qt::Key_Up);
    QTest::newRow("up from the first wraps to the last") << "" << QList { up } << 4 << 0;
    QTest::newRow("down from the last wraps to the first") << "" << QList { down, down, down, down, down } << 0 << 0;
    QTest::newRow("down crosses into the curated section") << "" << QList { down, down, down } << 3 << 0;
    // The line edit itself moves its caret on Ctrl+arrows; the results must not react.
    QTest::newRow("ctrl left to the field")
        << "" << QList { QKeyCombination(Qt::ControlModifier, Qt::Key_Down) } << 0 << 0;
    QTest::newRow("meta passes on") << "" << QList { QKeyCombination(Qt::MetaModifier, Qt::Key_Down) } << 0 << 1;
    QTest::newRow("alt passes on") << "" << QList { down, QKeyCombination(Qt::AltModifier, Qt::Key_Up) } << 1 << 1;
    QTest::newRow("no results, still consumed") << "zzz" << QList { down, up } << 0 << 0;
}

void QuickJumpTests::arrows()
{
    QFETCH(QString, query);
    QFETCH(QList<QKeyCombination>, keys);
    QFETCH(int, highlight);
    QFETCH(int, passedOn);
    makeWindow();
    m_jump->open();
    QTest::keyClicks(m_jump->field(), query);
    for (const QKeyCombination key : keys)
        QTest::keyClick(m_jump->field(), key.key(), key.keyboardModifiers());

    QCOMPARE(m_jump->highlight(), highlight);
    QCOMPARE(m_window->keys.size(), passedOn);
    if (!m_jump->results().empty())
        QCOMPARE(m_jump->resultsView()->currentItem()->data(Qt::UserRole).toInt(), highlight);
}

void QuickJumpTests::enterAndClickOpen()
{
    makeWindow();
    m_jump->open();
    QTest::keyClicks(m_jump->field(), QStringLiteral("chip"));
    QTest::keyClick(m_jump->field(), Qt::Key_Return);
    QVERIFY(!m_jump->isVisible());
    QCOMPARE(m_store->selection(), SidebarItem::featured(QStringLiteral("chips")));

    m_jump->open();
    QVERIFY(m_jump->field()->text().isEmpty());
    QListWidget* view = m_jump->resultsView();
    QListWidgetItem* growers = view->findItems(QStringLiteral("Dividend Growers"), Qt::MatchStartsWith).value(0);
    QVERIFY(growers);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualItemRect(growers).center());
    QVERIFY(!m_jump->isVisible());
    QCOMPARE(m_store->selectedList()->name, QStringLiteral("Dividend Growers"));

    // Headings are not targets.
    m_jump->open();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualItemRect(view->item(0)).center());
    QVERIFY(m_jump->isVisible());
}

void QuickJumpTests::escapeCloses()
{
    makeWindow();
    m_jump->open();
    QTest::keyClicks(m_jump->field(), QStringLiteral("tech"));
    QTest::keyClick(m_jump->field(), Qt::Key_Escape, Qt::ControlModifier);
    QVERIFY(m_jump->isVisible());
    QTest::keyClick(m_jump->field(), Qt::Key_Escape);
    QVERIFY(!m_jump->isVisible());
    QCOMPARE(m_store->selection(), SidebarItem::list(m_tech));
}

void QuickJumpTests::clickOutsideCloses()
{
    makeWindow();
    m_jump->open();
    QTest::mouseClick(m_jump->field(), Qt::LeftButton);
    QVERIFY(m_jump->isVisible());
    QTest::mouseClick(m_button, Qt::LeftButton);
    QVERIFY(!m_jump->isVisible());
    QCOMPARE(m_store->selection(), SidebarItem::list(m_tech));
}

void QuickJumpTests::environmentOpensThePanel()
{
    Environment environment;
    environment.quickJump = QStringLiteral("div");
    makeWindow(environment);
    QTRY_VERIFY(m_jump->isVisible());
    QCOMPARE(m_jump->field()->text(), QStringLiteral("div"));
    QCOMPARE(titlesOf(m_jump->results()), (QStringList { "Dividend Growers", "Dividend Aristocrats" }));
}

QTEST_MAIN(QuickJumpTests)
#include "tst_QuickJump.moc"
