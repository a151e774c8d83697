#include "Support/TestSupport.h"
#include "TessaryServer/Account/Account.h"
#include "TessaryServer/Account/Secrets.h"
#include "TessaryServer/Data/MarketDatabase.h"
#include "TessaryServer/Data/StoreFile.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <QUrlQuery>

#include <sqlite3.h>

using namespace tessary::server;

namespace {

// The example of RFC 7636, Appendix B.
const QString rfcVerifier = QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
const QString rfcChallenge = QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
const QString password = QStringLiteral("correct horse");

QString formBody(const QueryItems& fields)
{
    QStringList pairs;
    for (const auto& [name, value] : fields)
        pairs.append(name + u'=' + QString::fromLatin1(QUrl::toPercentEncoding(value)));
    return pairs.join(u'&');
}

HttpRequest request(const char* method, const QString& path, const QByteArray& body = {}, const QString& token = {})
{
    HttpRequest made;
    made.method = method;
    const QUrl url(path);
    made.path = url.path();
    for (const auto& [key, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded))
        made.query.emplace_back(key, value);
    made.body = body;
    if (!token.isEmpty())
        made.headers.emplace_back("Authorization", "Bearer " + token.toLatin1());
    made.clientAddress = QStringLiteral("192.0.2.1");
    return made;
}

QString headerOf(const HttpResponse& response, const char* name)
{
    return QString::fromLatin1(response.header(name).value_or(QByteArray()));
}

QString formTokenOf(const HttpResponse& page)
{
    static const QRegularExpression pattern(QStringLiteral("name=\"form\" value=\"([^\"]*)\""));
    return pattern.match(QString::fromUtf8(page.body)).captured(1);
}

struct Connect {
    QString challenge = rfcChallenge;
    QString state = QStringLiteral("state-1");
    QString port = QStringLiteral("5555");
    QString name = QStringLiteral("Desk");

    QString query() const
    {
        return QStringLiteral("/connect/mac?")
            + formBody({ { "challenge", challenge }, { "state", state }, { "port", port }, { "name", name } });
    }
    QueryItems fields(
        const QString& form, const QString& decision, const QString& email, const QString& secret = password) const
    {
        return { { "challenge", challenge }, { "state", state }, { "port", port }, { "name", name }, { "form", form },
            { "email", email }, { "password", secret }, { "decision", decision } };
    }
};

} // namespace

class AccountTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void s256MatchesTheRfcExample();
    void passwordHashRoundTrip();
    void brokenLinksGetAPageNeverARedirect_data();
    void brokenLinksGetAPageNeverARedirect();
    void pageEscapesWhatItEchoes();
    void redirectStaysOnThisMachine_data();
    void redirectStaysOnThisMachine();
    void formsWithoutAValidTokenAreRefused_data();
    void formsWithoutAValidTokenAreRefused();
    void codeExchange_data();
    void codeExchange();
    void bearerTokenLifecycle();
    void unknownEmailLooksLikeWrongPassword();
    void failedSignInsAreSlowedDown();
    void signupOnlyWhenEnabled();
    void resetPasswordSignsOutDevices();
    void migrationKeepsTheMarketData();

private:
    HttpResponse post(const QueryItems& fields, const QString& clientAddress = QStringLiteral("192.0.2.1"));
    // Approves `connect` as the given account and returns the code from the redirect.
    QString approve(const Connect& connect, const QString& email = QStringLiteral("ann@example.com"));
    HttpResponse exchange(const QString& code, const QString& verifier);

    QDateTime m_now;
    std::unique_ptr<Accounts> m_accounts;
    std::unique_ptr<AccountHandlers> m_handlers;
};

void AccountTests::init()
{
    m_now = tessary::test::utcInstant("2024-03-01T12:00:00Z");
    auto store = SqliteAccountStore::openInMemory();
    QVERIFY(store);
    m_accounts = std::make_unique<Accounts>(std::move(*store), [this] { return m_now; });
    QVERIFY(m_accounts->add(QStringLiteral("Ann@Example.com"), password));
    m_handlers = std::make_unique<AccountHandlers>(*m_accounts, false);
}

