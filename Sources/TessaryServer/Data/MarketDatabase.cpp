#include "TessaryServer/Data/MarketDatabase.h"

#include <QDir>

#include <algorithm>
#include <sqlite3.h>

#include "TessaryServer/Data/Statement.h"
#include "TessaryServer/Data/StoreFile.h"

namespace tessary::server {

namespace {

// Days are stored as whole days since 1970-01-01: small integers, ordered, cheap to compare.
constexpr qint64 epochJulianDay = 2440588;
qint64 dayNumber(QDate date)
{
    return date.toJulianDay() - epochJulianDay;
}
QDate dateOfDay(qint64 day)
{
    return QDate::fromJulianDay(day + epochJulianDay);
}

std::unexpected<DataError> failure(const QString& text)
{
    return std::unexpected(DataError { text });
}

} // namespace

std::expected<std::unique_ptr<MarketDatabase>, DataError> MarketDatabase::open(const QString& directory)
{
    auto connection = openStoreFile(directory);
    if (!connection)
        return std::unexpected(connection.error());
    std::unique_ptr<MarketDatabase> database(
        new MarketDatabase(*connection, QDir(directory).filePath(QString::fromLatin1(fileName))));
    database->reload();
    return database;
}

MarketDatabase::MarketDatabase(sqlite3* connection, QString path)
    : m_connection(connection)
    , m_path(std::move(path))
{
}

MarketDatabase::~MarketDatabase()
{
    sqlite3_close(m_connection);
}

void MarketDatabase::reload()
{
    std::lock_guard lock(m_mutex);
    auto universe = std::make_shared<Universe>();
    m_ids.clear();
    m_meta.clear();
    m_daily.clear();
    m_intraday.clear();
    m_lastMarketDate.reset();
    if (auto symbols = Statement::prepare(m_connection,
            "SELECT id, symbol, name, is_etf, is_fund, market_cap, "
            "sector, industry, exchange FROM symbols")) {
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
            m_ids.insert(info.symbol, symbols->integer(0));
            universe->push_back(std::move(info));
        }
    }
    std::ranges::sort(*universe, {}, &TickerInfo::symbol);
    // Handlers on the server's thread may still hold the old snapshot; it stays theirs.
    m_universe = std::move(universe);
    if (auto meta = Statement::prepare(m_connection, "SELECT key, value FROM meta")) {
        while (meta->next())
            m_meta.insert(meta->text(0), meta->text(1));
    }
    // One index probe per symbol; a MAX over the whole table would scan it.
    if (auto last = Statement::prepare(m_connection, "SELECT MAX(day) FROM daily_bars WHERE symbol_id = ?")) {
        std::optional<qint64> latest;
        for (const qint64 id : std::as_const(m_ids)) {
            last->bind(1, id);
            if (last->next() && last->optionalReal(0))
                latest = std::max(latest.value_or(last->integer(0)), last->integer(0));
            last->reset();
        }
        if (latest)
            m_lastMarketDate = dateOfDay(*latest);
    }
}

std::shared_ptr<const Universe> MarketDatabase::universe() const
{
    std::lock_guard lock(m_mutex);
    return m_universe;
}

std::optional<TickerInfo> MarketDatabase::find(QStringView symbol) const
{
    const auto snapshot = universe();
    const auto found = std::ranges::lower_bound(
        *snapshot, symbol, {}, [](const TickerInfo& info) { return QStringView(info.symbol); });
    if (found == snapshot->end() || found->symbol != symbol)
        return std::nullopt;
    return *found;
}

std::shared_ptr<const DailyHistory> MarketDatabase::dailyBars(const QString& symbol) const
{
    std::lock_guard lock(m_mutex);
    if (const auto cached = m_daily.constFind(symbol); cached != m_daily.cend())
        return *cached;
    auto bars = std::make_shared<DailyHistory>();
    if (const auto id = m_ids.constFind(symbol); id != m_ids.cend()) {
        if (auto rows = Statement::prepare(
                m_connection, "SELECT day, close, adj_close FROM daily_bars WHERE symbol_id = ? ORDER BY day")) {
            rows->bind(1, *id);
            while (rows->next())
                bars->push_back(DailyBar { dateOfDay(rows->integer(0)), rows->real(1), rows->real(2) });
        }
    }
    m_daily.insert(symbol, bars);
    return bars;
}

std::shared_ptr<const IntradayHistory> MarketDatabase::intradayBars(const QString& symbol) const
{
    std::lock_guard lock(m_mutex);
    if (const auto cached = m_intraday.constFind(symbol); cached != m_intraday.cend())
        return *cached;
    auto bars = std::make_shared<IntradayHistory>();
    if (const auto id = m_ids.constFind(symbol); id != m_ids.cend()) {
        if (auto rows = Statement::prepare(
                m_connection, "SELECT time, close, adj_close FROM intraday_bars WHERE symbol_id = ? ORDER BY time")) {
            rows->bind(1, *id);
            while (rows->next())
                bars->push_back(IntradayBar { rows->integer(0), rows->real(1), rows->real(2) });
        }
    }
    m_intraday.insert(symbol, bars);
    return bars;
}

std::optional<QDate> MarketDatabase::lastMarketDate() const
{
    std::lock_guard lock(m_mutex);
    return m_lastMarketDate;
}

DataSource MarketDatabase::dataSource() const
{
    const auto source = metaValue(QString::fromLatin1(dataSourceKey));
    if (source)
        return *source == QLatin1String("simulated") ? DataSource::simulated : DataSource::imported;
    return demoSeed() ? DataSource::simulated : DataSource::imported;
}

