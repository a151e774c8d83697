#include "Tessary/Store/Store.h"

#include <QDir>
#include <QList>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace tessary;

namespace {

std::vector<TickerInfo> universeOf(const QStringList& symbols)
{
    std::vector<TickerInfo> infos;
    for (const QString& symbol : symbols)
        infos.push_back(TickerInfo { symbol, symbol + QStringLiteral(" Inc."), false, false, {}, {}, {}, {} });
    return infos;
}

QStringList numberedSymbols(int count)
{
    QStringList symbols;
    for (int i = 0; i < count; ++i)
        symbols.append(QStringLiteral("T%1").arg(i, 3, 10, QLatin1Char('0')));
    return symbols;
}

} // namespace

class StoreListTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void freshDirectoryStartsEmptyAndAddsStarterLists();
    void editsSurviveARestart();
    void addTickers_data();
    void addTickers();
    void rename_data();
    void rename();
    void deleteSelectsAFallback();
    void openingAListMovesItUp();
    void periodsOfListsAndCuratedLists();
    void corruptListsFileIsKeptAside();
    void highlightsArePerListAndPersist();
    void everyChangeIsOneNamedEdit_data();
    void everyChangeIsOneNamedEdit();
    void failedSaveIsShownUntilASaveSucceeds();
    void accountListsStandInForLocalOnes();

private:
    std::unique_ptr<Store> makeStore();

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_dataDir;
    double m_now = 1'700'000'000'000.0;
};

void StoreListTests::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    m_dataDir = m_dir->filePath(QStringLiteral("nested/data"));
}

std::unique_ptr<Store> StoreListTests::makeStore()
{
    auto preferences = std::make_shared<Preferences>(m_dir->filePath(QStringLiteral("preferences.ini")));
    auto options = Store::Options::at(m_dataDir);
    options.preferences = preferences;
    // Every reading of the clock is a millisecond later, so the order of events is the order
    // of their timestamps.
    options.listClock = [this] { return m_now += 1; };
    return std::make_unique<Store>(std::move(options));
}

void StoreListTests::freshDirectoryStartsEmptyAndAddsStarterLists()
{
    auto store = makeStore();
    QVERIFY(QDir(m_dataDir).exists());
    QVERIFY(store->lists().empty());
    QVERIFY(!store->selection());

    QSignalSpy starterTip(store.get(), &Store::starterTickersAdded);
    const QUuid first = store->addList();
    const QUuid second = store->addList();
    QCOMPARE(store->list(first)->name, QStringLiteral("My List 1"));
    QCOMPARE(store->list(second)->name, QStringLiteral("My List 2"));
    QCOMPARE(store->list(first)->tickers, (QStringList { "AAPL", "MSFT", "NVDA", "AMZN" }));
    QCOMPARE(store->list(first)->benchmark, QStringLiteral("SPY"));
    QCOMPARE(store->list(first)->preset, Timeframe::oneYear);
    QCOMPARE(store->selection(), std::optional(SidebarItem::list(second)));
    QCOMPARE(starterTip.count(), 1); // the tip is for the first new list only

    // A freed number is used again.
    store->remove(first);
    QCOMPARE(store->list(store->addList())->name, QStringLiteral("My List 1"));
}

void StoreListTests::editsSurviveARestart()
{
    QUuid id;
    {
        auto store = makeStore();
        id = store->create(QStringLiteral("Chips"), { QStringLiteral("NVDA"), QStringLiteral("AMD") });
        store->addTickers({ QStringLiteral("avgo"), QStringLiteral("SMH") });
        store->makeBenchmark(QStringLiteral("SMH"));
        store->rename(id, QStringLiteral("  Semis  "));
        store->setScenario(QStringLiteral("covid-crash"));
        store->duplicate(id);
    }
    auto reopened = makeStore();
    QCOMPARE(reopened->lists().size(), 2u);
    const ComparisonList* list = reopened->list(id);
    QVERIFY(list);
    QCOMPARE(list->name, QStringLiteral("Semis"));
    QCOMPARE(list->tickers, (QStringList { "NVDA", "AMD", "AVGO" }));
    QCOMPARE(list->benchmark, QStringLiteral("SMH"));
    QCOMPARE(list->period().label(), QStringLiteral("COVID Crash"));
    QVERIFY(list->lastModifiedAt >= list->createdAt);
    const ComparisonList& copy = reopened->lists()[1];
    QCOMPARE(copy.name, QStringLiteral("Semis Copy"));
    QCOMPARE(copy.tickers, list->tickers);
    QCOMPARE(copy.period(), list->period());
    QVERIFY(copy.id != id);
    // The first list of the file is selected at start.
    QCOMPARE(reopened->selection(), std::optional(SidebarItem::list(id)));
}