HttpResponse AccountTests::post(const QueryItems& fields, const QString& clientAddress)
{
    HttpRequest made = request("POST", QStringLiteral("/connect/mac"), formBody(fields).toUtf8());
    made.clientAddress = clientAddress;
    return m_handlers->handle(made);
}

QString AccountTests::approve(const Connect& connect, const QString& email)
{
    const HttpResponse page = m_handlers->handle(request("GET", connect.query()));
    const HttpResponse answer = post(connect.fields(formTokenOf(page), QStringLiteral("approve"), email));
    return QUrlQuery(QUrl(headerOf(answer, "Location"))).queryItemValue(QStringLiteral("code"));
}

HttpResponse AccountTests::exchange(const QString& code, const QString& verifier)
{
    const QJsonObject body { { "code", code }, { "verifier", verifier } };
    return m_handlers->handle(request("POST", QStringLiteral("/device/token"), QJsonDocument(body).toJson()));
}

void AccountTests::s256MatchesTheRfcExample()
{
    QCOMPARE(s256Challenge(rfcVerifier), rfcChallenge);
    const QString secret = newSecret();
    QVERIFY2(QRegularExpression(QStringLiteral("^[A-Za-z0-9_-]{43}$")).match(secret).hasMatch(), qPrintable(secret));
    QVERIFY(secret != newSecret());
}

void AccountTests::passwordHashRoundTrip()
{
    const auto hash = hashPassword(password);
    QVERIFY(hash);
    QVERIFY2(hash->startsWith(u"$argon2id$"), qPrintable(*hash));
    QVERIFY(!hash->contains(password));
    QVERIFY(passwordMatches(*hash, password));
    QVERIFY(!passwordMatches(*hash, QStringLiteral("correct horsE")));
    QVERIFY(*hashPassword(password) != *hash); // salted
}

void AccountTests::brokenLinksGetAPageNeverARedirect_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("message");

    const QString badPort = QStringLiteral("port must be a number from 1 to 65535");
    QTest::newRow("no challenge") << "challenge"
                                  << ""
                                  << "has no challenge";
    QTest::newRow("plain challenge") << "challenge"
                                     << "short"
                                     << "not a PKCE S256 challenge";
    QTest::newRow("no state") << "state"
                              << ""
                              << "state must be 1 to 512";
    QTest::newRow("state with a line break") << "state"
                                             << "a\nb"
                                             << "state must be 1 to 512";
    for (const char* port : { "", "0", "65536", "-1", "+80", " 80", "80 ", "0x50", "80@evil.example", "1e3",
             "99999999999999999999", "８０" })
        QTest::addRow("port \"%s\"", port) << "port" << QString::fromUtf8(port) << badPort;
}

void AccountTests::brokenLinksGetAPageNeverARedirect()
{
    QFETCH(QString, field);
    QFETCH(QString, value);
    QFETCH(QString, message);
    Connect connect;
    (field == u"challenge" ? connect.challenge : field == u"state" ? connect.state : connect.port) = value;

    const HttpResponse page = m_handlers->handle(request("GET", connect.query()));
    const HttpResponse posted = post(connect.fields(QStringLiteral("x"), QStringLiteral("approve"), "ann@example.com"));
    for (const HttpResponse& response : { page, posted }) {
        QCOMPARE(response.status, 400);
        QVERIFY(headerOf(response, "Location").isEmpty());
        QVERIFY2(QString::fromUtf8(response.body).contains(message), response.body.constData());
    }
}

void AccountTests::pageEscapesWhatItEchoes()
{
    Connect connect;
    connect.name = QStringLiteral("<script>alert(1)</script> & \"Co\"");
    connect.state = QStringLiteral("\"><img src=x onerror=alert(1)>");
    const HttpResponse page = m_handlers->handle(request("GET", connect.query()));
    QCOMPARE(page.status, 200);
    const QString html = QString::fromUtf8(page.body);
    QVERIFY(!html.contains(u"<script"));
    QVERIFY(!html.contains(u"<img"));
    QVERIFY(html.contains(u"Connect Tessary on &lt;script&gt;alert(1)&lt;/script&gt; &amp; &quot;Co&quot;?"));
    QVERIFY(headerOf(page, "Content-Security-Policy").contains(u"default-src 'none'"));
    QCOMPARE(headerOf(page, "Cache-Control"), QStringLiteral("no-store"));
}

