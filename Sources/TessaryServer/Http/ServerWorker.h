#pragma once

#include "ServerEngine.h"
#include "TessaryServer/Data/DataError.h"
#include "TessaryServer/Storage/ServerStorage.h"

#include <QObject>

#include <memory>
#include <stop_token>

namespace tessary::server {

class AccountHandlers;
class Accounts;
class DemoMarketKeeper;
class HealthHandler;
class HttpTransport;
class MarketHandlers;
class PriceRefresher;

// Lives on the service thread and owns everything that must stay there: the market, the
// accounts, the handlers and the HTTP server.
class ServerWorker : public QObject {
    Q_OBJECT

public:
    explicit ServerWorker(ServerOptions options);
    ~ServerWorker() override;

    // Opens the market, then listens. Ends with `listening` or `failed`, or with neither when
    // it was cancelled.
    void run();
    // Deletes the server and the market, then ends the thread's event loop.
    void shutdown();
    // Asks a running `run` to give up at its next check. The one method safe to call from
    // another thread.
    void cancel() { m_stop.request_stop(); }

Q_SIGNALS:
    void progress(double fraction, const QString& stage);
    void listening(const QString& host, quint16 port);
    void failed(const QString& message);

private:
    QString dataDirectory() const;
    // The SQLite file or PostgreSQL pool the market and the accounts share, opened once.
    std::expected<void, DataError> openStorage();
    std::expected<std::unique_ptr<MarketReader>, DataError> openDatabase(const MarketProgress& progress);
    std::expected<std::unique_ptr<Accounts>, DataError> openAccounts();

    ServerOptions m_options;
    std::stop_source m_stop;
    std::unique_ptr<MarketReader> m_market;
    std::unique_ptr<DemoMarketKeeper> m_keeper;
    std::unique_ptr<MarketHandlers> m_handlers;
    std::unique_ptr<Accounts> m_accounts;
    std::unique_ptr<AccountHandlers> m_accountHandlers;
    std::unique_ptr<HealthHandler> m_health;
    std::optional<ServerStorage> m_storage;
    std::unique_ptr<HttpTransport> m_transport;
    std::unique_ptr<PriceRefresher> m_refresher;
};

} // namespace tessary::server