void StoreListTests::addTickers_data()
{
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QStringList>("universe");
    QTest::addColumn<QStringList>("adding");
    QTest::addColumn<QStringList>("expectedTail");
    QTest::addColumn<QStringList>("unknown");
    QTest::addColumn<int>("overLimit");

    const QStringList fullUniverse = numberedSymbols(300) + QStringList { "AAPL", "MSFT" };
    QTest::newRow("ten onto 195") << numberedSymbols(195) << fullUniverse << numberedSymbols(210).mid(200)
                                  << numberedSymbols(205).mid(200) << QStringList {} << 5;
    QTest::newRow("already present, any case") << QStringList { "AAPL" } << fullUniverse << QStringList { "aapl " }
                                               << QStringList { "AAPL" } << QStringList {} << 0;
    QTest::newRow("repeated in one call") << QStringList {} << fullUniverse << QStringList { "msft", "MSFT", " msft\n" }
                                          << QStringList { "MSFT" } << QStringList {} << 0;
    QTest::newRow("unknown symbols reported once")
        << QStringList {} << fullUniverse << QStringList { "ZZZZ", "msft", "zzzz", "" } << QStringList { "MSFT" }
        << QStringList { "ZZZZ" } << 0;
    QTest::newRow("no universe yet: nothing is unknown")
        << QStringList {} << QStringList {} << QStringList { "ZZZZ", "BRK.B" } << QStringList { "ZZZZ", "BRK.B" }
        << QStringList {} << 0;
    QTest::newRow("unknown checked before the limit")
        << numberedSymbols(200) << fullUniverse << QStringList { "NOPE", "AAPL" } << numberedSymbols(200).mid(199)
        << QStringList { "NOPE" } << 1;
}

void StoreListTests::addTickers()
{
    QFETCH(QStringList, existing);
    QFETCH(QStringList, universe);
    QFETCH(QStringList, adding);
    QFETCH(QStringList, expectedTail);
    QFETCH(QStringList, unknown);
    QFETCH(int, overLimit);

    auto store = makeStore();
    store->setUniverse(universeOf(universe));
    const QUuid id = store->create(QStringLiteral("L"), existing);
    const double modified = store->list(id)->lastModifiedAt;
    QSignalSpy reloads(store.get(), &Store::comparisonInputsChanged);

    const auto result = store->addTickers(adding);
    QCOMPARE(result.unknown, unknown);
    QCOMPARE(result.overLimit, overLimit);
    const QStringList tickers = store->list(id)->tickers;
    QVERIFY(tickers.size() <= 200);
    QCOMPARE(tickers.mid(tickers.size() - expectedTail.size()), expectedTail);

    const bool changed = tickers != existing;
    QCOMPARE(reloads.count(), changed ? 1 : 0);
    QCOMPARE(store->list(id)->lastModifiedAt == modified, !changed);
    QCOMPARE(store->justAdded().isEmpty(), !changed);
}

void StoreListTests::rename_data()
{
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("expected");
    QTest::newRow("trimmed") << "  Income \n"
                             << "Income";
    QTest::newRow("60 characters cut to 50") << QString(60, u'x') << QString(50, u'x');
    QTest::newRow("blank keeps the old name") << "   "
                                              << "Original";
    QTest::newRow("emoji is never cut in half")
        << QString(49, u'a') + QStringLiteral("🚀🚀") << QString(49, u'a') + QStringLiteral("🚀");
}

void StoreListTests::rename()
{
    QFETCH(QString, to);
    QFETCH(QString, expected);
    auto store = makeStore();
    const QUuid id = store->create(QStringLiteral("Original"), {});
    store->rename(id, to);
    QCOMPARE(store->list(id)->name, expected);
}

void StoreListTests::deleteSelectsAFallback()
{
    auto store = makeStore();
    const QUuid a = store->create(QStringLiteral("A"), {});
    const QUuid b = store->create(QStringLiteral("B"), {});
    const QUuid c = store->create(QStringLiteral("C"), {});
    const QUuid d = store->create(QStringLiteral("D"), {});
    store->select(SidebarItem::list(a));
    store->select(SidebarItem::list(b));
    store->select(SidebarItem::list(c));
    store->select(SidebarItem::list(b));
    store->remove(b); // the sidebar read B, C, A, D: the one below it
    QCOMPARE(store->selection(), std::optional(SidebarItem::list(c)));
    store->remove(d); // not selected: selection stays
    QCOMPARE(store->selection(), std::optional(SidebarItem::list(c)));
    store->select(SidebarItem::list(a));
    store->remove(c); // A, C: the last one, so the one above it
    QCOMPARE(store->selection(), std::optional(SidebarItem::list(a)));
    store->remove(a);
    QVERIFY(!store->selection());
    QVERIFY(store->lists().empty());
    QCOMPARE(makeStore()->lists().size(), 0u);
}