void AccountTests::redirectStaysOnThisMachine_data()
{
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("name");

    QTest::newRow("lowest port") << "1"
                                 << "s"
                                 << "Desk";
    QTest::newRow("highest port") << "65535"
                                  << "s"
                                  << "Desk";
    QTest::newRow("leading zero") << "080"
                                  << "s"
                                  << "Desk";
    QTest::newRow("state smuggling a code") << "8080"
                                            << "s&code=forged"
                                            << "Desk";
    QTest::newRow("state with a fragment") << "8080"
                                           << "s#@evil.example"
                                           << "Desk";
    QTest::newRow("state with an authority") << "8080"
                                             << "@evil.example:80/x"
                                             << "Desk";
    QTest::newRow("state with spaces and plus") << "8080"
                                                << "a b+c%20d"
                                                << "Desk";
    QTest::newRow("name that is a host") << "8080"
                                         << "s"
                                         << "evil.example:443";
}

void AccountTests::redirectStaysOnThisMachine()
{
    QFETCH(QString, port);
    QFETCH(QString, state);
    QFETCH(QString, name);
    Connect connect { rfcChallenge, state, port, name };
    const QString form = formTokenOf(m_handlers->handle(request("GET", connect.query())));
    for (const char* decision : { "approve", "deny" }) {
        const HttpResponse answer
            = post(connect.fields(form, QString::fromLatin1(decision), QStringLiteral("ann@example.com")));
        QCOMPARE(answer.status, 303);
        const QUrl location(headerOf(answer, "Location"), QUrl::StrictMode);
        QVERIFY2(location.isValid(), qPrintable(headerOf(answer, "Location")));
        QCOMPARE(location.scheme(), QStringLiteral("http"));
        QCOMPARE(location.host(), QStringLiteral("127.0.0.1"));
        QCOMPARE(location.userInfo(), QString());
        QCOMPARE(location.port(), port.toInt());
        QCOMPARE(location.path(), QStringLiteral("/callback"));
        QVERIFY(!location.hasFragment());
        const QUrlQuery query(location);
        QCOMPARE(query.queryItemValue(QStringLiteral("state"), QUrl::FullyDecoded), state);
        const bool approved = decision == QByteArrayView("approve");
        QCOMPARE(query.queryItems().size(), 2);
        QCOMPARE(query.hasQueryItem(QStringLiteral("code")), approved);
        QCOMPARE(query.queryItemValue(QStringLiteral("error")), approved ? QString() : QStringLiteral("access_denied"));
    }
}

void AccountTests::formsWithoutAValidTokenAreRefused_data()
{
    QTest::addColumn<QString>("change"); // what the attacker altered after the page was issued
    QTest::newRow("no token") << "no token";
    QTest::newRow("made-up token") << "made-up token";
    QTest::newRow("port changed") << "port";
    QTest::newRow("state changed") << "state";
    QTest::newRow("challenge changed") << "challenge";
    QTest::newRow("page too old") << "late";
    QTest::newRow("token of another server") << "other server";
}

