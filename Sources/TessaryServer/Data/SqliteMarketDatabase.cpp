#include "TessaryServer/Data/SqliteMarketDatabase.h"

#include <QDir>

#include <sqlite3.h>

#include "TessaryServer/Data/Statement.h"
#include "TessaryServer/Data/StoreFile.h"

namespace tessary::server {

namespace {

std::unexpected<DataError> failure(const QString& text)
{
    return std::unexpected(DataError { text });
}

} // namespace

class SqliteMarketDatabase::SqliteWriter final : public MarketDatabase::Writer {
public:
    explicit SqliteWriter(sqlite3* connection)
        : m_connection(connection)
    {
    }

    std::expected<void, DataError> upsertSymbol(const TickerInfo& info, bool keepKnown) override;
    std::expected<void, DataError> ensureSymbol(const QString& symbol) override;
    std::expected<void, DataError> replaceDailyBars(const QString& symbol, std::span<const DailyBar> bars) override;
    std::expected<void, DataError> appendDailyBars(const QString& symbol, std::span<const DailyBar> bars) override;
    std::expected<void, DataError> replaceIntradayBars(
        const QString& symbol, std::span<const IntradayBar> bars) override;
    std::expected<void, DataError> removeAllBars() override;
    std::expected<void, DataError> setMeta(const QString& key, const QString& value) override;
    std::expected<void, DataError> removeMeta(const QString& key) override;
    std::optional<DailyBar> lastDailyBar(const QString& symbol) override;

private:
    std::expected<qint64, DataError> symbolId(const QString& symbol);
    sqlite3* m_connection;
};

std::expected<std::unique_ptr<SqliteMarketDatabase>, DataError> SqliteMarketDatabase::open(const QString& directory)
{
    auto connection = openStoreFile(directory);
    if (!connection)
        return std::unexpected(connection.error());
    std::unique_ptr<SqliteMarketDatabase> database(
        new SqliteMarketDatabase(*connection, QDir(directory).filePath(QString::fromLatin1(fileName))));
    database->reload();
    return database;
}

SqliteMarketDatabase::SqliteMarketDatabase(sqlite3* connection, QString path)
    : m_connection(connection)
    , m_path(std::move(path))
{
}

SqliteMarketDatabase::~SqliteMarketDatabase()
{
    sqlite3_close(m_connection);
}

std::expected<MarketDatabase::Snapshot, DataError> SqliteMarketDatabase::loadSnapshot() const
{
    Snapshot snapshot;
    auto symbols = Statement::prepare(
        m_connection, "SELECT id, symbol, name, is_etf, is_fund, market_cap, sector, industry, exchange FROM symbols");
    if (!symbols)
        return std::unexpected(symbols.error());
    while (symbols->next()) {
        TickerInfo info;
        info.symbol = symbols->text(1);
        info.name = symbols->text(2);
        info.isEtf = symbols->integer(3) != 0;
        info.isFund = symbols->integer(4) != 0;
        info.marketCap = symbols->optionalReal(5);
        info.sector = symbols->optionalText(6);
        info.industry = symbols->optionalText(7);
        info.exchange = symbols->optionalText(8);
        snapshot.ids.insert(info.symbol, symbols->integer(0));
        snapshot.universe.push_back(std::move(info));
    }
    if (auto meta = Statement::prepare(m_connection, "SELECT key, value FROM meta")) {
        while (meta->next())
            snapshot.meta.insert(meta->text(0), meta->text(1));
    }
    // One index probe per symbol; a MAX over the whole table would scan it.
    if (auto last = Statement::prepare(m_connection, "SELECT MAX(day) FROM daily_bars WHERE symbol_id = ?")) {
        std::optional<qint64> latest;
        for (const qint64 id : std::as_const(snapshot.ids)) {
            last->bind(1, id);
            if (last->next() && last->optionalReal(0))
                latest = std::max(latest.value_or(last->integer(0)), last->integer(0));
            last->reset();
        }
        if (latest)
            snapshot.lastMarketDate = dateOfDay(*latest);
    }
    return snapshot;
}

DailyHistory SqliteMarketDatabase::loadDailyBars(qint64 id) const
{
    DailyHistory bars;
    if (auto rows = Statement::prepare(
            m_connection, "SELECT day, close, adj_close FROM daily_bars WHERE symbol_id = ? ORDER BY day")) {
        rows->bind(1, id);
        while (rows->next())
            bars.push_back(DailyBar { dateOfDay(rows->integer(0)), rows->real(1), rows->real(2) });
    }
    return bars;
}

IntradayHistory SqliteMarketDatabase::loadIntradayBars(qint64 id) const
{
    IntradayHistory bars;
    if (auto rows = Statement::prepare(
            m_connection, "SELECT time, close, adj_close FROM intraday_bars WHERE symbol_id = ? ORDER BY time")) {
        rows->bind(1, id);
        while (rows->next())
            bars.push_back(IntradayBar { rows->integer(0), rows->real(1), rows->real(2) });
    }
    return bars;
}

qint64 SqliteMarketDatabase::countDailyBars() const
{
    auto count = Statement::prepare(m_connection, "SELECT COUNT(*) FROM daily_bars");
    return count && count->next() ? count->integer(0) : 0;
}

std::expected<void, DataError> SqliteMarketDatabase::transaction(
    const std::function<std::expected<void, DataError>(Writer&)>& body)
{
    if (auto begun = execute(m_connection, "BEGIN IMMEDIATE"); !begun)
        return begun;
    SqliteWriter writer(m_connection);
    auto done = body(writer);
    if (done)
        done = execute(m_connection, "COMMIT");
    if (!done)
        execute(m_connection, "ROLLBACK");
    // A large write leaves a large log behind; fold it into the database file now.
    execute(m_connection, "PRAGMA wal_checkpoint(TRUNCATE)");
    return done;
}

// The writer ---------------------------------------------------------------------------------

std::expected<qint64, DataError> SqliteMarketDatabase::SqliteWriter::symbolId(const QString& symbol)
{
    auto query = Statement::prepare(m_connection, "SELECT id FROM symbols WHERE symbol = ?");
    if (!query)
        return std::unexpected(query.error());
    query->bind(1, symbol);
    if (query->next())
        return query->integer(0);
    return failure(QStringLiteral("unknown symbol %1").arg(symbol));
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::upsertSymbol(const TickerInfo& info, bool keepKnown)
{
    const char* sql = keepKnown
        ? "INSERT INTO symbols (symbol, name, is_etf, is_fund, market_cap, sector, industry, exchange) "
          "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8) ON CONFLICT (symbol) DO UPDATE SET "
          "name = CASE WHEN ?2 = ?1 THEN name ELSE ?2 END, is_etf = ?3, is_fund = ?4, "
          "market_cap = COALESCE(?5, market_cap), sector = COALESCE(?6, sector), "
          "industry = COALESCE(?7, industry), exchange = COALESCE(?8, exchange)"
        : "INSERT INTO symbols (symbol, name, is_etf, is_fund, market_cap, sector, industry, exchange) "
          "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8) ON CONFLICT (symbol) DO UPDATE SET "
          "name = ?2, is_etf = ?3, is_fund = ?4, market_cap = ?5, sector = ?6, industry = ?7, exchange = ?8";
    auto statement = Statement::prepare(m_connection, sql);
    if (!statement)
        return std::unexpected(statement.error());
    statement->bind(1, info.symbol);
    statement->bind(2, info.name.isEmpty() ? info.symbol : info.name);
    statement->bind(3, qint64(info.isEtf));
    statement->bind(4, qint64(info.isFund));
    statement->bind(5, info.marketCap);
    statement->bind(6, info.sector);
    statement->bind(7, info.industry);
    statement->bind(8, info.exchange);
    return statement->run();
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::ensureSymbol(const QString& symbol)
{
    auto statement = Statement::prepare(m_connection, "INSERT OR IGNORE INTO symbols (symbol, name) VALUES (?1, ?1)");
    if (!statement)
        return std::unexpected(statement.error());
    statement->bind(1, symbol);
    return statement->run();
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::replaceDailyBars(
    const QString& symbol, std::span<const DailyBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    auto removal = Statement::prepare(m_connection, "DELETE FROM daily_bars WHERE symbol_id = ?");
    if (!removal)
        return std::unexpected(removal.error());
    removal->bind(1, *id);
    if (auto removed = removal->run(); !removed)
        return removed;
    return appendDailyBars(symbol, bars);
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::appendDailyBars(
    const QString& symbol, std::span<const DailyBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    const auto last = lastDailyBar(symbol);
    auto insert = Statement::prepare(
        m_connection, "INSERT INTO daily_bars (symbol_id, day, close, adj_close) VALUES (?, ?, ?, ?)");
    if (!insert)
        return std::unexpected(insert.error());
    for (const DailyBar& bar : bars) {
        if (last && bar.date <= last->date)
            continue;
        insert->bind(1, *id);
        insert->bind(2, dayNumber(bar.date));
        insert->bind(3, bar.close);
        insert->bind(4, bar.adjClose);
        if (auto inserted = insert->run(); !inserted)
            return inserted;
    }
    return {};
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::replaceIntradayBars(
    const QString& symbol, std::span<const IntradayBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    auto removal = Statement::prepare(m_connection, "DELETE FROM intraday_bars WHERE symbol_id = ?");
    auto insert = Statement::prepare(m_connection,
        "INSERT OR REPLACE INTO intraday_bars (symbol_id, time, close, adj_close) "
        "VALUES (?, ?, ?, ?)");
    if (!removal || !insert)
        return std::unexpected(!removal ? removal.error() : insert.error());
    removal->bind(1, *id);
    if (auto removed = removal->run(); !removed)
        return removed;
    for (const IntradayBar& bar : bars) {
        insert->bind(1, *id);
        insert->bind(2, bar.time);
        insert->bind(3, bar.close);
        insert->bind(4, bar.adjClose);
        if (auto inserted = insert->run(); !inserted)
            return inserted;
    }
    return {};
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::removeAllBars()
{
    auto done = execute(m_connection, "DELETE FROM daily_bars");
    return done ? execute(m_connection, "DELETE FROM intraday_bars") : done;
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::setMeta(const QString& key, const QString& value)
{
    auto statement = Statement::prepare(m_connection, "INSERT OR REPLACE INTO meta (key, value) VALUES (?, ?)");
    if (!statement)
        return std::unexpected(statement.error());
    statement->bind(1, key);
    statement->bind(2, value);
    return statement->run();
}

std::expected<void, DataError> SqliteMarketDatabase::SqliteWriter::removeMeta(const QString& key)
{
    auto statement = Statement::prepare(m_connection, "DELETE FROM meta WHERE key = ?");
    if (!statement)
        return std::unexpected(statement.error());
    statement->bind(1, key);
    return statement->run();
}

std::optional<DailyBar> SqliteMarketDatabase::SqliteWriter::lastDailyBar(const QString& symbol)
{
    auto query = Statement::prepare(m_connection,
        "SELECT day, close, adj_close FROM daily_bars WHERE symbol_id = "
        "(SELECT id FROM symbols WHERE symbol = ?) ORDER BY day DESC LIMIT 1");
    if (!query)
        return std::nullopt;
    query->bind(1, symbol);
    if (!query->next())
        return std::nullopt;
    return DailyBar { dateOfDay(query->integer(0)), query->real(1), query->real(2) };
}

} // namespace tessary::server
