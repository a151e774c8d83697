#include "Support/FixtureServer.h"
#include "Support/TaskRunner.h"
#include "Support/TestSupport.h"
#include "Tessary/App/Measurements.h"
#include "Tessary/App/SnapshotMode.h"
#include "Tessary/Shell/Support.h"
#include "Tessary/Shell/UpdateCheck.h"
#include "TessaryServer/Http/ServerEngine.h"
#include "TessaryWire/BuildInfo.h"

#include <QDir>
#include <QFile>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace tessary;
using namespace std::chrono_literals;

Q_DECLARE_METATYPE(std::optional<std::strong_ordering>)

// The support message and the update check, the latter against tessary-server itself and
// against a fixture server for the ways a feed goes wrong.
class ShellTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void supportMessageEndsWithTheBuild_data();
    void supportMessageEndsWithTheBuild();
    void versionsCompareByTheirParts_data();
    void versionsCompareByTheirParts();
    void serverAnnouncesTheRelease_data();
    void serverAnnouncesTheRelease();
    void brokenFeedIsOneLine_data();
    void brokenFeedIsOneLine();
    void snapshotVariables_data();
    void snapshotVariables();
    void measurementVariables_data();
    void measurementVariables();

private:
    QTemporaryDir m_serverData;
    server::ServerEngine m_engine;
    QUrl m_server;
    QNetworkAccessManager m_network;
};