void AccountTests::formsWithoutAValidTokenAreRefused()
{
    QFETCH(QString, change);
    Connect connect;
    QString form = formTokenOf(m_handlers->handle(request("GET", connect.query())));
    QVERIFY(!form.isEmpty());
    if (change == u"no token")
        form.clear();
    else if (change == u"made-up token")
        form = QStringLiteral("1709294400.") + newSecret();
    else if (change == u"port")
        connect.port = QStringLiteral("5556");
    else if (change == u"state")
        connect.state += u'x';
    else if (change == u"challenge")
        connect.challenge = s256Challenge(QStringLiteral("attacker"));
    else if (change == u"late")
        m_now = m_now.addSecs(61 * 60);
    else if (change == u"other server") {
        Accounts other(std::move(*SqliteAccountStore::openInMemory()));
        AccountHandlers otherHandlers(other, false);
        form = formTokenOf(otherHandlers.handle(request("GET", connect.query())));
    }
    for (const char* decision : { "approve", "deny" }) {
        const HttpResponse answer
            = post(connect.fields(form, QString::fromLatin1(decision), QStringLiteral("ann@example.com")));
        QCOMPARE(answer.status, 403);
        QVERIFY(headerOf(answer, "Location").isEmpty());
        QVERIFY(answer.body.contains("This sign-in page has expired"));
    }
}

void AccountTests::codeExchange_data()
{
    QTest::addColumn<int>("waitSeconds"); // between the redirect and the exchange
    QTest::addColumn<QString>("firstVerifier");
    QTest::addColumn<int>("firstStatus");
    QTest::addColumn<int>("secondStatus"); // the same code again, with the right verifier
    QTest::addColumn<QString>("message"); // of the first failure

    QTest::newRow("right verifier, then reused") << 0 << rfcVerifier << 200 << 400 << "";
    QTest::newRow("last second") << 300 << rfcVerifier << 200 << 400 << "";
    QTest::newRow("expired") << 301 << rfcVerifier << 400 << 400 << "has expired";
    QTest::newRow("wrong verifier spends the code")
        << 0 << rfcVerifier.chopped(1) + u'l' << 400 << 400 << "does not belong to this sign-in code";
    QTest::newRow("challenge as verifier") << 0 << rfcChallenge << 400 << 400 << "does not belong";
}

void AccountTests::codeExchange()
{
    QFETCH(int, waitSeconds);
    QFETCH(QString, firstVerifier);
    QFETCH(int, firstStatus);
    QFETCH(int, secondStatus);
    QFETCH(QString, message);
    const QString code = approve(Connect {});
    QCOMPARE(code.size(), 43);
    m_now = m_now.addSecs(waitSeconds);

    const HttpResponse first = exchange(code, firstVerifier);
    QCOMPARE(first.status, firstStatus);
    const QJsonObject body = QJsonDocument::fromJson(first.body).object();
    if (firstStatus == 200) {
        QCOMPARE(body.value(u"token").toString().size(), 43);
        QCOMPARE(headerOf(first, "Cache-Control"), QStringLiteral("no-store"));
    } else {
        QVERIFY2(body.value(u"error").toString().contains(message), first.body.constData());
    }
    const HttpResponse second = exchange(code, rfcVerifier);
    QCOMPARE(second.status, secondStatus);
    QVERIFY(QJsonDocument::fromJson(second.body)[u"error"].toString().contains(u"unknown or was already used"));
    for (const HttpResponse& response : { first, second })
        QVERIFY(!response.body.contains(code.toLatin1()));
}

void AccountTests::bearerTokenLifecycle()
{
    const QString token = QJsonDocument::fromJson(exchange(approve(Connect {}), rfcVerifier).body)[u"token"].toString();
    QVERIFY(!token.isEmpty());
    const auto info = [this](const QString& authorization) {
        HttpRequest made = request("GET", QStringLiteral("/account/info"));
        if (!authorization.isEmpty())
            made.headers.emplace_back("authorization", authorization.toLatin1());
        return m_handlers->handle(made);
    };
    const HttpResponse signedIn = info(QStringLiteral("bearer ") + token);
    QCOMPARE(signedIn.status, 200);
    QCOMPARE(QJsonDocument::fromJson(signedIn.body).object(), (QJsonObject { { "email", "ann@example.com" } }));
    QCOMPARE(info(QString()).status, 401);
    QCOMPARE(info(QStringLiteral("Basic ") + token).status, 401);
    QCOMPARE(info(QStringLiteral("Bearer ") + newSecret()).status, 401);

    const HttpResponse revoked = m_handlers->handle(request("DELETE", QStringLiteral("/device/token"), {}, token));
    QCOMPARE(revoked.status, 204);
    QVERIFY(revoked.body.isEmpty());
    const HttpResponse afterwards = info(QStringLiteral("Bearer ") + token);
    QCOMPARE(afterwards.status, 401);
    QCOMPARE(headerOf(afterwards, "WWW-Authenticate"), QStringLiteral("Bearer"));
    QVERIFY(!afterwards.body.contains(token.toLatin1()));
    QCOMPARE(m_handlers->handle(request("DELETE", QStringLiteral("/device/token"), {}, token)).status, 401);
    QCOMPARE(m_handlers->handle(request("DELETE", QStringLiteral("/device/token"))).status, 401);
}