void StoreListTests::openingAListMovesItUp()
{
    auto store = makeStore();
    const QUuid a = store->create(QStringLiteral("A"), {});
    const QUuid b = store->create(QStringLiteral("B"), {});
    QCOMPARE(store->listsByRecency().front().id, b);
    store->select(SidebarItem::list(a));
    QCOMPARE(store->listsByRecency().front().id, a);
    // Selecting the same item again is not an event.
    QSignalSpy changes(store.get(), &Store::selectionChanged);
    store->select(SidebarItem::list(a));
    QCOMPARE(changes.count(), 0);
}

void StoreListTests::periodsOfListsAndCuratedLists()
{
    auto store = makeStore();
    QVERIFY(store->acceptCatalogDocument(
        R"({"categories":[{"id":"c","label":"C"}],"collections":[{"id":"megacaps","name":"Mega caps","tickers":["AAPL","MSFT"]}]})"));
    QVERIFY(!store->acceptCatalogDocument("{\"categories\":[]}"));
    QCOMPARE(store->catalog().collections.size(), 1u);

    store->select(SidebarItem::featured(QStringLiteral("megacaps")));
    QVERIFY(!store->selectionIsEditable());
    store->setTimeframe(Timeframe::fiveYear);
    QCOMPARE(store->selectedPeriod(), ListPeriod::forPreset(Timeframe::fiveYear));
    store->addTickers({ QStringLiteral("NVDA") }); // curated lists cannot be edited
    QCOMPARE(store->selectedCollection()->tickers.size(), 2);

    const auto copy = store->saveFeaturedAsList();
    QVERIFY(copy);
    QCOMPARE(store->selection(), std::optional(SidebarItem::list(*copy)));
    QCOMPARE(store->list(*copy)->name, QStringLiteral("Mega caps"));
    QCOMPARE(store->list(*copy)->preset, Timeframe::fiveYear);

    store->alignStart(QStringLiteral("2015-03-02"));
    QCOMPARE(store->selectedPeriod().label(), QStringLiteral("Custom range"));
    QVERIFY(!store->selectedPeriod().rangeEnd);
    // The downloaded catalog is kept for the next start.
    QCOMPARE(makeStore()->catalog().collections.size(), 1u);
}

void StoreListTests::corruptListsFileIsKeptAside()
{
    QDir().mkpath(m_dataDir);
    const QByteArray damaged
        = R"([{"id":"6F1C2B8E-3D4A-4E5F-9A0B-1C2D3E4F5A6B","name":"Mine","tickers":["AAPL"]}, {"name":)";
    {
        QFile file(QDir(m_dataDir).filePath(QStringLiteral("lists.json")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(damaged);
    }
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("lists.json could not be read.*corrupt-")));
    auto store = makeStore();
    QVERIFY(store->lists().empty());
    store->addList();

    const QStringList aside = QDir(m_dataDir).entryList({ QStringLiteral("lists.json.corrupt-*") });
    QCOMPARE(aside.size(), 1);
    QFile kept(QDir(m_dataDir).filePath(aside.front()));
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QCOMPARE(kept.readAll(), damaged);
    QCOMPARE(makeStore()->lists().size(), 1u);
}

void StoreListTests::highlightsArePerListAndPersist()
{
    QUuid a;
    {
        auto store = makeStore();
        a = store->create(QStringLiteral("A"), { QStringLiteral("AAPL"), QStringLiteral("MSFT") });
        store->setHighlights({ QStringLiteral("MSFT") });
        store->setLogScale(true);
        store->create(QStringLiteral("B"), {});
        QVERIFY(store->highlights().isEmpty());
    }
    auto store = makeStore();
    QVERIFY(store->logScale());
    store->select(SidebarItem::list(a));
    QCOMPARE(store->highlights(), QStringList { QStringLiteral("MSFT") });
    store->remove(a);
    QVERIFY(makeStore()->highlights().isEmpty());
}

using Kind = ListEdit::Kind;
using Operation = std::function<void(Store&, const QUuid&)>;
Q_DECLARE_METATYPE(Operation)
Q_DECLARE_METATYPE(QList<ListEdit::Kind>)