void ShellTests::initTestCase()
{
    server::ServerOptions options;
    options.dataDirectory = m_serverData.path();
    options.demo = false;
    QSignalSpy started(&m_engine, &server::ServerEngine::started);
    m_engine.start(options);
    QVERIFY(started.wait(20'000));
    m_server = started.front().front().toUrl();
}

void ShellTests::supportMessageEndsWithTheBuild_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("commit");
    QTest::addColumn<QString>("line");
    QTest::newRow("release") << u"1.4.0"_qs << u"3f9c2ab"_qs << u"1.4.0 (3f9c2ab)"_qs;
    QTest::newRow("outside a checkout") << u"1.4.0"_qs << u""_qs << u"1.4.0 (dev)"_qs;
    QTest::newRow("nothing known") << u""_qs << u""_qs << u"dev (dev)"_qs;
}

void ShellTests::supportMessageEndsWithTheBuild()
{
    QFETCH(QString, version);
    QFETCH(QString, commit);
    QFETCH(QString, line);
    QCOMPARE(Support::versionLine(version, commit), line);
    const QUrl url = Support::mailto(QStringLiteral("help+app@example.org"), line);
    QCOMPARE(url.scheme(), QStringLiteral("mailto"));
    QCOMPARE(url.path(), QStringLiteral("help+app@example.org"));
    // What a mail program decodes from the bytes it is handed.
    const QByteArray encoded = url.toEncoded();
    const QByteArray body = QByteArray::fromPercentEncoding(encoded.mid(encoded.indexOf("?body=") + 6));
    QVERIFY2(QString::fromUtf8(body).endsWith(QStringLiteral("\n\n\u2014\nTessary for Mac ") + line), body.constData());
    QVERIFY(!encoded.contains('\n'));
}

void ShellTests::versionsCompareByTheirParts_data()
{
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<std::optional<std::strong_ordering>>("order");
    const auto less = std::optional(std::strong_ordering::less);
    const auto equal = std::optional(std::strong_ordering::equal);
    const auto greater = std::optional(std::strong_ordering::greater);
    QTest::newRow("numbers, not text") << u"1.10.0"_qs << u"1.9.3"_qs << greater;
    QTest::newRow("missing parts are zero") << u"1.2"_qs << u"1.2.0"_qs << equal;
    QTest::newRow("a leading v") << u"v2.0.1"_qs << u"2.0.1"_qs << equal;
    QTest::newRow("pre-release first") << u"1.3.0-beta.2"_qs << u"1.3.0"_qs << less;
    QTest::newRow("pre-release numbers") << u"1.3.0-beta.10"_qs << u"1.3.0-beta.2"_qs << greater;
    QTest::newRow("numbers before words") << u"1.3.0-1"_qs << u"1.3.0-alpha"_qs << less;
    QTest::newRow("longer pre-release later") << u"1.3.0-alpha.1"_qs << u"1.3.0-alpha"_qs << greater;
    QTest::newRow("build metadata ignored") << u"1.3.0+42"_qs << u"1.3.0"_qs << equal;
    QTest::newRow("not a version") << u"latest"_qs << u"1.0"_qs << std::optional<std::strong_ordering>();
}

void ShellTests::versionsCompareByTheirParts()
{
    QFETCH(QString, left);
    QFETCH(QString, right);
    QFETCH(std::optional<std::strong_ordering>, order);
    QCOMPARE(UpdateFeed::compareVersions(left, right), order);
}

void ShellTests::serverAnnouncesTheRelease_data()
{
    QTest::addColumn<QByteArray>("file"); // updates/linux.json in the server's data directory
    QTest::addColumn<QString>("running");
    QTest::addColumn<QString>("headline");
    QTest::addColumn<QString>("notes");
    const QString own = QString::fromLatin1(BuildInfo::version);
    QTest::newRow("built in: this build")
        << QByteArray() << own << u"Tessary "_qs + own + " is the latest version." << u""_qs;
    QTest::newRow("newer release") << QByteArray(
        R"({"version":"99.1.0","notes":"Faster charts.","url":"https://example.org/99.1"})")
                                   << own << u"Tessary 99.1.0 is available"_qs << u"Faster charts."_qs;
    QTest::newRow("broken file") << QByteArray("{version") << own
                                 << u"Could not check for updates: the update feed answered HTTP 500"_qs << u""_qs;
}

void ShellTests::serverAnnouncesTheRelease()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, running);
    QFETCH(QString, headline);
    QFETCH(QString, notes);
    const QString path = QDir(m_serverData.path()).filePath(QStringLiteral("updates/linux.json"));
    QFile::remove(path);
    if (!file.isNull()) {
        QVERIFY(QDir(m_serverData.path()).mkpath(QStringLiteral("updates")));
        QFile out(path);
        QVERIFY(out.open(QIODevice::WriteOnly));
        out.write(file);
    }
    const auto result = test::runTask(UpdateFeed::check(&m_network, UpdateFeed::defaultUrl(m_server), running));
    QVERIFY(result);
    QCOMPARE(*result ? (*result)->headline() : result->error().description(), headline);
    if (*result) {
        QCOMPARE((*result)->latest.notes, notes);
        QCOMPARE((*result)->available, headline.endsWith(QStringLiteral("available")));
    }
}

void ShellTests::brokenFeedIsOneLine_data()
{
    QTest::addColumn<test::ScriptedReply>("reply");
    QTest::addColumn<QString>("line");
    QTest::newRow("silent") << test::ScriptedReply::silent() << u"no answer from 127.0.0.1 within 1 second"_qs;
    QTest::newRow("html") << test::ScriptedReply { 200, "<html></html>", "text/html" }
                          << u"the update feed is not a JSON object"_qs;
    QTest::newRow("no version") << test::ScriptedReply::json(R"({"notes":"x"})")
                                << u"the update feed names no version"_qs;
}

void ShellTests::brokenFeedIsOneLine()
{
    QFETCH(test::ScriptedReply, reply);
    QFETCH(QString, line);
    test::FixtureServer fixture;
    fixture.script(QStringLiteral("/feed.json"), reply);
    const auto result = test::runTask(
        UpdateFeed::check(&m_network, fixture.baseUrl().resolved(QUrl(QStringLiteral("/feed.json"))), "1.0", 1s));
    QVERIFY2(result, "the check did not end");
    QVERIFY(!*result);
    QCOMPARE(result->error().description(), QStringLiteral("Could not check for updates: ") + line);
}

