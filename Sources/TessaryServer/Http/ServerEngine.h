#pragma once

#include "ConnectionGuard.h"
#include "ContentNegotiation.h"
#include "TessaryServer/Data/DataError.h"
#include "TessaryServer/Fetch/PriceRefresher.h"
#include "TessaryServer/MarketReader.h"
#include "TessaryServer/Storage/PostgresOptions.h"

#include <QObject>
#include <QString>
#include <QThread>
#include <QUrl>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace tessary::server {

class ServerWorker;

// Called with the fraction done (0 to 1) while the market is being prepared.
using MarketProgress = std::function<void(double fraction)>;
// Opens the market the service reads. It runs on the service's own thread, may take long
// (a fresh demo market is generated first) and reports its progress.
using MarketOpener = std::function<std::expected<std::unique_ptr<MarketReader>, DataError>(const MarketProgress&)>;

struct ServerOptions {
    QString host = QStringLiteral("127.0.0.1");
    quint16 port = 0; // 0: any free port
    QString dataDirectory; // empty: defaultDataDirectory()
    PostgresOptions postgres; // when set, the market and the accounts are there instead
    bool demo = true; // seed the demo market into an empty store
    // The connect page may create accounts. Off for a shared server, where accounts are added
    // with `tessary-server account add`; on for the app's embedded service on its own machine.
    bool signup = false;
    // Replaces the store in `dataDirectory` (tests serve a market held in memory). Without a
    // data directory the accounts are then held in memory too.
    MarketOpener openMarket;
    // Refresh the store's imported prices once a day (needs the store, not `openMarket`).
    std::optional<DailyRefresh> refresh;
    ConnectionLimits limits;
    // zlib level for clients that accept gzip; 0 sends every body as it is.
    int gzipLevel = ContentNegotiation::defaultGzipLevel;
};

// ~/.local/share/Tessary/server (honouring XDG_DATA_HOME).
QString defaultDataDirectory();

// The whole service on its own thread, so the app can embed it: `start` returns at once,
// the market is opened (and a demo market generated) over there while `progress` reports,
// and `started` hands back the base URL once connections are accepted. The HTTP server is
// created and destroyed on the service thread.
class ServerEngine : public QObject {
    Q_OBJECT

public:
    explicit ServerEngine(QObject* parent = nullptr);
    ~ServerEngine() override;

    void start(const ServerOptions& options);
    // Closes the listening socket and the store, and waits for the thread to end. Called
    // while a demo market is being generated, it cancels the generation, which rolls back and
    // is done again by the next start.
    void stop();

    bool isRunning() const { return m_thread.isRunning(); }
    // A start that failed has already stopped the thread when `failed` arrives.
    // Set once `started` has been emitted.
    std::optional<QUrl> url() const { return m_url; }

Q_SIGNALS:
    void progress(double fraction, const QString& stage);
    void started(const QUrl& url);
    void failed(const QString& message);

private:
    void onListening(const QString& host, quint16 port);
    void onFailed(const QString& message);

    QThread m_thread;
    ServerWorker* m_worker = nullptr;
    std::optional<QUrl> m_url;
};

} // namespace tessary::server