DataOrigin MarketDatabase::dataOrigin() const
{
    return DataOrigin { metaValue(QString::fromLatin1(providerKey)), metaValue(QString::fromLatin1(lastRefreshKey)) };
}

std::optional<QString> MarketDatabase::metaValue(const QString& key) const
{
    std::lock_guard lock(m_mutex);
    if (const auto found = m_meta.constFind(key); found != m_meta.cend())
        return *found;
    return std::nullopt;
}

std::optional<quint64> MarketDatabase::demoSeed() const
{
    bool ok = false;
    const quint64 seed = metaValue(QString::fromLatin1(demoSeedKey)).value_or(QString()).toULongLong(&ok);
    return ok ? std::optional(seed) : std::nullopt;
}

std::optional<QDate> MarketDatabase::lastDemoDate() const
{
    const QDate date
        = QDate::fromString(metaValue(QString::fromLatin1(lastDemoDateKey)).value_or(QString()), Qt::ISODate);
    return date.isValid() ? std::optional(date) : std::nullopt;
}

qint64 MarketDatabase::dailyBarCount() const
{
    std::lock_guard lock(m_mutex);
    auto count = Statement::prepare(m_connection, "SELECT COUNT(*) FROM daily_bars");
    return count && count->next() ? count->integer(0) : 0;
}

std::expected<void, DataError> MarketDatabase::write(const std::function<std::expected<void, DataError>(Writer&)>& body)
{
    std::lock_guard lock(m_mutex);
    if (auto begun = execute(m_connection, "BEGIN IMMEDIATE"); !begun)
        return begun;
    Writer writer(*this);
    auto done = body(writer);
    if (done)
        done = execute(m_connection, "COMMIT");
    if (!done)
        execute(m_connection, "ROLLBACK");
    // A large write leaves a large log behind; fold it into the database file now.
    execute(m_connection, "PRAGMA wal_checkpoint(TRUNCATE)");
    reload();
    return done;
}

// The writer ---------------------------------------------------------------------------------

std::expected<qint64, DataError> MarketDatabase::Writer::symbolId(const QString& symbol)
{
    auto query = Statement::prepare(m_database.m_connection, "SELECT id FROM symbols WHERE symbol = ?");
    if (!query)
        return std::unexpected(query.error());
    query->bind(1, symbol);
    if (query->next())
        return query->integer(0);
    return failure(QStringLiteral("unknown symbol %1").arg(symbol));
}

std::expected<void, DataError> MarketDatabase::Writer::upsertSymbol(const TickerInfo& info, bool keepKnown)
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
    auto statement = Statement::prepare(m_database.m_connection, sql);
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

std::expected<void, DataError> MarketDatabase::Writer::ensureSymbol(const QString& symbol)
{
    auto statement
        = Statement::prepare(m_database.m_connection, "INSERT OR IGNORE INTO symbols (symbol, name) VALUES (?1, ?1)");
    if (!statement)
        return std::unexpected(statement.error());
    statement->bind(1, symbol);
    return statement->run();
}

std::expected<void, DataError> MarketDatabase::Writer::replaceDailyBars(
    const QString& symbol, std::span<const DailyBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    auto removal = Statement::prepare(m_database.m_connection, "DELETE FROM daily_bars WHERE symbol_id = ?");
    if (!removal)
        return std::unexpected(removal.error());
    removal->bind(1, *id);
    if (auto removed = removal->run(); !removed)
        return removed;
    return appendDailyBars(symbol, bars);
}

std::expected<void, DataError> MarketDatabase::Writer::appendDailyBars(
    const QString& symbol, std::span<const DailyBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    const auto last = lastDailyBar(symbol);
    auto insert = Statement::prepare(
        m_database.m_connection, "INSERT INTO daily_bars (symbol_id, day, close, adj_close) VALUES (?, ?, ?, ?)");
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

std::expected<void, DataError> MarketDatabase::Writer::replaceIntradayBars(
    const QString& symbol, std::span<const IntradayBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    auto removal = Statement::prepare(m_database.m_connection, "DELETE FROM intraday_bars WHERE symbol_id = ?");
    auto insert = Statement::prepare(m_database.m_connection,
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

std::expected<void, DataError> MarketDatabase::Writer::removeAllBars()
{
    auto done = execute(m_database.m_connection, "DELETE FROM daily_bars");
    return done ? execute(m_database.m_connection, "DELETE FROM intraday_bars") : done;
}

std::expected<void, DataError> MarketDatabase::Writer::setMeta(const QString& key, const QString& value)
{
    auto statement
        = Statement::prepare(m_database.m_connection, "INSERT OR REPLACE INTO meta (key, value) VALUES (?, ?)");
    if (!statement)
        return std::unexpected(statement.error());
    statement->bind(1, key);
    statement->bind(2, value);
    return statement->run();
}

std::expected<void, DataError> MarketDatabase::Writer::removeMeta(const QString& key)
{
    auto statement = Statement::prepare(m_database.m_connection, "DELETE FROM meta WHERE key = ?");
    if (!statement)
        return std::unexpected(statement.error());
    statement->bind(1, key);
    return statement->run();
}

std::optional<DailyBar> MarketDatabase::Writer::lastDailyBar(const QString& symbol)
{
    auto query = Statement::prepare(m_database.m_connection,
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
