#include "Support/TestSupport.h"
#include "TessaryServer/Account/Account.h"
#include "TessaryServer/Account/Secrets.h"
#include "TestDatabase.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <latch>
#include <thread>
#include <vector>

using namespace tessary::server;

namespace {

const QString verifier = QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
const QString password = QStringLiteral("correct horse");
const QString ann = QStringLiteral("ann@example.com");

QString headerOf(const HttpResponse& response, const char* name)
{
    return QString::fromLatin1(response.header(name).value_or(QByteArray()));
}

QByteArray documentNamed(const QString& name)
{
    return QStringLiteral(R"({"comparisonSets":[{"id":"set_mac_1","name":"%1","selectedTickers":["aapl"]}],)"
                          R"("activeSetId":"set_mac_1","updatedAt":1709294400000})")
        .arg(name)
        .toUtf8();
}

// `size` bytes of a JSON object: {"pad":"xxx…"}.
QByteArray objectOfSize(qsizetype size)
{
    return "{\"pad\":\"" + QByteArray(size - 10, 'x') + "\"}";
}

} // namespace

class AccountSettingsTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void newAccountStartsWithoutLists();
    void ifMatchForms_data();
    void ifMatchForms();
    void refusedBodiesChangeNothing_data();
    void refusedBodiesChangeNothing();
    void documentIsKeptByteForByte();
    void conflictCarriesTheCurrentDocument();
    void requestsNeedAValidToken_data();
    void requestsNeedAValidToken();
    void historyKeepsFiftyAndRestoreMakesANewVersion();
    void oneOfTwoWritersOnOneVersionWins();
    void listsPageEscapesTheLists();
    void listsPageSession_data();
    void listsPageSession();

private:
    HttpResponse call(const char* method, const QString& path, const QByteArray& body = {},
        std::optional<QByteArray> ifMatch = std::nullopt, const QString& token = {});
    HttpResponse put(const QByteArray& body, const QByteArray& ifMatch)
    {
        return call("PUT", QStringLiteral("/account"), body, ifMatch);
    }
    HttpResponse get() { return call("GET", QStringLiteral("/account")); }
    QString newToken(const QString& email = ann);
    // Signs in on the lists page; the answer sets the session cookie.
    HttpResponse signInOnThePage(const QString& secret = password);
    // The lists page as a browser holding the cookie that `signedIn` set.
    HttpResponse page(const HttpResponse& signedIn);
    HttpResponse page(const QByteArray& cookie);

    QDateTime m_now;
    std::optional<tessary::test::TestDatabase> m_database;
    AccountStore* m_store = nullptr; // owned by m_accounts
    std::unique_ptr<Accounts> m_accounts;
    std::unique_ptr<AccountHandlers> m_handlers;
    QString m_token;
};

void AccountSettingsTests::init()
{
    // Hashing a password takes a good part of a second; one hash serves every test.
    static const QString passwordHash = hashPassword(password).value_or(QString());
    m_now = tessary::test::utcInstant("2024-03-01T12:00:00Z");
    m_database.emplace();
    TESSARY_REQUIRE_DATABASE(*m_database);
    const auto storage = m_database->open();
    QVERIFY2(storage, qPrintable(tessary::test::failureText(storage)));
    auto store = storage->openAccounts();
    QVERIFY(store);
    for (const QString& email : { ann, QStringLiteral("bob@example.com") })
        QVERIFY(*(*store)->addAccount(email, passwordHash, m_now));
    m_store = store->get();
    m_accounts = std::make_unique<Accounts>(std::move(*store), [this] { return m_now; });
    m_handlers = std::make_unique<AccountHandlers>(*m_accounts, false);
    m_token = newToken();
    QVERIFY(!m_token.isEmpty());
}

QString AccountSettingsTests::newToken(const QString& email)
{
    const auto code = m_accounts->issueCode((*m_store->findAccount(email))->id, s256Challenge(verifier));
    return m_accounts->redeemCode(*code, verifier).value_or(QString());
}

HttpResponse AccountSettingsTests::call(const char* method, const QString& path, const QByteArray& body,
    std::optional<QByteArray> ifMatch, const QString& token)
{
    HttpRequest request;
    request.method = method;
    request.path = path;
    request.body = body;
    request.clientAddress = QStringLiteral("192.0.2.1");
    const QString bearer = token.isEmpty() ? m_token : token;
    if (bearer != u"none")
        request.headers.emplace_back("Authorization", "Bearer " + bearer.toLatin1());
    if (ifMatch)
        request.headers.emplace_back("If-Match", *ifMatch);
    return m_handlers->handle(request);
}

