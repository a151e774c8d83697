#pragma once

#include "TessaryServer/Data/MarketDatabase.h"

namespace tessary::server {

class PgConnection;
class PgPool;

// The market data in PostgreSQL, for several server processes on one database. Every write
// announces itself (NOTIFY) on commit; each process listens on a connection of its own and
// reloads its snapshots before the next read, so an import through any process, or the command
// line, is served by all of them.
class PostgresMarketDatabase final : public MarketDatabase {
public:
    static std::expected<std::unique_ptr<PostgresMarketDatabase>, DataError> open(std::shared_ptr<PgPool> pool);
    ~PostgresMarketDatabase() override;

protected:
    std::expected<Snapshot, DataError> loadSnapshot() const override;
    DailyHistory loadDailyBars(qint64 id) const override;
    IntradayHistory loadIntradayBars(qint64 id) const override;
    QHash<qint64, DailyHistory> loadDailyBars(const QList<qint64>& ids) const override;
    QHash<qint64, IntradayHistory> loadIntradayBars(const QList<qint64>& ids) const override;
    qint64 countDailyBars() const override;
    std::expected<void, DataError> transaction(
        const std::function<std::expected<void, DataError>(Writer&)>& body) override;
    bool changedElsewhere() const override;

private:
    class PostgresWriter;
    PostgresMarketDatabase(std::shared_ptr<PgPool> pool, std::unique_ptr<PgConnection> listener);

    std::shared_ptr<PgPool> m_pool;
    std::unique_ptr<PgConnection> m_listener;
};

} // namespace tessary::server