void AccountTests::unknownEmailLooksLikeWrongPassword()
{
    Connect connect;
    const QString form = formTokenOf(m_handlers->handle(request("GET", connect.query())));
    const HttpResponse wrongPassword
        = post(connect.fields(form, QStringLiteral("approve"), QStringLiteral("ann@example.com"), "wrong one!"));
    const HttpResponse unknownEmail = post(connect.fields(form, QStringLiteral("approve"), "bob@example.com"));
    QCOMPARE(wrongPassword.status, 403);
    QCOMPARE(unknownEmail.status, 403);
    const QString message = QStringLiteral("The e-mail address or the password is wrong.");
    QVERIFY(wrongPassword.body.contains(message.toUtf8()));
    QVERIFY(unknownEmail.body.contains(message.toUtf8()));
    QVERIFY(!wrongPassword.body.contains("wrong one!"));
    QVERIFY(formTokenOf(wrongPassword) != QString()); // the form can be sent again
}

void AccountTests::failedSignInsAreSlowedDown()
{
    Connect connect;
    const auto attempt = [&](const QString& email, const QString& secret, const QString& address) {
        const QString form = formTokenOf(m_handlers->handle(request("GET", connect.query())));
        return post(connect.fields(form, QStringLiteral("approve"), email, secret), address);
    };
    // One address guessing Ann's password from many client addresses.
    for (int failure = 0; failure < SignInThrottle::freeFailures; ++failure)
        QCOMPARE(attempt("ANN@example.com", "guess", QStringLiteral("198.51.100.%1").arg(failure)).status, 403);
    const HttpResponse refused = attempt("ann@example.com", password, QStringLiteral("198.51.100.99"));
    QCOMPARE(refused.status, 429);
    QVERIFY(refused.body.contains("Too many failed sign-ins"));
    QCOMPARE(headerOf(refused, "Retry-After"), QStringLiteral("31"));
    m_now = m_now.addSecs(30);
    QCOMPARE(attempt("ann@example.com", password, QStringLiteral("198.51.100.99")).status, 303);

    // One client address trying many e-mail addresses; other clients are not held up.
    for (int failure = 0; failure < SignInThrottle::freeFailures; ++failure)
        QCOMPARE(attempt(QStringLiteral("u%1@example.com").arg(failure), "guess", "203.0.113.7").status, 403);
    QCOMPARE(attempt("ann@example.com", password, "203.0.113.7").status, 429);
    QCOMPARE(attempt("ann@example.com", password, "203.0.113.8").status, 303);
    // Each further failure doubles the wait.
    m_now = m_now.addSecs(30);
    QCOMPARE(attempt("u9@example.com", "guess", "203.0.113.7").status, 403);
    m_now = m_now.addSecs(59);
    QCOMPARE(attempt("ann@example.com", password, "203.0.113.7").status, 429);
    m_now = m_now.addSecs(1);
    QCOMPARE(attempt("ann@example.com", password, "203.0.113.7").status, 303);
}

