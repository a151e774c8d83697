// The catalog is revalidated against a real service: what the app already holds is confirmed
// by a 304 instead of being downloaded and taken again.
#include "Server/MemoryMarket.h"
#include "Support/TaskRunner.h"
#include "Tessary/Store/ReferenceData.h"
#include "TessaryServer/Http/ServerEngine.h"

#include <QFile>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace tessary;

namespace {

// The loads return nothing; this gives the task runner a value to wait for.
QCoro::Task<bool> done(QCoro::Task<> load)
{
    co_await std::move(load);
    co_return true;
}

} // namespace

class ReferenceRevalidationTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void unchangedCatalogIsNotDownloadedAgain();
    void cleanupTestCase() { m_engine.stop(); }

private:
    server::ServerEngine m_engine;
    QUrl m_base;
    QNetworkAccessManager m_network;
    QTemporaryDir m_dir;
};

void ReferenceRevalidationTests::initTestCase()
{
    server::ServerOptions options;
    options.openMarket
        = [](const server::MarketProgress&) -> std::expected<std::unique_ptr<server::MarketReader>, server::DataError> {
        auto market = std::make_unique<server::test::MemoryMarket>();
        TickerInfo info;
        info.symbol = QStringLiteral("AAA");
        market->addSymbol(info, server::test::dailyBarsFromText(QStringLiteral("2021-01-04 12,2021-01-05 9")));
        return std::unique_ptr<server::MarketReader>(std::move(market));
    };
    QSignalSpy started(&m_engine, &server::ServerEngine::started);
    m_engine.start(options);
    QVERIFY(started.wait(10'000));
    m_base = started.front().front().toUrl();
}

void ReferenceRevalidationTests::unchangedCatalogIsNotDownloadedAgain()
{
    const QString file = m_dir.filePath(QStringLiteral("collections.json"));
    {
        ReferenceData first(file);
        QVERIFY(test::runTask(done(first.loadCatalog(&m_network, m_base))));
        QVERIFY(!first.catalog().collections.empty());
    }
    // The next start finds the cached document in a layout the service never sends: a
    // download would replace it, a 304 leaves it.
    QFile cached(file);
    QVERIFY(cached.open(QIODevice::ReadOnly));
    const QByteArray indented = QJsonDocument::fromJson(cached.readAll()).toJson(QJsonDocument::Indented);
    cached.close();
    QVERIFY(cached.open(QIODevice::WriteOnly | QIODevice::Truncate));
    cached.write(indented);
    cached.close();

    ReferenceData next(file);
    QVERIFY(test::runTask(done(next.loadCatalog(&m_network, m_base))));
    QVERIFY(cached.open(QIODevice::ReadOnly));
    QCOMPARE(cached.readAll(), indented);
    QVERIFY(!next.catalog().collections.empty());
}

QTEST_GUILESS_MAIN(ReferenceRevalidationTests)
#include "tst_ReferenceRevalidation.moc"
