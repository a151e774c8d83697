#include "Support/AccountServer.h"
#include "Support/TestSupport.h"
#include "Tessary/Account/Credentials.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace tessary;
using test::AccountServer;

namespace {

struct Outcome {
    int exitCode = -1;
    QString out;
    QString err;
};

} // namespace

// `tessary list` as a script uses it: on this computer's lists, then on the account's.
class ListCommandTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void editsLocalLists_data();
    void editsLocalLists();
    void signedInWritesTheAccountBeforeItEnds();

private:
    Outcome run(const QStringList& arguments);

    std::unique_ptr<AccountServer> m_server;
    QTemporaryDir m_data;
};

void ListCommandTests::initTestCase()
{
    TESSARY_REQUIRE_SHARED_DATA(shared);
    const QString universe = QDir(shared).filePath(QStringLiteral("sp500-constituents.csv"));
    m_server = std::make_unique<AccountServer>(QStringLiteral(TESSARY_SERVER_EXECUTABLE), universe);
    QVERIFY(m_server->isRunning());
}

Outcome ListCommandTests::run(const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TESSARY_DATA_DIR"), m_data.path());
    for (const char* name : { "TESSARY_API", "TESSARY_SESSION_API", "TESSARY_WEB" })
        environment.insert(QString::fromLatin1(name), m_server->url().toString());
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TESSARY_APP_EXECUTABLE), QStringList { QStringLiteral("list") } + arguments);
    process.waitForFinished(60'000);
    return { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
        QString::fromUtf8(process.readAllStandardError()).trimmed() };
}

void ListCommandTests::editsLocalLists_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("expected"); // in the output, or the whole error line

    // One table, run in order on one folder: each row starts from where the last one left.
    QTest::newRow("create") << QStringList { "create", "Chips", "NVDA", "amd" } << 0 << "";
    QTest::newRow("create twice") << QStringList { "create", "chips" } << 1
                                  << "tessary list: a list named \"chips\" exists already";
    QTest::newRow("unknown symbol") << QStringList { "add", "Chips", "AVGO", "NOPE1" } << 1
                                    << "tessary list: unknown symbols: NOPE1";
    QTest::newRow("add, any case of the name") << QStringList { "add", "chips", "AVGO" } << 0 << "";
    QTest::newRow("remove") << QStringList { "remove", "Chips", "AMD" } << 0 << "";
    QTest::newRow("remove a ticker not there")
        << QStringList { "remove", "Chips", "AMD" } << 1 << "tessary list: not in \"Chips\": AMD";
    QTest::newRow("rename") << QStringList { "rename", "Chips", "Semis" } << 0 << "";
    QTest::newRow("show") << QStringList { "show", "Semis" } << 0 << "NVDA AVGO";
    QTest::newRow("unknown list") << QStringList { "show", "Chips" } << 1 << "tessary list: no list named \"Chips\"";
    QTest::newRow("table") << QStringList {} << 0 << "Semis\t2 tickers\tvs SPY\t1Y";
    QTest::newRow("json") << QStringList { "--json" } << 0
                          << R"([{"name":"Semis","tickers":["NVDA","AVGO"],"benchmark":"SPY","period":"1Y"}])";
    QTest::newRow("wrong arguments") << QStringList { "rename", "Semis" } << 1
                                     << "tessary list rename: wrong number of arguments; see tessary list --help";
}

void ListCommandTests::editsLocalLists()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, expected);
    const Outcome outcome = run(arguments);
    QVERIFY2(outcome.exitCode == exitCode, qPrintable(outcome.err));
    if (exitCode == 0)
        QVERIFY2(outcome.out.contains(expected), qPrintable(outcome.out));
    else
        QCOMPARE(outcome.err, expected);
}

void ListCommandTests::signedInWritesTheAccountBeforeItEnds()
{
    const QString token = m_server->signIn();
    QVERIFY((Credentials { token, QString::fromLatin1(AccountServer::email) }.write(
        QDir(m_data.path()).filePath(QStringLiteral("account.json")))));
    QCOMPARE(run({ QStringLiteral("create"), QStringLiteral("Synced"), QStringLiteral("MSFT") }).exitCode, 0);
    // The local list stays on this computer; the account holds only what was made signed in.
    QCOMPARE(run({}).out.trimmed(), QStringLiteral("Synced\t1 tickers\tvs SPY\t1Y"));

    m_server->stop();
    const Outcome offline = run({ QStringLiteral("rename"), QStringLiteral("Synced"), QStringLiteral("Later") });
    QCOMPARE(offline.exitCode, 1);
    QVERIFY2(offline.err.startsWith(QStringLiteral("Couldn't save to your account: ")), qPrintable(offline.err));
    QVERIFY(m_server->start());
    // The kept edit goes out with the next command.
    QCOMPARE(run({ QStringLiteral("show"), QStringLiteral("Later") }).exitCode, 0);
    const QString history = m_server->account({ QStringLiteral("history"), QString::fromLatin1(AccountServer::email) });
    QVERIFY2(history.count(u'\n') >= 4, qPrintable(history)); // first read, create, rename
}

QTEST_GUILESS_MAIN(ListCommandTests)
#include "tst_ListCommand.moc"
