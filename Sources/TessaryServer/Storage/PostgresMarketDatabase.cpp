#include "PostgresMarketDatabase.h"

#include "PgPool.h"

#include <algorithm>
#include <map>

namespace tessary::server {

namespace {

std::unexpected<DataError> failure(const QString& text)
{
    return std::unexpected(DataError { text });
}

} // namespace

class PostgresMarketDatabase::PostgresWriter final : public MarketDatabase::Writer {
public:
    explicit PostgresWriter(PgConnection& connection)
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
    std::expected<void, DataError> run(const char* sql, const PgParams& params);
    PgConnection& m_connection;
};

std::expected<std::unique_ptr<PostgresMarketDatabase>, DataError> PostgresMarketDatabase::open(
    std::shared_ptr<PgPool> pool)
{
    auto listener = PgConnection::connect(pool->conninfo());
    if (!listener)
        return std::unexpected(listener.error());
    if (auto listening = (*listener)->execute("LISTEN tessary_market"); !listening)
        return std::unexpected(listening.error());
    std::unique_ptr<PostgresMarketDatabase> database(new PostgresMarketDatabase(std::move(pool), std::move(*listener)));
    database->reload();
    return database;
}

PostgresMarketDatabase::PostgresMarketDatabase(std::shared_ptr<PgPool> pool, std::unique_ptr<PgConnection> listener)
    : m_pool(std::move(pool))
    , m_listener(std::move(listener))
{
}

PostgresMarketDatabase::~PostgresMarketDatabase() = default;

bool PostgresMarketDatabase::changedElsewhere() const
{
    if (m_listener->isBroken()) {
        // Notifications sent while it was away are lost: assume the worst once it is back.
        m_listener->resetIfBroken();
        return !m_listener->isBroken() && m_listener->execute("LISTEN tessary_market").has_value();
    }
    return m_listener->takeNotifications();
}

std::expected<MarketDatabase::Snapshot, DataError> PostgresMarketDatabase::loadSnapshot() const
{
    auto connection = m_pool->lease();
    // One snapshot of the database for all three reads, whatever commits meanwhile.
    if (auto begun = connection->execute("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"); !begun)
        return std::unexpected(begun.error());
    Snapshot snapshot;
    auto read = [&]() -> std::expected<void, DataError> {
        const auto symbols = connection->query(
            "SELECT id, symbol, name, is_etf, is_fund, market_cap, sector, industry, exchange FROM symbols");
        if (!symbols)
            return std::unexpected(symbols.error());
        for (int row = 0; row < symbols->rows(); ++row) {
            TickerInfo info;
            info.symbol = symbols->text(row, 1);
            info.name = symbols->text(row, 2);
            info.isEtf = *symbols->raw(row, 3) == 't';
            info.isFund = *symbols->raw(row, 4) == 't';
            info.marketCap = symbols->optionalReal(row, 5);
            info.sector = symbols->optionalText(row, 6);
            info.industry = symbols->optionalText(row, 7);
            info.exchange = symbols->optionalText(row, 8);
            snapshot.ids.insert(info.symbol, symbols->integer(row, 0));
            snapshot.universe.push_back(std::move(info));
        }
        const auto meta = connection->query("SELECT key, value FROM meta");
        if (!meta)
            return std::unexpected(meta.error());
        for (int row = 0; row < meta->rows(); ++row)
            snapshot.meta.insert(meta->text(row, 0), meta->text(row, 1));
        // One index probe per symbol; a MAX over the whole table would scan it.
        const auto last = connection->query("SELECT MAX(last.day) FROM symbols CROSS JOIN LATERAL "
                                            "(SELECT day FROM daily_bars WHERE symbol_id = symbols.id "
                                            "ORDER BY day DESC LIMIT 1) AS last");
        if (!last)
            return std::unexpected(last.error());
        if (!last->isNull(0, 0))
            snapshot.lastMarketDate = dateOfDay(last->integer(0, 0));
        return {};
    };
    const auto done = read();
    connection->execute("COMMIT");
    if (!done)
        return std::unexpected(done.error());
    return snapshot;
}

DailyHistory PostgresMarketDatabase::loadDailyBars(qint64 id) const
{
    return loadDailyBars(QList { id }).value(id);
}

IntradayHistory PostgresMarketDatabase::loadIntradayBars(qint64 id) const
{
    return loadIntradayBars(QList { id }).value(id);
}

namespace {

// An array parameter: {1,2,3}.
QString idArray(const QList<qint64>& ids)
{
    QStringList numbers;
    numbers.reserve(ids.size());
    for (const qint64 id : ids)
        numbers.append(QString::number(id));
    return u'{' + numbers.join(u',') + u'}';
}

// The rows come unordered: an ORDER BY made the server sort them all, which took longer than
// sorting each history here (usually already in order). Binary rows: a cold list of 201
// histories is a million numbers, and formatting and parsing them as text took most of its time.
template <typename Bars, typename Key> void sortByTime(Bars& bars, Key key)
{
    if (!std::ranges::is_sorted(bars, {}, key))
        std::ranges::sort(bars, {}, key);
}

} // namespace

QHash<qint64, DailyHistory> PostgresMarketDatabase::loadDailyBars(const QList<qint64>& ids) const
{
    QHash<qint64, DailyHistory> histories;
    const auto rows = m_pool->lease()->queryBinary("SELECT symbol_id, day, close, adj_close FROM daily_bars "
                                                   "WHERE symbol_id = ANY ($1::BIGINT[])",
        PgParams().add(idArray(ids)));
    if (!rows)
        return histories;
    for (int row = 0; row < rows->rows(); ++row) {
        histories[rows->binaryInteger8(row, 0)].push_back(
            DailyBar { dateOfDay(rows->binaryInteger4(row, 1)), rows->binaryReal8(row, 2), rows->binaryReal8(row, 3) });
    }
    return histories;
}

QHash<qint64, IntradayHistory> PostgresMarketDatabase::loadIntradayBars(const QList<qint64>& ids) const
{
    QHash<qint64, IntradayHistory> histories;
    const auto rows = m_pool->lease()->queryBinary("SELECT symbol_id, time, close, adj_close FROM intraday_bars "
                                                   "WHERE symbol_id = ANY ($1::BIGINT[])",
        PgParams().add(idArray(ids)));
    if (!rows)
        return histories;
    for (int row = 0; row < rows->rows(); ++row) {
        histories[rows->binaryInteger8(row, 0)].push_back(
            IntradayBar { rows->binaryInteger8(row, 1), rows->binaryReal8(row, 2), rows->binaryReal8(row, 3) });
    }
    for (IntradayHistory& bars : histories)
        sortByTime(bars, &IntradayBar::time);
    return histories;
}

qint64 PostgresMarketDatabase::countDailyBars() const
{
    const auto count = m_pool->lease()->query("SELECT COUNT(*) FROM daily_bars");
    return count ? count->integer(0, 0) : 0;
}

std::expected<void, DataError> PostgresMarketDatabase::transaction(
    const std::function<std::expected<void, DataError>(Writer&)>& body)
{
    return m_pool->inTransaction<void>([&](PgConnection& connection) -> std::expected<void, DataError> {
        // Imports run one after another: each reads the last stored bar before it appends.
        if (auto locked = connection.execute("SELECT pg_advisory_xact_lock(7360412)"); !locked)
            return locked;
        PostgresWriter writer(connection);
        if (auto done = body(writer); !done)
            return done;
        // Delivered on commit only, so no process reloads a write that was rolled back.
        return connection.execute("NOTIFY tessary_market");
    });
}

// The writer ---------------------------------------------------------------------------------

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::run(const char* sql, const PgParams& params)
{
    const auto done = m_connection.query(sql, params);
    if (!done)
        return std::unexpected(done.error());
    return {};
}

std::expected<qint64, DataError> PostgresMarketDatabase::PostgresWriter::symbolId(const QString& symbol)
{
    const auto query = m_connection.query("SELECT id FROM symbols WHERE symbol = $1", PgParams().add(symbol));
    if (!query)
        return std::unexpected(query.error());
    if (query->rows() == 0)
        return failure(QStringLiteral("unknown symbol %1").arg(symbol));
    return query->integer(0, 0);
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::upsertSymbol(
    const TickerInfo& info, bool keepKnown)
{
    const char* sql = keepKnown
        ? "INSERT INTO symbols (symbol, name, is_etf, is_fund, market_cap, sector, industry, exchange) "
          "VALUES ($1, $2, $3, $4, $5, $6, $7, $8) ON CONFLICT (symbol) DO UPDATE SET "
          "name = CASE WHEN $2 = $1 THEN symbols.name ELSE $2 END, is_etf = $3, is_fund = $4, "
          "market_cap = COALESCE($5, symbols.market_cap), sector = COALESCE($6, symbols.sector), "
          "industry = COALESCE($7, symbols.industry), exchange = COALESCE($8, symbols.exchange)"
        : "INSERT INTO symbols (symbol, name, is_etf, is_fund, market_cap, sector, industry, exchange) "
          "VALUES ($1, $2, $3, $4, $5, $6, $7, $8) ON CONFLICT (symbol) DO UPDATE SET "
          "name = $2, is_etf = $3, is_fund = $4, market_cap = $5, sector = $6, industry = $7, exchange = $8";
    return run(sql,
        PgParams()
            .add(info.symbol)
            .add(info.name.isEmpty() ? info.symbol : info.name)
            .add(QString::fromLatin1(info.isEtf ? "true" : "false"))
            .add(QString::fromLatin1(info.isFund ? "true" : "false"))
            .add(info.marketCap)
            .add(info.sector)
            .add(info.industry)
            .add(info.exchange));
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::ensureSymbol(const QString& symbol)
{
    return run(
        "INSERT INTO symbols (symbol, name) VALUES ($1, $1) ON CONFLICT (symbol) DO NOTHING", PgParams().add(symbol));
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::replaceDailyBars(
    const QString& symbol, std::span<const DailyBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    if (auto removed = run("DELETE FROM daily_bars WHERE symbol_id = $1", PgParams().add(*id)); !removed)
        return removed;
    return appendDailyBars(symbol, bars);
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::appendDailyBars(
    const QString& symbol, std::span<const DailyBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    const auto last = lastDailyBar(symbol);
    // COPY: one round trip for a whole history instead of one per bar. Later bars of one day
    // win, as they would by replacing the earlier row.
    std::map<qint64, const DailyBar*> days;
    for (const DailyBar& bar : bars) {
        if (!last || bar.date > last->date)
            days[dayNumber(bar.date)] = &bar;
    }
    if (days.empty())
        return {};
    const QByteArray prefix = QByteArray::number(*id) + '\t';
    QByteArray rows;
    rows.reserve(qsizetype(days.size()) * 48);
    for (const auto& [day, bar] : days)
        rows += prefix + QByteArray::number(day) + '\t' + pgNumber(bar->close) + '\t' + pgNumber(bar->adjClose) + '\n';
    return m_connection.copyIn("COPY daily_bars (symbol_id, day, close, adj_close) FROM STDIN", rows);
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::replaceIntradayBars(
    const QString& symbol, std::span<const IntradayBar> bars)
{
    const auto id = symbolId(symbol);
    if (!id)
        return std::unexpected(id.error());
    if (auto removed = run("DELETE FROM intraday_bars WHERE symbol_id = $1", PgParams().add(*id)); !removed)
        return removed;
    std::map<qint64, const IntradayBar*> times;
    for (const IntradayBar& bar : bars)
        times[bar.time] = &bar;
    if (times.empty())
        return {};
    const QByteArray prefix = QByteArray::number(*id) + '\t';
    QByteArray rows;
    for (const auto& [time, bar] : times)
        rows += prefix + QByteArray::number(time) + '\t' + pgNumber(bar->close) + '\t' + pgNumber(bar->adjClose) + '\n';
    return m_connection.copyIn("COPY intraday_bars (symbol_id, time, close, adj_close) FROM STDIN", rows);
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::removeAllBars()
{
    return m_connection.execute("DELETE FROM daily_bars; DELETE FROM intraday_bars");
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::setMeta(const QString& key, const QString& value)
{
    return run("INSERT INTO meta (key, value) VALUES ($1, $2) ON CONFLICT (key) DO UPDATE SET value = $2",
        PgParams().add(key).add(value));
}

std::expected<void, DataError> PostgresMarketDatabase::PostgresWriter::removeMeta(const QString& key)
{
    return run("DELETE FROM meta WHERE key = $1", PgParams().add(key));
}

std::optional<DailyBar> PostgresMarketDatabase::PostgresWriter::lastDailyBar(const QString& symbol)
{
    const auto query = m_connection.query("SELECT day, close, adj_close FROM daily_bars WHERE symbol_id = "
                                          "(SELECT id FROM symbols WHERE symbol = $1) ORDER BY day DESC LIMIT 1",
        PgParams().add(symbol));
    if (!query || query->rows() == 0)
        return std::nullopt;
    return DailyBar { dateOfDay(query->integer(0, 0)), query->real(0, 1), query->real(0, 2) };
}

} // namespace tessary::server
