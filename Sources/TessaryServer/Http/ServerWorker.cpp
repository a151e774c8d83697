#include "ServerWorker.h"

#include "HttpTransport.h"
#include "MarketHandlers.h"
#include "TessaryServer/Account/Account.h"
#include "TessaryServer/Data/Data.h"

#include <QThread>

namespace tessary::server {

ServerWorker::ServerWorker(ServerOptions options)
    : m_options(std::move(options))
{
}

ServerWorker::~ServerWorker() = default;

std::expected<std::unique_ptr<MarketReader>, DataError> ServerWorker::openDatabase(const MarketProgress& progress) const
{
    const QString directory = m_options.dataDirectory.isEmpty() ? defaultDataDirectory() : m_options.dataDirectory;
    auto database = MarketDatabase::open(directory);
    if (!database)
        return std::unexpected(database.error());
    if (auto prepared = prepareMarket(**database, m_options.demo, progress, m_stop.get_token()); !prepared)
        return std::unexpected(prepared.error());
    return std::unique_ptr<MarketReader>(std::move(*database));
}

std::expected<std::unique_ptr<Accounts>, DataError> ServerWorker::openAccounts() const
{
    const bool inMemory = m_options.openMarket && m_options.dataDirectory.isEmpty();
    auto store = inMemory ? SqliteAccountStore::openInMemory()
                          : SqliteAccountStore::open(
                              m_options.dataDirectory.isEmpty() ? defaultDataDirectory() : m_options.dataDirectory);
    if (!store)
        return std::unexpected(store.error());
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
    auto accounts = openAccounts();
    if (!accounts) {
        Q_EMIT failed(accounts.error().description());
        return;
    }
    m_accounts = std::move(*accounts);
    m_accountHandlers = std::make_unique<AccountHandlers>(*m_accounts, m_options.signup);

    m_transport = std::make_unique<HttpTransport>(
        [handlers = m_handlers.get(), accountHandlers = m_accountHandlers.get(),
            negotiation = ContentNegotiation { m_options.gzipLevel }](const HttpRequest& request) {
            return negotiation.apply(request,
                AccountHandlers::serves(request.path) ? accountHandlers->handle(request) : handlers->handle(request));
        });
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
    m_transport.reset();
    m_accountHandlers.reset();
    m_accounts.reset();
    m_handlers.reset();
    m_market.reset();
    thread()->quit();
}

} // namespace tessary::server
