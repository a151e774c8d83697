#include "Support/DiskFull.h"
#include "Support/FixtureServer.h"
#include "Support/TaskRunner.h"
#include "Support/TempStore.h"
#include "Tessary/Account/AccountService.h"
#include "Tessary/Account/Credentials.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QTest>

#include <functional>

using namespace tessary;

namespace {

// The app on a temporary folder, with an account signed in against a fixture server.
struct App {
    QTemporaryDir dir;
    std::unique_ptr<Store> store = test::openStore(dir);
    QUuid list = store->create(QStringLiteral("Old"), { QStringLiteral("AAPL") });
    test::FixtureServer server;
    QNetworkAccessManager network;
    std::unique_ptr<AccountService> account;
};

// One file the app saves: where it is, a change that saves it (a new one for each
// generation), and the line that tells the user a save failed.
struct Saved {
    std::function<QString(App&)> file;
    std::function<void(App&, int generation)> change;
    std::function<std::optional<QString>(App&)> shownError;
};

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Q_DECLARE_METATYPE(Saved)

class DiskFullTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fullDiskKeepsTheOldFile_data();
    void fullDiskKeepsTheOldFile();
};

void DiskFullTests::fullDiskKeepsTheOldFile_data()
{
    QTest::addColumn<Saved>("saved");
    QTest::addColumn<QString>("errorText");
    // In the file once there is space again.
    QTest::addColumn<QByteArray>("kept");

    QTest::newRow("lists.json") << Saved {
        [](App& app) { return app.store->listsFile(); },
        [](App& app, int generation) { app.store->rename(app.list, QStringLiteral("Name %1").arg(generation)); },
        [](App& app) { return app.store->saveError(); },
    } << QStringLiteral("Couldn't save your lists: No space left on device")
                                << QByteArray("Name 3");
    QTest::newRow("preferences") << Saved {
        [](App& app) { return app.dir.filePath(QStringLiteral("preferences.ini")); },
        // The setting refused by the full disk is written with the next one.
        [](App& app, int generation) {
            if (generation == 2)
                app.store->setLogScale(true);
            else
                app.store->preferences().setMultiPeriods(QStringLiteral("1Y,%1").arg(generation));
        },
        [](App& app) { return app.store->saveError(); },
    } << QStringLiteral("Couldn't save your preferences: ")
                                 << QByteArray("logScale=true");
    QTest::newRow("account.json") << Saved {
        [](App& app) { return app.account->credentialsFile(); },
        [](App& app, int generation) {
            if (!app.account) {
                const QString dataDirectory = app.dir.filePath(QStringLiteral("account"));
                QDir().mkpath(dataDirectory);
                Credentials { QStringLiteral("t0ken"), QStringLiteral("old@example.com") }.write(
                    dataDirectory + QStringLiteral("/account.json"));
                app.account = std::make_unique<AccountService>(dataDirectory, &app.network);
                app.account->setEndpoints(app.server.baseUrl(), app.server.baseUrl());
            }
            app.server.script(QStringLiteral("/account/info"),
                test::ScriptedReply::json(QStringLiteral(R"({"email":"new%1@example.com"})").arg(generation).toUtf8()));
            test::runTask(app.account->refreshInfo());
        },
        [](App& app) { return app.account->lastError(); },
    } << QStringLiteral("No space left on device")
                                  << QByteArray("new3@example.com");
}

void DiskFullTests::fullDiskKeepsTheOldFile()
{
    QFETCH(Saved, saved);
    QFETCH(QString, errorText);
    QFETCH(QByteArray, kept);
    App app;
    saved.change(app, 1);
    const QString path = saved.file(app);
    const QByteArray old = contents(path);
    QVERIFY(!old.isEmpty());
    QVERIFY(!saved.shownError(app));
    {
        const test::DiskFull full(app.dir.path());
        saved.change(app, 2);
        const auto error = saved.shownError(app);
        QVERIFY2(error && error->contains(errorText), qPrintable(error.value_or(QStringLiteral("no error shown"))));
        QCOMPARE(contents(path), old);
    }
    // Space again: the next save carries the change the full disk refused, and the line goes.
    saved.change(app, 3);
    QVERIFY2(contents(path).contains(kept), contents(path).constData());
    QVERIFY2(!saved.shownError(app), qPrintable(saved.shownError(app).value_or(QString())));
}

QTEST_GUILESS_MAIN(DiskFullTests)
#include "tst_DiskFull.moc"