void ShellTests::snapshotVariables_data()
{
    QTest::addColumn<QString>("window");
    QTest::addColumn<QString>("scroll");
    QTest::addColumn<QString>("size");
    QTest::addColumn<QString>("read"); // "window rows WxH", or the error line
    QTest::newRow("defaults") << QString() << QString() << QString() << u"0 0 none"_qs;
    QTest::newRow("settings") << u"settings"_qs << QString() << u"800x600"_qs << u"1 0 800x600"_qs;
    QTest::newRow("widget scrolled") << u"widget"_qs << u"12"_qs << QString() << u"2 12 none"_qs;
    QTest::newRow("unknown window") << u"Main"_qs << QString() << QString()
                                    << u"TESSARY_SNAPSHOT_WINDOW is not main, settings or widget: “Main”"_qs;
    QTest::newRow("negative scroll") << u"main"_qs << u"-3"_qs << QString()
                                     << u"TESSARY_SNAPSHOT_SCROLL is not a number of rows: “-3”"_qs;
    QTest::newRow("size without height") << u"main"_qs << QString() << u"800x"_qs
                                         << u"TESSARY_SNAPSHOT_SIZE is not WIDTHxHEIGHT: “800x”"_qs;
}

void ShellTests::snapshotVariables()
{
    QFETCH(QString, window);
    QFETCH(QString, scroll);
    QFETCH(QString, size);
    QFETCH(QString, read);
    Environment environment;
    QVERIFY(!SnapshotRequest::from(environment).value()); // no TESSARY_SNAPSHOT, no snapshot
    environment.snapshot = QStringLiteral("/tmp/shot.png");
    const auto given = [](const QString& text) { return text.isNull() ? std::nullopt : std::optional(text); };
    environment.snapshotWindow = given(window);
    environment.snapshotScroll = given(scroll);
    environment.snapshotSize = given(size);
    const auto request = SnapshotRequest::from(environment);
    const QString got = !request
        ? request.error()
        : QStringLiteral("%1 %2 %3")
              .arg(static_cast<int>((*request)->window))
              .arg((*request)->scrollRows)
              .arg((*request)->size
                      ? QStringLiteral("%1x%2").arg((*request)->size->width()).arg((*request)->size->height())
                      : QStringLiteral("none"));
    QCOMPARE(got, read);
}

void ShellTests::measurementVariables_data()
{
    QTest::addColumn<QString>("startup");
    QTest::addColumn<QString>("tour");
    QTest::addColumn<QString>("read"); // "times launched lists", or the error line
    QTest::newRow("neither") << QString() << QString() << u"none"_qs;
    QTest::newRow("times from the kernel's record") << u"1"_qs << QString() << u"1 kernel 0"_qs;
    QTest::newRow("times from the launch") << u"1732390000.25"_qs << QString() << u"1 1732390000.25 0"_qs;
    QTest::newRow("tour alone") << QString() << u"20"_qs << u"0 kernel 20"_qs;
    QTest::newRow("no lists") << QString() << u"0"_qs << u"TESSARY_LIST_TOUR is not a number of lists: “0”"_qs;
    QTest::newRow("words") << u"1"_qs << u"all"_qs << u"TESSARY_LIST_TOUR is not a number of lists: “all”"_qs;
}

void ShellTests::measurementVariables()
{
    QFETCH(QString, startup);
    QFETCH(QString, tour);
    QFETCH(QString, read);
    Environment environment;
    const auto given = [](const QString& text) { return text.isNull() ? std::nullopt : std::optional(text); };
    environment.startupTimes = given(startup);
    environment.listTour = given(tour);
    const auto request = MeasurementRequest::from(environment);
    const QString got = !request ? request.error()
        : !*request              ? u"none"_qs
                                 : QStringLiteral("%1 %2 %3")
                          .arg(int((*request)->startupTimes))
                          .arg((*request)->launchedAt ? QString::number(*(*request)->launchedAt, 'f', 2) : u"kernel"_qs)
                          .arg((*request)->tourLists);
    QCOMPARE(got, read);
}

QTEST_GUILESS_MAIN(ShellTests)
#include "tst_Shell.moc"
