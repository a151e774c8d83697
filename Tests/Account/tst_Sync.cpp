#include "Support/AccountServer.h"
#include "Support/TaskRunner.h"
#include "Support/TempStore.h"
#include "Tessary/Store/Store.h"

#include <QDir>
#include <QTest>

using namespace tessary;
using namespace std::chrono_literals;
using test::AccountServer;

namespace {

QStringList namesOf(const Store& store)
{
    QStringList names;
    for (const ComparisonList& list : store.lists())
        names.append(list.name + u':' + list.tickers.join(u','));
    names.sort();
    return names;
}

} // namespace

// Two computers signed in to one account, each a store on its own folder, against a real
// tessary-server.
class SyncTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void concurrentEditsConvergeWithNothingLost();
    void quickRenamesAreOneWrite();
    void editsOutliveAStoppedServerAndARestart();

private:
    std::unique_ptr<Store> openComputer(QTemporaryDir& folder);
    // Waits until the store has nothing left to send.
    static bool settled(const Store& store) { return store.sync()->pending().empty() && !store.isSyncing(); }

    std::unique_ptr<AccountServer> m_server;
    QString m_token;
    std::unique_ptr<QTemporaryDir> m_first;
    std::unique_ptr<QTemporaryDir> m_second;
};

void SyncTests::init()
{
    m_server = std::make_unique<AccountServer>(QStringLiteral(TESSARY_SERVER_EXECUTABLE));
    QVERIFY(m_server->isRunning());
    m_token = m_server->signIn();
    QVERIFY(!m_token.isEmpty());
    m_first = std::make_unique<QTemporaryDir>();
    m_second = std::make_unique<QTemporaryDir>();
}

void SyncTests::cleanup()
{
    m_server.reset();
}

std::unique_ptr<Store> SyncTests::openComputer(QTemporaryDir& folder)
{
    const QString data = folder.filePath(QStringLiteral("data"));
    QDir().mkpath(data);
    if (!QFile::exists(QDir(data).filePath(QStringLiteral("account.json"))))
        Credentials { m_token, QString::fromLatin1(AccountServer::email) }.write(QDir(data).filePath("account.json"));
    auto store = test::openStore(folder);
    store->account().setEndpoints(m_server->url(), m_server->url());
    if (store->sync()) {
        store->sync()->setDelay(50ms);
        test::runTask(store->sync()->pull());
    }
    return store;
}

void SyncTests::concurrentEditsConvergeWithNothingLost()
{
    auto first = openComputer(*m_first);
    auto second = openComputer(*m_second);
    QVERIFY(first->sync() && second->sync());

    first->create(QStringLiteral("Shared"), { QStringLiteral("AAPL") });
    QTRY_VERIFY(settled(*first));
    QVERIFY(test::runTask(second->sync()->pull()));
    QCOMPARE(namesOf(*second), QStringList { QStringLiteral("Shared:AAPL") });

    // Both edit before either has heard of the other: one write wins, the other gets a 409,
    // shows the winner's change at once and keeps its own edit for the next write.
    second->select(SidebarItem::list(second->lists().front().id));
    second->addTickers({ QStringLiteral("MSFT") });
    first->create(QStringLiteral("Chips"), { QStringLiteral("NVDA") });
    const auto done = [](const Store& store) {
        return !store.isSyncing() && store.syncError().has_value() != store.sync()->pending().empty();
    };
    QTRY_VERIFY(done(*first) && done(*second));
    QVERIFY(first->sync()->pending().empty() != second->sync()->pending().empty());
    Store& loser = first->sync()->pending().empty() ? *second : *first;
    QCOMPARE(loser.syncError(),
        std::optional(QStringLiteral("Couldn't save to your account: The account server returned 409.")));
    const QStringList everything { QStringLiteral("Chips:NVDA"), QStringLiteral("Shared:AAPL,MSFT") };
    QCOMPARE(namesOf(loser), everything);

    QVERIFY(test::runTask(loser.sync()->push()));
    QVERIFY(!loser.syncError());
    for (Store* store : { first.get(), second.get() }) {
        QVERIFY(test::runTask(store->sync()->pull()));
        QCOMPARE(namesOf(*store), everything);
    }
}

void SyncTests::quickRenamesAreOneWrite()
{
    auto store = openComputer(*m_first);
    const QUuid id = store->create(QStringLiteral("Draft"), {});
    QTRY_VERIFY(settled(*store));
    const auto versions = [this] {
        return m_server->account({ QStringLiteral("history"), AccountServer::email }).count(u'\n');
    };
    const qsizetype before = versions();
    store->sync()->setDelay(300ms);
    for (const char* name : { "Dr", "Dra", "Final" })
        store->rename(id, QString::fromLatin1(name));
    QTRY_VERIFY(settled(*store));
    QCOMPARE(versions(), before + 1);
    auto other = openComputer(*m_second);
    QCOMPARE(namesOf(*other), QStringList { QStringLiteral("Final:") });
}

void SyncTests::editsOutliveAStoppedServerAndARestart()
{
    {
        auto store = openComputer(*m_first);
        const QUuid id = store->create(QStringLiteral("Train"), { QStringLiteral("AAPL") });
        QTRY_VERIFY(settled(*store));
        m_server->stop();
        store->rename(id, QStringLiteral("Written offline"));
        QTRY_VERIFY(store->syncError().has_value());
        QCOMPARE(store->sync()->pending().size(), 1u);
    }
    // The app starts again without the server: the lists and the edit are still there.
    auto offline = openComputer(*m_first);
    QCOMPARE(namesOf(*offline), QStringList { QStringLiteral("Written offline:AAPL") });
    offline.reset();

    QVERIFY(m_server->start());
    auto restarted = openComputer(*m_first);
    QTRY_VERIFY(settled(*restarted));
    auto other = openComputer(*m_second);
    QCOMPARE(namesOf(*other), QStringList { QStringLiteral("Written offline:AAPL") });
}

QTEST_GUILESS_MAIN(SyncTests)
#include "tst_Sync.moc"