void AccountTests::signupOnlyWhenEnabled()
{
    Connect connect;
    const auto signUp = [&](AccountHandlers& handlers, const QString& email, const QString& secret) {
        const QString form = formTokenOf(handlers.handle(request("GET", connect.query())));
        QueryItems fields = connect.fields(form, QStringLiteral("approve"), email, secret);
        fields.emplace_back("signup", "1");
        return handlers.handle(request("POST", QStringLiteral("/connect/mac"), formBody(fields).toUtf8()));
    };
    QVERIFY(!m_handlers->handle(request("GET", connect.query())).body.contains("name=\"signup\""));
    QCOMPARE(signUp(*m_handlers, "new@example.com", password).status, 403);

    AccountHandlers open(*m_accounts, true);
    QVERIFY(open.handle(request("GET", connect.query())).body.contains("name=\"signup\""));
    QCOMPARE(signUp(open, "new@example.com", password).status, 303);
    const HttpResponse taken = signUp(open, "NEW@example.com", password);
    QCOMPARE(taken.status, 400);
    QVERIFY(taken.body.contains("An account for new@example.com already exists."));
    const HttpResponse shortPassword = signUp(open, "short@example.com", "1234567");
    QCOMPARE(shortPassword.status, 400);
    QVERIFY(shortPassword.body.contains("at least 8 characters"));
    QCOMPARE(m_accounts->emails(), QStringList({ "ann@example.com", "new@example.com" }));
}

void AccountTests::resetPasswordSignsOutDevices()
{
    const QString token = QJsonDocument::fromJson(exchange(approve(Connect {}), rfcVerifier).body)[u"token"].toString();
    QVERIFY(m_accounts->accountForToken(token));
    QVERIFY(m_accounts->resetPassword(QStringLiteral("ann@example.com"), QStringLiteral("new password")));
    QCOMPARE(m_accounts->accountForToken(token).error().kind, AccountError::Kind::unauthorized);
    QVERIFY(!m_accounts->signIn(QStringLiteral("ann@example.com"), password));
    QVERIFY(m_accounts->signIn(QStringLiteral("ann@example.com"), QStringLiteral("new password")));

    const QString second
        = QJsonDocument::fromJson(exchange(approve(Connect {}), rfcVerifier).body)[u"token"].toString();
    QVERIFY(second.isEmpty()); // the page still used the old password
    QVERIFY(m_accounts->remove(QStringLiteral("ann@example.com")));
    QCOMPARE(m_accounts->remove(QStringLiteral("ann@example.com")).error().kind, AccountError::Kind::unknownAccount);
}

void AccountTests::migrationKeepsTheMarketData()
{
    QTemporaryDir directory;
    const QByteArray path = directory.filePath(QString::fromLatin1(storeFileName)).toUtf8();
    sqlite3* connection = nullptr;
    QCOMPARE(sqlite3_open(path.constData(), &connection), SQLITE_OK);
    QVERIFY(migrateSchema(connection, 1));
    QCOMPARE(sqlite3_exec(connection,
                 "INSERT INTO symbols (id, symbol, name) VALUES (1, 'AAA', 'A Corp');"
                 "INSERT INTO daily_bars VALUES (1, 19000, 10, 9.5);",
                 nullptr, nullptr, nullptr),
        SQLITE_OK);
    sqlite3_close(connection);

    auto market = MarketDatabase::open(directory.path());
    QVERIFY2(market, qPrintable(tessary::test::failureText(market)));
    QCOMPARE((*market)->dailyBars(QStringLiteral("AAA"))->size(), std::size_t(1));
    auto store = SqliteAccountStore::open(directory.path());
    QVERIFY(store);
    Accounts accounts(std::move(*store));
    QVERIFY(accounts.add(QStringLiteral("ann@example.com"), password));
    QCOMPARE(accounts.emails(), QStringList { "ann@example.com" });

    // A file written by a newer version is left alone.
    QCOMPARE(sqlite3_open(path.constData(), &connection), SQLITE_OK);
    QCOMPARE(sqlite3_exec(connection, "PRAGMA user_version = 99", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(connection);
    const auto newer = SqliteAccountStore::open(directory.path());
    QVERIFY(!newer);
    QVERIFY(newer.error().description().contains(u"newer version"));
}

QTEST_GUILESS_MAIN(AccountTests)
#include "tst_Accounts.moc"