void AccountSettingsTests::newAccountStartsWithoutLists()
{
    const HttpResponse first = get();
    QCOMPARE(first.status, 200);
    QCOMPARE(first.contentType, QByteArray("application/json"));
    QCOMPARE(headerOf(first, "ETag"), QStringLiteral("\"1\""));
    QCOMPARE(headerOf(first, "Cache-Control"), QStringLiteral("no-store"));
    const QJsonObject expected { { "comparisonSets", QJsonArray() }, { "activeSetId", QJsonValue::Null },
        { "updatedAt", m_now.toMSecsSinceEpoch() } };
    QCOMPARE(QJsonDocument::fromJson(first.body).object(), expected);
    // A strong validator: the same bytes under the same tag, later too.
    m_now = m_now.addSecs(60);
    const HttpResponse again = get();
    QCOMPARE(again.body, first.body);
    QCOMPARE(headerOf(again, "ETag"), QStringLiteral("\"1\""));
}

void AccountSettingsTests::ifMatchForms_data()
{
    QTest::addColumn<QByteArray>("ifMatch"); // a null array sends no header
    QTest::addColumn<int>("status");

    QTest::newRow("quoted") << QByteArray("\"1\"") << 200;
    QTest::newRow("bare") << QByteArray("1") << 200;
    QTest::newRow("weak") << QByteArray("W/\"1\"") << 200;
    QTest::newRow("weak without quotes") << QByteArray("W/1") << 200;
    QTest::newRow("spaces around") << QByteArray("  \"1\" ") << 200;
    QTest::newRow("any version") << QByteArray("*") << 200;
    QTest::newRow("older version") << QByteArray("\"0\"") << 409;
    QTest::newRow("future version") << QByteArray("\"2\"") << 409;
    QTest::newRow("not one of ours") << QByteArray("\"a1b2\"") << 409;
    QTest::newRow("empty") << QByteArray("") << 428;
    QTest::newRow("absent") << QByteArray() << 428;
}

void AccountSettingsTests::ifMatchForms()
{
    QFETCH(QByteArray, ifMatch);
    QFETCH(int, status);
    const QByteArray current = get().body;
    const QByteArray sent = documentNamed(QStringLiteral("Tech"));
    const HttpResponse answer = ifMatch.isNull() ? call("PUT", QStringLiteral("/account"), sent) : put(sent, ifMatch);
    QCOMPARE(answer.status, status);
    QCOMPARE(headerOf(answer, "Cache-Control"), QStringLiteral("no-store"));
    if (status == 200) {
        QCOMPARE(headerOf(answer, "ETag"), QStringLiteral("\"2\""));
        QCOMPARE(answer.body, sent);
    } else if (status == 409) {
        QCOMPARE(headerOf(answer, "ETag"), QStringLiteral("\"1\""));
        QCOMPARE(answer.body, current);
    } else {
        QVERIFY(QJsonDocument::fromJson(answer.body)[u"error"].toString().contains(u"If-Match"));
    }
    QCOMPARE(get().body, status == 200 ? sent : current);
}

void AccountSettingsTests::refusedBodiesChangeNothing_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");

    QTest::newRow("array") << QByteArray("[]") << 400;
    QTest::newRow("text") << QByteArray("\"x\"") << 400;
    QTest::newRow("number") << QByteArray("1") << 400;
    QTest::newRow("null") << QByteArray("null") << 400;
    QTest::newRow("malformed") << QByteArray("{\"comparisonSets\": [") << 400;
    QTest::newRow("object and more") << QByteArray("{} {}") << 400;
    QTest::newRow("empty") << QByteArray() << 400;
    QTest::newRow("one byte over 2 MB") << objectOfSize(2 * 1024 * 1024 + 1) << 413;
    QTest::newRow("exactly 2 MB") << objectOfSize(2 * 1024 * 1024) << 200;
}

void AccountSettingsTests::refusedBodiesChangeNothing()
{
    QFETCH(QByteArray, body);
    QFETCH(int, status);
    const QByteArray before = get().body;
    const HttpResponse answer = put(body, "\"1\"");
    QCOMPARE(answer.status, status);
    const HttpResponse after = get();
    QCOMPARE(headerOf(after, "ETag"), status == 200 ? QStringLiteral("\"2\"") : QStringLiteral("\"1\""));
    QCOMPARE(after.body, status == 200 ? body : before);
}

