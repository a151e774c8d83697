#include "TestDatabase.h"

#include <QDeadlineTimer>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

#include <csignal>

namespace {

const QString executable = QStringLiteral(TESSARY_SERVER_EXECUTABLE);
const QString verifier = QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
const QString challenge = QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");

struct Finished {
    int exitCode = -1;
    QString out;
    QString err;
};

Finished run(const QStringList& arguments, const QByteArray& input = {})
{
    QProcess process;
    process.start(executable, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60'000))
        qWarning("tessary-server %s did not finish", qPrintable(arguments.join(u' ')));
    return Finished { process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()).trimmed(),
        QString::fromUtf8(process.readAllStandardError()).trimmed() };
}

struct Reply {
    int status = 0;
    QByteArray body;
    QByteArray location;
    QByteArray etag;
};

QNetworkRequest requestFor(
    const QUrl& url, const QByteArray& contentType, const QString& token, const QByteArray& ifMatch)
{
    QNetworkRequest request(url);
    // The redirect is what is checked, not followed: nothing listens on the app's port.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    if (!contentType.isEmpty())
        request.setHeader(QNetworkRequest::ContentTypeHeader, contentType);
    if (!token.isEmpty())
        request.setRawHeader("Authorization", "Bearer " + token.toLatin1());
    if (!ifMatch.isEmpty())
        request.setRawHeader("If-Match", ifMatch);
    return request;
}

Reply finish(QNetworkReply& reply)
{
    QSignalSpy finished(&reply, &QNetworkReply::finished);
    if (!reply.isFinished() && !finished.wait(10'000))
        qWarning("no reply from %s", qPrintable(reply.url().toString()));
    return Reply { reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply.readAll(),
        reply.rawHeader("Location"), reply.rawHeader("ETag") };
}

Reply send(QNetworkAccessManager& network, const QByteArray& method, const QUrl& url, const QByteArray& body = {},
    const QByteArray& contentType = {}, const QString& token = {}, const QByteArray& ifMatch = {})
{
    std::unique_ptr<QNetworkReply> reply(
        network.sendCustomRequest(requestFor(url, contentType, token, ifMatch), method, body));
    return finish(*reply);
}

// Starts `tessary-server serve` on the database; the base URL it listens on, or an invalid one.
QUrl startServer(QProcess& server, const QStringList& database)
{
    server.start(executable, QStringList { QStringLiteral("serve"), QStringLiteral("--no-demo") } + database);
    if (!server.waitForStarted(10'000))
        return {};
    QDeadlineTimer deadline(30'000);
    while (!server.canReadLine() && !deadline.hasExpired())
        server.waitForReadyRead(1000);
    const auto match = QRegularExpression(QStringLiteral("^listening on (http://127\\.0\\.0\\.1:\\d+)$"))
                           .match(QString::fromUtf8(server.readLine()).trimmed());
    return match.hasMatch() ? QUrl(match.captured(1)) : QUrl();
}

// Adds the account to the database, then starts a server on it.
QUrl startServer(QProcess& server, const QStringList& database, const QString& email, const QString& password)
{
    const QByteArray typed = (password + u'\n' + password + u'\n').toUtf8();
    if (run(QStringList { QStringLiteral("account"), QStringLiteral("add"), email } + database, typed).exitCode != 0)
        return {};
    return startServer(server, database);
}

void stopServer(QProcess& server)
{
    ::kill(static_cast<pid_t>(server.processId()), SIGTERM);
    server.waitForFinished(10'000);
}

// Approves the app's sign-in on the connect page; the code from the redirect to the app.
QString approvedCode(QNetworkAccessManager& network, const QUrl& base, const QString& email, const QString& password)
{
    QUrl pageUrl = base.resolved(QUrl(QStringLiteral("/connect/mac")));
    pageUrl.setQuery(QStringLiteral("challenge=%1&state=xyz&port=49152&name=Dee%27s%20PC").arg(challenge));
    const Reply page = send(network, "GET", pageUrl);
    const QString form = QRegularExpression(QStringLiteral("name=\"form\" value=\"([^\"]*)\""))
                             .match(QString::fromUtf8(page.body))
                             .captured(1);
    QByteArrayList fields;
    for (const auto& [name, value] : { std::pair { "challenge", challenge }, { "state", QStringLiteral("xyz") },
             { "port", QStringLiteral("49152") }, { "name", QStringLiteral("Dee's PC") }, { "form", form },
             { "email", email }, { "password", password }, { "decision", QStringLiteral("approve") } })
        fields.append(name + QByteArray("=") + QUrl::toPercentEncoding(value));
    const Reply approved = send(
        network, "POST", pageUrl.adjusted(QUrl::RemoveQuery), fields.join('&'), "application/x-www-form-urlencoded");
    const QUrl callback(QString::fromLatin1(approved.location));
    if (callback.adjusted(QUrl::RemoveQuery) != QUrl(QStringLiteral("http://127.0.0.1:49152/callback"))
        || QUrlQuery(callback).queryItemValue(QStringLiteral("state")) != u"xyz")
        return {};
    return QUrlQuery(callback).queryItemValue(QStringLiteral("code"));
}

QByteArray exchangeBody(const QString& code)
{
    return QJsonDocument(QJsonObject { { "code", code }, { "verifier", verifier } }).toJson();
}

QString tokenFor(QNetworkAccessManager& network, const QUrl& base, const QString& email, const QString& password)
{
    const Reply issued = send(network, "POST", base.resolved(QUrl(QStringLiteral("/device/token"))),
        exchangeBody(approvedCode(network, base, email, password)), "application/json");
    return QJsonDocument::fromJson(issued.body)[u"token"].toString();
}

QByteArray documentNamed(const QString& name)
{
    return QStringLiteral(R"({"comparisonSets":[{"id":"set_mac_1","name":"%1"}],"activeSetId":null,"updatedAt":1})")
        .arg(name)
        .toUtf8();
}

} // namespace

class AccountsServerTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void accountCommands_data();
    void accountCommands();
    void signInThroughTheRunningServer();
    void settingsThroughTheRunningServer();
    void twoServersOnOneDatabase();
    void killedImportLeavesNothing();
    void migrateCopiesASqliteStoreOnce();

private:
    QTemporaryDir m_directory;
    std::optional<tessary::test::TestDatabase> m_database;
};

void AccountsServerTests::initTestCase()
{
    QVERIFY(m_directory.isValid());
    m_database.emplace();
    TESSARY_REQUIRE_DATABASE(*m_database);
    QFile file(m_directory.filePath(QStringLiteral("password")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("from a file\n");
}

void AccountsServerTests::accountCommands_data()
{
    QTest::addColumn<QString>("arguments"); // split at spaces; PASSWORD_FILE is the file above
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("output"); // all of stdout, or a part of the one line on stderr

    // The rows build on each other, in this order, on one data directory.
    QTest::newRow("add from a file") << "add Ann@Example.com --password-file PASSWORD_FILE" << QByteArray() << 0
                                     << "added ann@example.com";
    QTest::newRow("add twice") << "add ann@example.com --password-file PASSWORD_FILE" << QByteArray() << 1
                               << "An account for ann@example.com already exists.";
    QTest::newRow("add typed twice") << "add bob@example.com" << QByteArray("typed twice\ntyped twice\n") << 0
                                     << "added bob@example.com";
    QTest::newRow("passwords differ") << "add cat@example.com" << QByteArray("typed twice\ntyped thrice\n") << 1
                                      << "The two passwords do not match.";
    QTest::newRow("empty password") << "add cat@example.com" << QByteArray("\n\n") << 1 << "at least 8 characters";
    QTest::newRow("no password at all") << "add cat@example.com" << QByteArray() << 1 << "no password was typed";
    QTest::newRow("not an address") << "add cat.example.com" << QByteArray() << 1
                                    << "\"cat.example.com\" is not an e-mail address.";
    QTest::newRow("missing password file") << "add cat@example.com --password-file /nonexistent/pw" << QByteArray() << 1
                                           << "cannot read the password file /nonexistent/pw";
    QTest::newRow("list") << "list" << QByteArray() << 0 << "ann@example.com\nbob@example.com";
    QTest::newRow("reset unknown") << "reset-password cat@example.com --password-file PASSWORD_FILE" << QByteArray()
                                   << 1 << "There is no account for cat@example.com.";
    QTest::newRow("reset") << "reset-password bob@example.com" << QByteArray("new secret\nnew secret\n") << 0
                           << "changed the password of bob@example.com and signed out its devices";
    QTest::newRow("remove") << "remove BOB@example.com" << QByteArray() << 0 << "removed bob@example.com";
    QTest::newRow("remove again") << "remove bob@example.com" << QByteArray() << 1
                                  << "There is no account for bob@example.com.";
    QTest::newRow("list after removal") << "list" << QByteArray() << 0 << "ann@example.com";
    QTest::newRow("list with an address")
        << "list ann@example.com" << QByteArray() << 2 << "account list takes no e-mail address";
    QTest::newRow("password file for remove") << "remove ann@example.com --password-file PASSWORD_FILE" << QByteArray()
                                              << 2 << "unknown option \"--password-file\"";
    QTest::newRow("unknown action") << "rename a@b.c" << QByteArray() << 2 << "unknown action \"rename\"";
    QTest::newRow("history of nobody") << "history cat@example.com" << QByteArray() << 1
                                       << "There is no account for cat@example.com.";
    QTest::newRow("restore an unknown version")
        << "restore ann@example.com 4" << QByteArray() << 1 << "Version 4 of the settings is not kept";
    QTest::newRow("restore without a version")
        << "restore ann@example.com" << QByteArray() << 2 << "needs an e-mail address and a version";
    QTest::newRow("restore a word") << "restore ann@example.com latest" << QByteArray() << 2
                                    << "the version must be a number";
}

void AccountsServerTests::accountCommands()
{
    QFETCH(QString, arguments);
    QFETCH(QByteArray, input);
    QFETCH(int, exitCode);
    QFETCH(QString, output);
    QStringList list = arguments.split(u' ');
    list.replaceInStrings(QStringLiteral("PASSWORD_FILE"), m_directory.filePath(QStringLiteral("password")));
    const Finished finished = run(QStringList { QStringLiteral("account") } + list + m_database->arguments(), input);
    QCOMPARE(finished.exitCode, exitCode);
    if (exitCode == 0) {
        QCOMPARE(finished.out, output);
    } else {
        QVERIFY(finished.out.isEmpty());
        QVERIFY2(!finished.err.contains(u'\n') && finished.err.contains(output), qPrintable(finished.err));
    }
}

void AccountsServerTests::signInThroughTheRunningServer()
{
    const tessary::test::TestDatabase database;
    QProcess server;
    const QUrl base = startServer(
        server, database.arguments(), QStringLiteral("dee@example.com"), QStringLiteral("dee's password"));
    QVERIFY(base.isValid());
    QNetworkAccessManager network;

    const QString code
        = approvedCode(network, base, QStringLiteral("dee@example.com"), QStringLiteral("dee's password"));
    QVERIFY(!code.isEmpty());
    const QUrl tokenUrl = base.resolved(QUrl(QStringLiteral("/device/token")));
    const Reply issued = send(network, "POST", tokenUrl, exchangeBody(code), "application/json");
    QCOMPARE(issued.status, 200);
    const QString token = QJsonDocument::fromJson(issued.body)[u"token"].toString();
    QCOMPARE(send(network, "POST", tokenUrl, exchangeBody(code), "application/json").status, 400);

    const QUrl infoUrl = base.resolved(QUrl(QStringLiteral("/account/info")));
    const Reply info = send(network, "GET", infoUrl, {}, {}, token);
    QCOMPARE(info.status, 200);
    QCOMPARE(QJsonDocument::fromJson(info.body)[u"email"].toString(), QStringLiteral("dee@example.com"));
    QCOMPARE(send(network, "DELETE", tokenUrl, {}, {}, token).status, 204);
    QCOMPARE(send(network, "GET", infoUrl, {}, {}, token).status, 401);
    QCOMPARE(send(network, "GET", base.resolved(QUrl(QStringLiteral("/tickers")))).status, 200);

    stopServer(server);
    QCOMPARE(server.exitCode(), 0);
    const QByteArray printed = server.readAll() + server.readAllStandardError();
    for (const QString& secret : { code, token, QStringLiteral("dee's password") })
        QVERIFY2(!printed.contains(secret.toUtf8()), printed.constData());
}

void AccountsServerTests::settingsThroughTheRunningServer()
{
    const tessary::test::TestDatabase database;
    const QString eve = QStringLiteral("eve@example.com");
    const QStringList dataDir = database.arguments();
    QProcess server;
    const QUrl base = startServer(server, dataDir, eve, QStringLiteral("eve's password"));
    QVERIFY(base.isValid());
    QNetworkAccessManager network;
    const QString token = tokenFor(network, base, eve, QStringLiteral("eve's password"));
    QVERIFY(!token.isEmpty());
    const QUrl account = base.resolved(QUrl(QStringLiteral("/account")));

    QCOMPARE(send(network, "GET", account).status, 401);
    const Reply first = send(network, "GET", account, {}, {}, token);
    QCOMPARE(first.status, 200);
    QCOMPARE(first.etag, QByteArray("\"1\""));

    // Two computers write on version 1 at the same moment, over two connections.
    std::array<std::unique_ptr<QNetworkReply>, 2> writes;
    for (int index = 0; index < 2; ++index) {
        writes[index].reset(network.put(requestFor(account, "application/json", token, "\"1\""),
            documentNamed(QStringLiteral("Written by computer %1").arg(index))));
    }
    const std::array answers { finish(*writes[0]), finish(*writes[1]) };
    QCOMPARE(answers[0].status + answers[1].status, 200 + 409);
    const Reply& won = answers[0].status == 200 ? answers[0] : answers[1];
    const Reply& lost = answers[0].status == 200 ? answers[1] : answers[0];
    QCOMPARE(won.etag, QByteArray("\"2\""));
    QCOMPARE(lost.etag, QByteArray("\"2\""));
    QCOMPARE(lost.body, won.body);

    // The transport reads a larger body whole; the handler then refuses it.
    const QByteArray large = "{\"pad\":\"" + QByteArray(2 * 1024 * 1024, 'x') + "\"}";
    QCOMPARE(send(network, "PUT", account, large, "application/json", token, "\"2\"").status, 413);

    // Restoring the first version while the server runs makes it the newest.
    const Finished history = run(QStringList { QStringLiteral("account"), QStringLiteral("history"), eve } + dataDir);
    QCOMPARE(history.exitCode, 0);
    const QStringList lines = history.out.split(u'\n');
    QCOMPARE(lines.size(), 3);
    QVERIFY2(QRegularExpression(
                 QStringLiteral("^ +2  \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ +%1 +1$").arg(won.body.size()))
                 .match(lines[1])
                 .hasMatch(),
        qPrintable(history.out));
    QVERIFY2(lines[2].startsWith(u"      1  ") && lines[2].endsWith(u" 0"), qPrintable(history.out));
    const Finished restored
        = run(QStringList { QStringLiteral("account"), QStringLiteral("restore"), eve, QStringLiteral("1") } + dataDir);
    QCOMPARE(restored.out, QStringLiteral("restored version 1 of eve@example.com as version 3"));
    const Reply stale
        = send(network, "PUT", account, documentNamed(QStringLiteral("Stale")), "application/json", token, "\"2\"");
    QCOMPARE(stale.status, 409);
    QCOMPARE(stale.etag, QByteArray("\"3\""));
    QCOMPARE(stale.body, first.body);

    stopServer(server);
    QCOMPARE(server.exitCode(), 0);
}

void AccountsServerTests::twoServersOnOneDatabase()
{
    const tessary::test::TestDatabase database;
    const QString fay = QStringLiteral("fay@example.com");
    const QString password = QStringLiteral("fay's password");
    std::array<QProcess, 2> servers;
    const std::array bases { startServer(servers[0], database.arguments(), fay, password),
        startServer(servers[1], database.arguments()) };
    QVERIFY(bases[0].isValid() && bases[1].isValid());
    QNetworkAccessManager network;
    const auto at = [&bases](int server, const char* path) { return bases[server].resolved(QUrl(path)); };

    // A code approved at one process is spent by its exchange at the other.
    const QString code = approvedCode(network, bases[0], fay, password);
    const Reply issued = send(network, "POST", at(1, "/device/token"), exchangeBody(code), "application/json");
    QCOMPARE(issued.status, 200);
    QCOMPARE(send(network, "POST", at(0, "/device/token"), exchangeBody(code), "application/json").status, 400);
    const QString token = QJsonDocument::fromJson(issued.body)[u"token"].toString();

    // Each round both processes get a write based on the same version, at the same moment.
    QByteArray version = send(network, "GET", at(0, "/account"), {}, {}, token).etag;
    QCOMPARE(version, QByteArray("\"1\""));
    for (int round = 0; round < 100; ++round) {
        std::array<std::unique_ptr<QNetworkReply>, 2> writes;
        for (int index = 0; index < 2; ++index) {
            writes[index].reset(network.put(requestFor(at(index, "/account"), "application/json", token, version),
                documentNamed(QStringLiteral("round %1, server %2").arg(round).arg(index))));
        }
        const std::array answers { finish(*writes[0]), finish(*writes[1]) };
        QCOMPARE(answers[0].status + answers[1].status, 200 + 409);
        QCOMPARE(answers[0].etag, answers[1].etag);
        version = answers[0].etag;
    }
    QCOMPARE(version, QByteArray("\"101\""));
    for (int index = 0; index < 2; ++index) {
        const Reply health = send(network, "GET", at(index, "/healthz"));
        QCOMPARE(health.status, 200);
        QCOMPARE(QJsonDocument::fromJson(health.body)[u"status"].toString(), QStringLiteral("ok"));
        stopServer(servers[index]);
    }
}

void AccountsServerTests::killedImportLeavesNothing()
{
    const QString prices = qEnvironmentVariable("TESSARY_SHARED_DATA") + QStringLiteral("/daily");
    if (!QFileInfo(prices).isDir())
        QSKIP("the shared price data is not there");
    const tessary::test::TestDatabase database;
    const QStringList import = QStringList { QStringLiteral("import"), QStringLiteral("prices") } + database.arguments()
        + QStringList { prices };
    QProcess killed;
    killed.start(executable, import);
    QVERIFY(killed.waitForStarted());
    // Somewhere inside its one transaction, or on a fast day just after it: either way the
    // database must hold all of the import or none of it.
    QTest::qWait(300);
    ::kill(static_cast<pid_t>(killed.processId()), SIGKILL);
    killed.waitForFinished();
    const auto bars = [&database] {
        const auto storage = database.open();
        const auto market = storage ? storage->openMarket() : std::unexpected(storage.error());
        return market ? std::pair { (*market)->universe()->size(), (*market)->dailyBarCount() }
                      : std::pair { std::size_t(0), qint64(-1) };
    };
    const auto afterKill = bars();
    QCOMPARE(run(import).exitCode, 0);
    const auto complete = bars();
    QCOMPARE(complete.first, std::size_t(60));
    QVERIFY2(afterKill.second == 0 || afterKill == complete,
        qPrintable(QStringLiteral("%1 symbols, %2 bars left").arg(afterKill.first).arg(afterKill.second)));
}

void AccountsServerTests::migrateCopiesASqliteStoreOnce()
{
    if (!tessary::test::TestDatabase::onPostgres())
        QSKIP("migrate copies into PostgreSQL: the PostgreSQL run of these tests covers it");
    const tessary::test::TestDatabase target;
    TESSARY_REQUIRE_DATABASE(target);
    QTemporaryDir source;
    const QStringList sqlite { QStringLiteral("--data-dir"), source.path() };
    const QString gil = QStringLiteral("gil@example.com");
    const QString password = QStringLiteral("gil's password");
    QFile prices(source.filePath(QStringLiteral("BRK.B.csv")));
    QVERIFY(prices.open(QIODevice::WriteOnly));
    prices.write("date,close,adjusted_close\n2021-04-20,270.5,270.5\n2021-04-21,\"272.25\",272.125\n");
    prices.close();
    QCOMPARE(
        run(QStringList { QStringLiteral("import"), QStringLiteral("prices"), prices.fileName() } + sqlite).exitCode,
        0);

    // A device signed in and a second version of the lists, on SQLite.
    QProcess server;
    QUrl base = startServer(server, sqlite, gil, password);
    QVERIFY(base.isValid());
    QNetworkAccessManager network;
    const QString token = tokenFor(network, base, gil, password);
    const auto account = [&base] { return base.resolved(QUrl(QStringLiteral("/account"))); };
    QCOMPARE(send(network, "GET", account(), {}, {}, token).status, 200);
    const Reply saved
        = send(network, "PUT", account(), documentNamed(QStringLiteral("Mine")), "application/json", token, "\"1\"");
    QCOMPARE(saved.status, 200);
    const auto market = [&base] {
        return std::pair { base.resolved(QUrl(QStringLiteral("/tickers"))),
            base.resolved(QUrl(QStringLiteral("/prices?tickers=BRK.B&preset=5Y&intraday=false"))) };
    };
    const QByteArray tickers = send(network, "GET", market().first).body;
    const Reply answered = send(network, "GET", market().second);
    QCOMPARE(answered.status, 200);
    stopServer(server);

    const QStringList migrate { QStringLiteral("migrate"), QStringLiteral("--from"),
        QStringLiteral("sqlite:") + source.path(), QStringLiteral("--to"), target.postgres().url };
    const Finished copied = run(migrate);
    QCOMPARE(copied.exitCode, 0);
    QVERIFY2(copied.out.contains(u"daily_bars: 2 rows"), qPrintable(copied.out));
    const Finished again = run(migrate);
    QCOMPARE(again.exitCode, 1);
    QVERIFY2(again.err.contains(u"not empty"), qPrintable(again.err));

    // The same device, lists and market on PostgreSQL; the next version follows on.
    base = startServer(server, target.arguments());
    QVERIFY(base.isValid());
    const Reply current = send(network, "GET", account(), {}, {}, token);
    QCOMPARE(current.etag, QByteArray("\"2\""));
    QCOMPARE(current.body, saved.body);
    QCOMPARE(
        send(network, "PUT", account(), documentNamed(QStringLiteral("Next")), "application/json", token, "\"2\"").etag,
        QByteArray("\"3\""));
    QCOMPARE(send(network, "GET", market().first).body, tickers);
    QCOMPARE(send(network, "GET", market().second).body, answered.body);
    QVERIFY(!tokenFor(network, base, gil, password).isEmpty());
    stopServer(server);
}

QTEST_GUILESS_MAIN(AccountsServerTests)
#include "tst_AccountsServer.moc"
