#include "Support/DiskFull.h"
#include "TessaryServer/Account/Account.h"
#include "TessaryServer/Account/Secrets.h"
#include "TessaryServer/Http/ServerEngine.h"

#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using namespace tessary::server;

namespace {

const QString verifier = QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
const QByteArray oldDocument = R"({"comparisonSets":[{"id":"set_1","name":"Old"}],"activeSetId":null,"updatedAt":1})";
const QByteArray newDocument = R"({"comparisonSets":[{"id":"set_1","name":"New"}],"activeSetId":null,"updatedAt":2})";

enum class Fault { diskFull, lockedByAnotherProcess, readOnly };

struct Reply {
    int status = 0;
    QByteArray contentType;
    QByteArray body;
};

// Makes `directory` read-only for the server: a read-only bind mount when running as root
// (who ignores permissions), the permission bits otherwise. False when neither works here.
bool makeReadOnly(const QString& directory)
{
    if (::geteuid() != 0) {
        const auto readOnly = QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
        for (const QString& name : QDir(directory).entryList(QDir::Files))
            QFile::setPermissions(QDir(directory).filePath(name), readOnly);
        return QFile::setPermissions(directory, readOnly | QFileDevice::ExeOwner);
    }
    return QProcess::execute(QStringLiteral("mount"), { QStringLiteral("--bind"), directory, directory }) == 0
        && QProcess::execute(
               QStringLiteral("mount"), { QStringLiteral("-o"), QStringLiteral("remount,ro,bind"), directory })
        == 0;
}

void undoReadOnly(const QString& directory)
{
    if (::geteuid() == 0)
        QProcess::execute(QStringLiteral("umount"), { directory });
    else
        QFile::setPermissions(directory, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

} // namespace

Q_DECLARE_METATYPE(Fault)

class ServerDatabaseFaultTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesFailWithAnAnswer_data();
    void writesFailWithAnAnswer();

private:
    Reply send(const QByteArray& method, const QUrl& url, const QByteArray& body = {});

    QNetworkAccessManager m_network;
    QString m_token;
};

Reply ServerDatabaseFaultTests::send(const QByteArray& method, const QUrl& url, const QByteArray& body)
{
    QNetworkRequest request(url);
    request.setRawHeader("Authorization", "Bearer " + m_token.toLatin1());
    request.setRawHeader("If-Match", "*");
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setTransferTimeout(20'000);
    std::unique_ptr<QNetworkReply> reply(m_network.sendCustomRequest(request, method, body));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    if (!reply->isFinished())
        finished.wait(20'000);
    return Reply { reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
        reply->header(QNetworkRequest::ContentTypeHeader).toByteArray(), reply->readAll() };
}

void ServerDatabaseFaultTests::writesFailWithAnAnswer_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::newRow("disk full") << Fault::diskFull;
    QTest::newRow("locked by another process") << Fault::lockedByAnotherProcess;
    QTest::newRow("read-only") << Fault::readOnly;
}

void ServerDatabaseFaultTests::writesFailWithAnAnswer()
{
    QFETCH(Fault, fault);
    QTemporaryDir dir;
    const QString data = dir.filePath(QStringLiteral("data"));
    QDir().mkpath(data);
    {
        // An account with a token and a document, written before the server starts.
        auto store = SqliteAccountStore::open(data);
        QVERIFY(store);
        QVERIFY(*(*store)->addAccount(
            QStringLiteral("ann@example.com"), *hashPassword(QStringLiteral("pw")), QDateTime::currentDateTimeUtc()));
        const qint64 id = (*(*store)->findAccount(QStringLiteral("ann@example.com")))->id;
        Accounts accounts(std::move(*store));
        m_token = *accounts.redeemCode(*accounts.issueCode(id, s256Challenge(verifier)), verifier);
        QVERIFY(accounts.replaceSettings(id, std::nullopt, oldDocument));
    }
    if (fault == Fault::readOnly && !makeReadOnly(data))
        QSKIP("cannot make a directory read-only here");
    const auto undo = qScopeGuard([&] {
        if (fault == Fault::readOnly)
            undoReadOnly(data);
    });

    ServerEngine engine;
    QSignalSpy started(&engine, &ServerEngine::started);
    QSignalSpy failed(&engine, &ServerEngine::failed);
    ServerOptions options;
    options.dataDirectory = data;
    options.demo = false;
    engine.start(options);
    if (fault == Fault::readOnly) {
        // The database cannot be opened for writing: the server says why and does not start.
        QVERIFY(failed.wait(20'000));
        const QString message = failed.front().front().toString();
        QVERIFY2(message.contains(u"read-only") && !message.contains(u'\n'), qPrintable(message));
        return;
    }
    QVERIFY(started.wait(20'000));
    const QUrl account = engine.url()->resolved(QUrl(QStringLiteral("/account")));

    std::optional<tessary::test::DiskFull> full;
    QProcess holder;
    if (fault == Fault::diskFull) {
        full.emplace(data);
    } else if (fault == Fault::lockedByAnotherProcess) {
        // The sqlite3 shell holds the write lock until its input ends.
        holder.start(QStringLiteral("sqlite3"), { QDir(data).filePath(QStringLiteral("market.sqlite")) });
        holder.write("BEGIN IMMEDIATE;\nCREATE TABLE held(x);\nSELECT 'held';\n");
        QVERIFY(holder.waitForReadyRead(10'000));
        QCOMPARE(holder.readAllStandardOutput().trimmed(), QByteArray("held"));
    }

    const Reply refused = send("PUT", account, newDocument);
    QCOMPARE(refused.status, 503);
    QCOMPARE(refused.contentType, QByteArray("application/json"));
    const QString error = QJsonDocument::fromJson(refused.body)[u"error"].toString();
    QVERIFY2(!error.isEmpty() && !error.contains(u'\n'), refused.body.constData());
    // The stored document is what it was, and can still be read.
    const Reply kept = send("GET", account);
    QCOMPARE(kept.status, 200);
    QCOMPARE(QJsonDocument::fromJson(kept.body), QJsonDocument::fromJson(oldDocument));

    holder.closeWriteChannel();
    holder.waitForFinished(10'000);
    full.reset();
    QCOMPARE(send("PUT", account, newDocument).status, 200);
    engine.stop();
}

QTEST_GUILESS_MAIN(ServerDatabaseFaultTests)
#include "tst_ServerDatabaseFaults.moc"