void AccountSettingsTests::documentIsKeptByteForByte()
{
    // Keys this server has never heard of, odd spacing, a big integer a double would round,
    // and text outside ASCII all come back exactly as sent.
    const QByteArray sent = QByteArrayLiteral("{ \"comparisonSets\" : [ {\"id\":\"x\",\"future\":{\"a\":[1,2]}} ],\n"
                                              "  \"webOnly\": {\"theme\":\"dark\"}, \"big\": 9007199254740993,"
                                              " \"name\": \"Zürich \\u00e9\" }");
    QCOMPARE(put(sent, "\"1\"").status, 200);
    QCOMPARE(get().body, sent);
}

void AccountSettingsTests::conflictCarriesTheCurrentDocument()
{
    // Two computers read version 1; the web renames first.
    const QByteArray web = documentNamed(QStringLiteral("Renamed on the web"));
    QCOMPARE(put(web, "\"1\"").status, 200);
    const HttpResponse stale = put(documentNamed(QStringLiteral("Renamed here")), "\"1\"");
    QCOMPARE(stale.status, 409);
    QCOMPARE(stale.body, web);
    QCOMPARE(headerOf(stale, "ETag"), QStringLiteral("\"2\""));
    // The loser adopts the tag it was given and writes on top.
    const QByteArray merged = documentNamed(QStringLiteral("Renamed here, after the web"));
    const HttpResponse retried = put(merged, headerOf(stale, "ETag").toLatin1());
    QCOMPARE(retried.status, 200);
    QCOMPARE(headerOf(retried, "ETag"), QStringLiteral("\"3\""));
}

void AccountSettingsTests::requestsNeedAValidToken_data()
{
    QTest::addColumn<QByteArray>("method");
    QTest::addColumn<QString>("token"); // "none": no Authorization header

    for (const char* method : { "GET", "PUT" }) {
        QTest::addRow("%s without a token", method) << QByteArray(method) << "none";
        QTest::addRow("%s with an unknown token", method) << QByteArray(method) << newSecret();
        QTest::addRow("%s with a revoked token", method) << QByteArray(method) << "revoked";
        QTest::addRow("%s with another account's token", method) << QByteArray(method) << "bob";
    }
}

void AccountSettingsTests::requestsNeedAValidToken()
{
    QFETCH(QByteArray, method);
    QFETCH(QString, token);
    QVERIFY(put(documentNamed(QStringLiteral("Ann's")), "*").status == 200);
    if (token == u"revoked") {
        token = newToken();
        QVERIFY(m_accounts->revokeToken(token));
    }
    if (token == u"bob") {
        token = newToken(QStringLiteral("bob@example.com"));
        // Bob's own document, never Ann's.
        const HttpResponse bobs = call(
            method, QStringLiteral("/account"), documentNamed(QStringLiteral("Bob's")), QByteArray("\"1\""), token);
        QCOMPARE(bobs.status, 200);
        QVERIFY(!bobs.body.contains("Ann's"));
        QVERIFY(get().body.contains("Ann's"));
        return;
    }
    const HttpResponse refused = call(method, QStringLiteral("/account"), "{}", QByteArray("*"), token);
    QCOMPARE(refused.status, 401);
    QCOMPARE(headerOf(refused, "WWW-Authenticate"), QStringLiteral("Bearer"));
    QVERIFY(get().body.contains("Ann's"));
}

void AccountSettingsTests::historyKeepsFiftyAndRestoreMakesANewVersion()
{
    for (int edit = 1; edit <= 55; ++edit)
        QCOMPARE(put(documentNamed(QStringLiteral("Edit %1").arg(edit)), "*").status, 200);
    const auto history = m_accounts->settingsHistory(QStringLiteral("ANN@example.com"));
    QVERIFY(history);
    QCOMPARE(history->size(), Accounts::keptSettingsVersions);
    QCOMPARE(history->front().version, 56);
    QCOMPARE(history->back().version, 7);
    QCOMPARE(history->back().document, documentNamed(QStringLiteral("Edit 6")));

    const auto restored = m_accounts->restoreSettings(ann, 10);
    QVERIFY2(restored, qPrintable(tessary::test::failureText(restored)));
    QCOMPARE(restored->version, 57);
    // A client that last saw version 56 is told about the restored document.
    const HttpResponse stale = put(documentNamed(QStringLiteral("Edit 56")), "\"56\"");
    QCOMPARE(stale.status, 409);
    QCOMPARE(stale.body, documentNamed(QStringLiteral("Edit 9")));
    QCOMPARE(headerOf(stale, "ETag"), QStringLiteral("\"57\""));
    QCOMPARE(m_accounts->settingsHistory(ann)->back().version, 8);

    QCOMPARE(m_accounts->restoreSettings(ann, 7).error().kind, AccountError::Kind::unknownVersion);
    QCOMPARE(m_accounts->restoreSettings(QStringLiteral("cat@example.com"), 10).error().kind,
        AccountError::Kind::unknownAccount);
}

