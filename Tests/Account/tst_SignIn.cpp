#include "Support/FixtureServer.h"
#include "Support/TaskRunner.h"
#include "Tessary/Account/AccountService.h"
#include "Tessary/Account/LoopbackServer.h"
#include "Tessary/Account/Pkce.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

#include <sys/stat.h>

using namespace tessary;
using test::FixtureServer;
using test::ScriptedReply;

namespace {

// What a browser does after the user answers: one GET of the callback on the listener.
void visitCallback(quint16 port, const QByteArray& target)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY(socket.waitForConnected(2000));
    socket.write("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
    QVERIFY(socket.waitForBytesWritten(2000));
    QTRY_VERIFY(socket.state() == QAbstractSocket::UnconnectedState || socket.waitForDisconnected(100));
}

const QRegularExpression urlSafe(QStringLiteral("^[A-Za-z0-9_-]+$"));

} // namespace

Q_DECLARE_METATYPE(tessary::test::ScriptedReply)

class SignInTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void proofKey();
    void listenerReplies_data();
    void listenerReplies();
    void callbackBeforeTheWaiterIsKept();
    void cancelEndsTheWait();
    void callbackChecks_data();
    void callbackChecks();
    void unauthorizedSignsOut();
    void misbehavingServerFailsInTime_data();
    void misbehavingServerFailsInTime();
    void tokenFileStaysOwnerOnly();
};

