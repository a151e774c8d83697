#include "ServerStorage.h"

#include "PgPool.h"
#include "PostgresAccountStore.h"
#include "PostgresMarketDatabase.h"
#include "TessaryServer/Account/SqliteAccountStore.h"

namespace tessary::server {

std::expected<ServerStorage, DataError> ServerStorage::open(
    const QString& dataDirectory, const PostgresOptions& postgres)
{
    ServerStorage storage;
    storage.m_dataDirectory = dataDirectory;
    if (postgres.enabled()) {
        auto pool = PgPool::open(postgres.url, postgres.connections);
        if (!pool)
            return std::unexpected(pool.error());
        storage.m_pool = std::move(*pool);
    }
    return storage;
}

std::expected<std::unique_ptr<MarketDatabase>, DataError> ServerStorage::openMarket() const
{
    if (!m_pool)
        return MarketDatabase::open(m_dataDirectory);
    auto database = PostgresMarketDatabase::open(m_pool);
    if (!database)
        return std::unexpected(database.error());
    return std::unique_ptr<MarketDatabase>(std::move(*database));
}

std::expected<std::unique_ptr<AccountStore>, DataError> ServerStorage::openAccounts() const
{
    if (m_pool)
        return std::make_unique<PostgresAccountStore>(m_pool);
    auto store = SqliteAccountStore::open(m_dataDirectory);
    if (!store)
        return std::unexpected(store.error());
    return std::unique_ptr<AccountStore>(std::move(*store));
}

} // namespace tessary::server