void AccountSettingsTests::oneOfTwoWritersOnOneVersionWins()
{
    // Separate connections to one database, as separate server processes would have: the
    // check and the write must be one statement or transaction, or two writers both see
    // version N and both try to store N + 1.
    const tessary::test::TestDatabase database;
    constexpr int writers = 4;
    std::vector<std::unique_ptr<AccountStore>> stores;
    for (int index = 0; index < writers; ++index) {
        const auto storage = database.open();
        QVERIFY(storage);
        auto store = storage->openAccounts();
        QVERIFY(store);
        stores.push_back(std::move(*store));
    }
    QVERIFY(*stores.front()->addAccount(ann, QStringLiteral("hash"), m_now));
    const qint64 id = (*stores.front()->findAccount(ann))->id;
    for (qint64 round = 1; round <= 100; ++round) {
        std::vector<std::expected<SettingsWrite, DataError>> results(writers);
        std::latch start(writers);
        std::vector<std::jthread> threads;
        for (int index = 0; index < writers; ++index) {
            threads.emplace_back([&, index] {
                start.arrive_and_wait();
                results[index] = stores[index]->writeSettings(
                    id, round, documentNamed(QString::number(index)), "{}", m_now, Accounts::keptSettingsVersions);
            });
        }
        threads.clear();
        for (const auto& result : results)
            QVERIFY2(result, qPrintable(tessary::test::failureText(result)));
        QCOMPARE(std::ranges::count_if(results, [](const auto& result) { return result->written; }), 1);
        // The others are shown what the winner stored.
        for (const auto& result : results) {
            QCOMPARE(result->current.version, round + 1);
            QCOMPARE(result->current.document, results.front()->current.document);
        }
    }
}

HttpResponse AccountSettingsTests::signInOnThePage(const QString& secret)
{
    static const QRegularExpression formPattern(QStringLiteral("name=\"form\" value=\"([^\"]*)\""));
    const HttpResponse form = call("GET", QStringLiteral("/"), {}, std::nullopt, QStringLiteral("none"));
    const QString token = formPattern.match(QString::fromUtf8(form.body)).captured(1);
    const QByteArray body = "form=" + QUrl::toPercentEncoding(token) + "&email=" + QUrl::toPercentEncoding(ann)
        + "&password=" + QUrl::toPercentEncoding(secret);
    return call("POST", QStringLiteral("/"), body, std::nullopt, QStringLiteral("none"));
}

HttpResponse AccountSettingsTests::page(const HttpResponse& signedIn)
{
    const QString setCookie = headerOf(signedIn, "Set-Cookie");
    return page(setCookie.left(setCookie.indexOf(u';')).toLatin1());
}

HttpResponse AccountSettingsTests::page(const QByteArray& cookie)
{
    HttpRequest request;
    request.path = QStringLiteral("/");
    request.headers.emplace_back("Cookie", "theme=dark; " + cookie);
    return m_handlers->handle(request);
}

void AccountSettingsTests::listsPageEscapesTheLists()
{
    const QByteArray hostile = QByteArrayLiteral(
        R"({"comparisonSets":[{"id":"a","name":"<script>alert(1)</script> & \"Co\"",)"
        R"("selectedTickers":["\"><img src=x onerror=alert(2)>","msft"],"benchmark":"<b>QQQ</b>",)"
        R"("preset":"5Y","lastAccessedAt":1},{"id":"b","selectedTickers":[],"start":"2020-02-19","preset":"custom",)"
        R"("lastAccessedAt":2}],"activeSetId":"a","updatedAt":0})");
    QCOMPARE(put(hostile, "\"1\"").status, 200);
    const HttpResponse shown = page(signInOnThePage());
    QCOMPARE(shown.status, 200);
    QCOMPARE(headerOf(shown, "Cache-Control"), QStringLiteral("no-store"));
    const QString html = QString::fromUtf8(shown.body);
    QVERIFY(!html.contains(u"<script"));
    QVERIFY(!html.contains(u"<img", Qt::CaseInsensitive));
    QVERIFY(!html.contains(u"<b>"));
    QVERIFY(html.contains(u"&lt;script&gt;alert(1)&lt;/script&gt; &amp; &quot;Co&quot;"));
    QVERIFY(html.contains(u"&quot;&gt;&lt;IMG SRC=X ONERROR=ALERT(2)&gt;, MSFT"));
    QVERIFY(html.contains(u"&lt;b&gt;QQQ&lt;/b&gt;"));
    // The list opened last comes first, as in the app; a set without a name gets one.
    QVERIFY(html.indexOf(u"Untitled List") < html.indexOf(u"&lt;script&gt;"));
    QVERIFY(html.contains(u"custom from 2020-02-19"));
    QVERIFY(html.contains(u"ann@example.com"));
}