void SignInTests::proofKey()
{
    // The known answer of RFC 7636, appendix B.
    QCOMPARE(Pkce::challenge(QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk")),
        QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"));
    QCOMPARE(Pkce::urlSafeBase64(QByteArray::fromHex("fbff3f")), QStringLiteral("-_8_"));
    const QString verifier = Pkce::makeVerifier();
    const QString state = Pkce::makeState();
    QCOMPARE(verifier.size(), 43);
    QCOMPARE(state.size(), 32);
    QCOMPARE(Pkce::challenge(verifier).size(), 43);
    for (const QString& text : { verifier, state, Pkce::challenge(verifier) })
        QVERIFY2(urlSafe.match(text).hasMatch(), qPrintable(text));
    QVERIFY(Pkce::makeVerifier() != verifier);
}

void SignInTests::listenerReplies_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QString>("title");

    const QByteArray notFound = "HTTP/1.1 404 Not Found\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: "
                                "0\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n";
    QTest::newRow("icon request") << QByteArray("/favicon.ico") << notFound << QString();
    QTest::newRow("callback lookalike") << QByteArray("/callback/x?code=1") << notFound << QString();
    QTest::newRow("code") << QByteArray("/callback?code=abc&state=s") << QByteArray("HTTP/1.1 200 OK\r\n")
                          << QStringLiteral("You're connected");
    QTest::newRow("error and code: the page follows the code")
        << QByteArray("/callback?error=access_denied&code=abc&state=s") << QByteArray("HTTP/1.1 200 OK\r\n")
        << QStringLiteral("You're connected");
    QTest::newRow("denied") << QByteArray("/callback?error=access_denied&state=s") << QByteArray("HTTP/1.1 200 OK\r\n")
                            << QStringLiteral("Sign-in cancelled");
}

void SignInTests::listenerReplies()
{
    QFETCH(QByteArray, target);
    QFETCH(QByteArray, head);
    QFETCH(QString, title);
    const QByteArray reply = LoopbackServer::replyFor(target);
    QVERIFY2(reply.startsWith(head), reply.constData());
    if (title.isEmpty())
        return;
    const QByteArray body = reply.mid(reply.indexOf("\r\n\r\n") + 4);
    QVERIFY(reply.contains("\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n"));
    QVERIFY(
        body.startsWith("<!doctype html><html><head><meta charset=\"utf-8\"><title>" + title.toUtf8() + "</title>\n"));
    QVERIFY(body.contains("<h1>" + title.toUtf8() + "</h1><p>"));
    QVERIFY(body.endsWith("</p></main></body></html>"));
}

void SignInTests::callbackBeforeTheWaiterIsKept()
{
    LoopbackServer listener;
    const auto port = listener.start();
    QVERIFY(port);
    visitCallback(*port, "/favicon.ico"); // not the callback: nothing ends
    visitCallback(*port, "/callback?code=c1&state=s1");
    const auto result = test::runTask(listener.waitForCallback());
    QVERIFY(result && *result);
    const CallbackItems& items = **result;
    QCOMPARE(items.value(QStringLiteral("code")), QStringLiteral("c1"));
    QCOMPARE(items.value(QStringLiteral("state")), QStringLiteral("s1"));
}

void SignInTests::cancelEndsTheWait()
{
    LoopbackServer listener;
    QVERIFY(listener.start());
    QTimer::singleShot(50, &listener, &LoopbackServer::cancel);
    const auto result = test::runTask(listener.waitForCallback());
    QVERIFY(result);
    QCOMPARE(*result, std::unexpected(AccountError::cancelled()));
}

void SignInTests::callbackChecks_data()
{
    QTest::addColumn<QString>("reply"); // "STATE" stands for the state the sign-in sent
    QTest::addColumn<QString>("error");

    // The checks run in this order, so a forged callback never gets as far as its code.
    QTest::newRow("state off by one character") << "code=abc&state=STATEx" << AccountError::badCallback().description();
    QTest::newRow("no state") << "code=abc" << AccountError::badCallback().description();
    QTest::newRow("error beats code") << "error=access_denied&code=abc&state=STATE"
                                      << AccountError::cancelled().description();
    QTest::newRow("no code") << "state=STATE" << AccountError::badCallback().description();
}

void SignInTests::callbackChecks()
{
    QFETCH(QString, reply);
    QFETCH(QString, error);
    QTemporaryDir dir;
    QNetworkAccessManager network;
    AccountService account(dir.path(), &network);
    account.setEndpoints(QUrl(QStringLiteral("http://127.0.0.1:9")), QUrl(QStringLiteral("http://web.invalid/")));
    QUrl opened;
    account.setBrowserOpener([&](const QUrl& url) {
        opened = url;
        const QUrlQuery query(url);
        const auto port = static_cast<quint16>(query.queryItemValue(QStringLiteral("port")).toUInt());
        QString target = reply;
        target.replace(QStringLiteral("STATE"), query.queryItemValue(QStringLiteral("state")));
        QTimer::singleShot(0, [port, target] { visitCallback(port, "/callback?" + target.toUtf8()); });
        return true;
    });
    QCOMPARE(test::runTask(account.signIn()), std::optional(false));
    QCOMPARE(opened.path(), QStringLiteral("/connect/mac"));
    QCOMPARE(QUrlQuery(opened).queryItemValue(QStringLiteral("name")), AccountService::computerName());
    QCOMPARE(account.status(), AccountService::Status::signedOut);
    QCOMPARE(account.lastError(), std::optional(error));
    QVERIFY(!QFile::exists(account.credentialsFile()));
}

void SignInTests::unauthorizedSignsOut()
{
    QTemporaryDir dir;
    QVERIFY((Credentials { QStringLiteral("t0ken"), QStringLiteral("a@b.c") }.write(dir.filePath("account.json"))));
    FixtureServer server;
    server.script(QStringLiteral("/account/info"), ScriptedReply::json(R"({"error":"revoked"})", 401));
    QNetworkAccessManager network;
    AccountService account(dir.path(), &network);
    QCOMPARE(account.status(), AccountService::Status::signedIn);
    account.setEndpoints(server.baseUrl(), server.baseUrl());
    QSignalSpy signedOut(&account, &AccountService::signedOut);

    const auto result = test::runTask(account.refreshInfo());
    QVERIFY(result);
    QCOMPARE(*result, std::unexpected(AccountError::signedOut()));
    QCOMPARE(server.requests().front().header("Authorization"), QByteArray("Bearer t0ken"));
    QCOMPARE(server.requests().front().header("User-Agent"), QByteArray("Tessary-Mac/0.2"));
    QCOMPARE(account.status(), AccountService::Status::signedOut);
    QCOMPARE(account.lastError(), std::optional(AccountError::signedOut().description()));
    QVERIFY(!account.token());
    QVERIFY(!QFile::exists(account.credentialsFile()));
    QCOMPARE(signedOut.count(), 1);
}

void SignInTests::misbehavingServerFailsInTime_data()
{
    QTest::addColumn<ScriptedReply>("reply");
    QTest::addColumn<QString>("error");
    const QByteArray info = R"({"email":"a@b.c"})";
    QTest::newRow("never answers") << ScriptedReply::silent() << QStringLiteral("The request timed out.");
    // A byte every tenth of a second keeps Qt's own transfer timeout from ever firing.
    QTest::newRow("10 bytes a second") << ScriptedReply::trickled(info + QByteArray(64, ' '), 10)
                                       << QStringLiteral("The request timed out.");
    QTest::newRow("50 MB body") << ScriptedReply::json(QByteArray(50 * 1024 * 1024, ' '))
                                << QStringLiteral("The reply is larger than 32 MB.");
}

void SignInTests::misbehavingServerFailsInTime()
{
    QFETCH(ScriptedReply, reply);
    QFETCH(QString, error);
    QTemporaryDir dir;
    QVERIFY((Credentials { QStringLiteral("t0ken"), QStringLiteral("a@b.c") }.write(dir.filePath("account.json"))));
    FixtureServer server;
    server.script(QStringLiteral("/account/info"), reply);
    QNetworkAccessManager network;
    AccountService account(dir.path(), &network);
    account.setEndpoints(server.baseUrl(), server.baseUrl());
    account.setTimeout(std::chrono::seconds(1));
    const auto result = test::runTask(account.refreshInfo());
    QVERIFY2(result, "the account request waited past its timeout");
    QVERIFY(!*result);
    QCOMPARE(result->error().description(), error);
    QCOMPARE(account.status(), AccountService::Status::signedIn);
}

void SignInTests::tokenFileStaysOwnerOnly()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("account.json");
    const mode_t previous = ::umask(0);
    for (const char* email : { "first@example.com", "second@example.com" })
        QVERIFY((Credentials { QStringLiteral("t"), QString::fromLatin1(email) }.write(path)));
    ::umask(previous);
    struct stat info { };
    QCOMPARE(::stat(QFile::encodeName(path).constData(), &info), 0);
    QCOMPARE(info.st_mode & 0777, mode_t(0600));
    QCOMPARE(Credentials::read(path)->email, std::optional(QStringLiteral("second@example.com")));

    // A damaged file is a signed-out user, not an error.
    for (const QByteArray& damaged : { QByteArray("{\"token\":"), QByteArray("{\"token\":\"\"}"), QByteArray("[]") }) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(damaged);
        file.close();
        QNetworkAccessManager network;
        const AccountService account(dir.path(), &network);
        QCOMPARE(account.status(), AccountService::Status::signedOut);
        QVERIFY(!account.lastError());
    }
}

QTEST_GUILESS_MAIN(SignInTests)
#include "tst_SignIn.moc"
