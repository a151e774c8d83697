#pragma once

#include "TessaryServer/Data/MarketDatabase.h"

struct sqlite3;

namespace tessary::server {

// The market data in the server's SQLite store file (StoreFile.h), which it shares with the
// accounts. A server on this file sees another process's import after its next own write or
// restart; several serving processes want PostgreSQL.
class SqliteMarketDatabase final : public MarketDatabase {
public:
    static std::expected<std::unique_ptr<SqliteMarketDatabase>, DataError> open(const QString& directory);
    ~SqliteMarketDatabase() override;

    QString filePath() const { return m_path; }

protected:
    std::expected<Snapshot, DataError> loadSnapshot() const override;
    DailyHistory loadDailyBars(qint64 id) const override;
    IntradayHistory loadIntradayBars(qint64 id) const override;
    qint64 countDailyBars() const override;
    std::expected<void, DataError> transaction(
        const std::function<std::expected<void, DataError>(Writer&)>& body) override;

private:
    class SqliteWriter;
    SqliteMarketDatabase(sqlite3* connection, QString path);

    sqlite3* m_connection = nullptr;
    QString m_path;
};

} // namespace tessary::server
