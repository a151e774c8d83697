#include "ServerWorker.h"

#include "HealthHandler.h"
#include "HttpTransport.h"
#include "MarketHandlers.h"
#include "TessaryServer/Account/Account.h"
#include "TessaryServer/Data/Data.h"
#include "UpdateFeedHandler.h"

#include <QThread>

namespace tessary::server {

ServerWorker::ServerWorker(ServerOptions options)
    : m_options(std::move(options))
{
}

ServerWorker::~ServerWorker() = default;

QString ServerWorker::dataDirectory() const
{
    return m_options.dataDirectory.isEmpty() ? defaultDataDirectory() : m_options.dataDirectory;
}

std::expected<void, DataError> ServerWorker::openStorage()
{
    if (m_storage)
        return {};
    auto storage = ServerStorage::open(dataDirectory(), m_options.postgres);
    if (!storage)
        return std::unexpected(storage.error());
    m_storage = std::move(*storage);
    return {};
}

std::expected<std::unique_ptr<MarketReader>, DataError> ServerWorker::openDatabase(const MarketProgress& progress)
{
    if (auto opened = openStorage(); !opened)
        return std::unexpected(opened.error());
    auto database = m_storage->openMarket();
    if (!database)
        return std::unexpected(database.error());
    if (auto prepared = prepareMarket(**database, m_options.demo, progress, m_stop.get_token()); !prepared)
        return std::unexpected(prepared.error());
    return std::unique_ptr<MarketReader>(std::move(*database));
}

std::expected<std::unique_ptr<Accounts>, DataError> ServerWorker::openAccounts()
{
    const bool inMemory = m_options.openMarket && m_options.dataDirectory.isEmpty() && !m_options.postgres.enabled();
    std::expected<std::unique_ptr<AccountStore>, DataError> store = std::unexpected(DataError {});
    if (inMemory) {
        store = SqliteAccountStore::openInMemory();
    } else if (auto opened = openStorage(); !opened) {
        store = std::unexpected(opened.error());
    } else {
        store = m_storage->openAccounts();
    }
    if (!store)
        return std::unexpected(store.error());
    // The accounts reach the same database as the market: the health check asks them.
    m_health = std::make_unique<HealthHandler>(
        [raw = store->get()] { return raw->ping(); }, m_refresher ? m_refresher->state() : nullptr);
    return std::make_unique<Accounts>(std::move(*store));
}

void ServerWorker::run()
{
    const auto address = HttpTransport::parseHost(m_options.host);
    if (!address) {
        Q_EMIT failed(QStringLiteral("not an IP address: ") + m_options.host);
        return;
    }

    Q_EMIT progress(0, QStringLiteral("Opening the market data"));
    const MarketProgress report
        = [this](double fraction) { Q_EMIT progress(fraction, QStringLiteral("Preparing the market data")); };
    auto market = m_options.openMarket ? m_options.openMarket(report) : openDatabase(report);
    // Stopped while the market was prepared: the engine is waiting for the thread, not for news.
    if (m_stop.stop_requested())
        return;
    if (!market) {
        Q_EMIT failed(market.error().description());
        return;
    }
    m_market = std::move(*market);
    m_handlers = std::make_unique<MarketHandlers>(*m_market);
    auto* database = dynamic_cast<MarketDatabase*>(m_market.get());
    if (database && database->dataSource() == DataSource::simulated && database->demoSeed())
        m_keeper = std::make_unique<DemoMarketKeeper>(
            *database, DemoMarketKeeper::defaultInterval, DemoMarketKeeper::LastDay {}, [](const QString& message) {
                qWarning("tessary-server: the demo market could not be extended: %s", qPrintable(message));
            });
    // Before the accounts: the health check reports the refresher's state.
    if (database && m_options.refresh) {
        auto provider = makePriceProvider(m_options.refresh->provider);
        if (!provider) {
            Q_EMIT failed(provider.error());
            return;
        }
        m_refresher = std::make_unique<PriceRefresher>(*database, *m_options.refresh, std::move(*provider));
    }
    auto accounts = openAccounts();
    if (!accounts) {
        Q_EMIT failed(accounts.error().description());
        return;
    }
    m_accounts = std::move(*accounts);
    m_accountHandlers = std::make_unique<AccountHandlers>(*m_accounts, m_options.signup);

    const bool ownsDirectory = !m_options.openMarket || !m_options.dataDirectory.isEmpty();
    m_transport = std::make_unique<HttpTransport>(
        [handlers = m_handlers.get(), accountHandlers = m_accountHandlers.get(), health = m_health.get(),
            updates = UpdateFeedHandler(ownsDirectory ? dataDirectory() : QString()),
            negotiation = ContentNegotiation { m_options.gzipLevel }](const HttpRequest& request) {
            if (request.path == UpdateFeedHandler::path)
                return negotiation.apply(request, updates.handle());
            if (HealthHandler::serves(request.path))
                return health->handle(request);
            return negotiation.apply(request,
                AccountHandlers::serves(request.path) ? accountHandlers->handle(request) : handlers->handle(request));
        },
        m_options.limits);
    const auto port = m_transport->start(*address, m_options.port);
    if (!port) {
        Q_EMIT failed(port.error().description());
        return;
    }
    Q_EMIT progress(1, QStringLiteral("Listening"));
    Q_EMIT listening(m_options.host, *port);
}

void ServerWorker::shutdown()
{
    m_keeper.reset();
    m_transport.reset();
    // Before the store it writes to.
    m_refresher.reset();
    m_accountHandlers.reset();
    m_health.reset();
    m_accounts.reset();
    m_handlers.reset();
    m_market.reset();
    m_storage.reset();
    thread()->quit();
}

} // namespace tessary::server