void StoreListTests::everyChangeIsOneNamedEdit_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QList<Kind>>("edits");

    // The account follows lists by these names alone, so each operation must say exactly
    // what it did — and an operation that changes nothing must say nothing.
    const auto row
        = [](const char* name, Operation operation, QList<Kind> edits) { QTest::newRow(name) << operation << edits; };
    row("add tickers", [](Store& s, const QUuid&) { s.addTickers({ "NVDA" }); }, { Kind::setTickers });
    row("add a ticker already there", [](Store& s, const QUuid&) { s.addTickers({ "aapl " }); }, {});
    row("remove tickers", [](Store& s, const QUuid&) { s.removeTickers({ "AAPL" }); }, { Kind::setTickers });
    row("make benchmark", [](Store& s, const QUuid&) { s.makeBenchmark("MSFT"); },
        { Kind::setTickers, Kind::setBenchmark });
    row("set benchmark", [](Store& s, const QUuid&) { s.setBenchmark("QQQ"); }, { Kind::setBenchmark });
    row("same benchmark", [](Store& s, const QUuid&) { s.setBenchmark("spy"); }, {});
    row("preset", [](Store& s, const QUuid&) { s.setTimeframe(Timeframe::fiveYear); }, { Kind::setPreset });
    row("scenario", [](Store& s, const QUuid&) { s.setScenario("covid-crash"); }, { Kind::setScenario });
    row("custom range", [](Store& s, const QUuid&) { s.alignStart("2020-01-02"); }, { Kind::setScenario });
    row("rename", [](Store& s, const QUuid& id) { s.rename(id, "Other"); }, { Kind::rename });
    row("rename to blanks", [](Store& s, const QUuid& id) { s.rename(id, "  "); }, {});
    row("delete", [](Store& s, const QUuid& id) { s.remove(id); }, { Kind::remove });
    row("duplicate", [](Store& s, const QUuid& id) { s.duplicate(id); }, { Kind::create, Kind::touch });
    row("open another list", [](Store& s, const QUuid&) { s.create("B", {}); }, { Kind::create, Kind::touch });
}

void StoreListTests::everyChangeIsOneNamedEdit()
{
    QFETCH(Operation, operation);
    QFETCH(QList<Kind>, edits);
    auto store = makeStore();
    const QUuid id = store->create(QStringLiteral("A"), { QStringLiteral("AAPL"), QStringLiteral("MSFT") });
    QList<Kind> seen;
    connect(&store->listStore(), &ListStore::edited, this, [&](const ListEdit& edit) { seen.append(edit.kind); });
    operation(*store, id);
    QCOMPARE(seen, edits);
}

void StoreListTests::failedSaveIsShownUntilASaveSucceeds()
{
    auto store = makeStore();
    // A directory where the file should be: every save fails as it would on a full disk.
    const QString blocker = store->listsFile();
    QVERIFY(QDir().mkpath(blocker));
    QSignalSpy errors(store.get(), &Store::saveErrorChanged);
    const QUuid id = store->create(QStringLiteral("Kept"), { QStringLiteral("AAPL") });
    QVERIFY(store->saveError());
    QVERIFY(store->saveError()->startsWith(QStringLiteral("Couldn't save your lists: ")));
    QCOMPARE(store->list(id)->name, QStringLiteral("Kept")); // nothing lost in memory

    QVERIFY(QDir(blocker).removeRecursively());
    store->rename(id, QStringLiteral("Saved"));
    QVERIFY(!store->saveError());
    QCOMPARE(errors.count(), 2);
    QCOMPARE(makeStore()->lists().front().name, QStringLiteral("Saved"));
}

void StoreListTests::accountListsStandInForLocalOnes()
{
    auto store = makeStore();
    const QUuid local = store->create(QStringLiteral("Local"), { QStringLiteral("AAPL") });
    const auto remote = ComparisonList::create(QStringLiteral("Remote"), { QStringLiteral("MSFT") });
    store->listStore().setAccountLists({ remote });
    QCOMPARE(store->lists().size(), 1u);
    QVERIFY(!store->list(local));

    // Edits go to the account's lists and are announced, never to the local file.
    store->select(SidebarItem::list(remote.id));
    store->addTickers({ QStringLiteral("NVDA") });
    QCOMPARE(store->list(remote.id)->tickers, (QStringList { "MSFT", "NVDA" }));
    QCOMPARE(makeStore()->lists().front().name, QStringLiteral("Local"));

    store->listStore().leaveAccountMode();
    QCOMPARE(store->list(local)->tickers, QStringList { QStringLiteral("AAPL") });
}

QTEST_GUILESS_MAIN(StoreListTests)
#include "tst_StoreLists.moc"