void AccountSettingsTests::listsPageSession_data()
{
    QTest::addColumn<QString>("step"); // what happens after signing in
    QTest::addColumn<bool>("signedIn"); // whether the page shows the lists afterwards

    QTest::newRow("nothing") << "" << true;
    QTest::newRow("sign out") << "sign out" << false;
    QTest::newRow("sign out with a forged value") << "forged sign out" << true;
    QTest::newRow("sign out with another session's value") << "other sign out" << true;
    QTest::newRow("a week later") << "week" << false;
    QTest::newRow("password reset") << "reset" << false;
    QTest::newRow("made-up cookie") << "made-up" << false;
}

void AccountSettingsTests::listsPageSession()
{
    QFETCH(QString, step);
    QFETCH(bool, signedIn);
    static const QRegularExpression formPattern(QStringLiteral("name=\"form\" value=\"([^\"]*)\""));

    const HttpResponse signInForm = page(QByteArray());
    QCOMPARE(signInForm.status, 200);
    QVERIFY(signInForm.body.contains("name=\"password\""));
    QVERIFY(!signInForm.body.contains("Sign out"));
    const HttpResponse wrong = signInOnThePage(QStringLiteral("wrong password"));
    QCOMPARE(wrong.status, 403);
    QVERIFY(wrong.body.contains("The e-mail address or the password is wrong."));
    QVERIFY(headerOf(wrong, "Set-Cookie").isEmpty());

    const HttpResponse signIn = signInOnThePage();
    QCOMPARE(signIn.status, 303);
    QCOMPARE(headerOf(signIn, "Location"), QStringLiteral("./"));
    const QString setCookie = headerOf(signIn, "Set-Cookie");
    QVERIFY2(QRegularExpression(QStringLiteral("^tessary_session=[A-Za-z0-9_-]{43}; Path=/; Max-Age=604800; "
                                               "HttpOnly; SameSite=Strict$"))
                 .match(setCookie)
                 .hasMatch(),
        qPrintable(setCookie));
    QByteArray cookie = setCookie.left(setCookie.indexOf(u';')).toLatin1();
    const HttpResponse shown = page(cookie);
    QVERIFY(shown.body.contains("Sign out"));
    QString signOutValue = formPattern.match(QString::fromUtf8(shown.body)).captured(1);
    if (step == u"forged sign out")
        signOutValue = QStringLiteral("1709294400.") + newSecret();
    if (step == u"other sign out")
        signOutValue = formPattern.match(QString::fromUtf8(page(signInOnThePage()).body)).captured(1);
    if (step.contains(u"sign out")) {
        HttpRequest request;
        request.method = "POST";
        request.path = QStringLiteral("/sign-out");
        request.body = "form=" + QUrl::toPercentEncoding(signOutValue);
        request.headers.emplace_back("Cookie", cookie);
        const HttpResponse answer = m_handlers->handle(request);
        QCOMPARE(answer.status, signedIn ? 403 : 303);
        if (!signedIn)
            QVERIFY(headerOf(answer, "Set-Cookie").startsWith(u"tessary_session=; Path=/; Max-Age=0;"));
    }
    if (step == u"week")
        m_now = m_now.addDays(7);
    if (step == u"reset")
        QVERIFY(m_accounts->resetPassword(ann, QStringLiteral("a new password")));
    if (step == u"made-up")
        cookie = "tessary_session=" + newSecret().toLatin1();

    const HttpResponse after = page(cookie);
    QCOMPARE(after.status, 200);
    QCOMPARE(after.body.contains("Sign out"), signedIn);
    QCOMPARE(after.body.contains("name=\"password\""), !signedIn);
}

QTEST_GUILESS_MAIN(AccountSettingsTests)
#include "tst_AccountSettings.moc"
