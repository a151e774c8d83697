#pragma once

#include "PostgresOptions.h"
#include "TessaryServer/Account/AccountStore.h"
#include "TessaryServer/Data/MarketDatabase.h"

#include <memory>

namespace tessary::server {

class PgPool;

// The one place that knows the two backends: everything else gets a MarketDatabase and an
// AccountStore and does not ask which. With PostgreSQL both share one connection pool.
class ServerStorage {
public:
    // The SQLite store in `dataDirectory`, or the PostgreSQL database when `postgres` is set
    // (connected and its schema brought up to date here).
    static std::expected<ServerStorage, DataError> open(const QString& dataDirectory, const PostgresOptions& postgres);

    std::expected<std::unique_ptr<MarketDatabase>, DataError> openMarket() const;
    std::expected<std::unique_ptr<AccountStore>, DataError> openAccounts() const;

private:
    QString m_dataDirectory;
    std::shared_ptr<PgPool> m_pool;
};

} // namespace tessary::server
