#pragma once

#include <QDate>
#include <QHash>
#include <QString>

#include <expected>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "TessaryServer/Data/DataError.h"
#include "TessaryServer/Data/StoreFile.h"
#include "TessaryServer/MarketReader.h"

namespace tessary::server {

// The server's market data: the symbols and their metadata, daily and 15-minute bars and a
// little bookkeeping, in SQLite (SqliteMarketDatabase, the store file it shares with the
// accounts) or PostgreSQL. Reads are served from memory: the universe is loaded once, a
// symbol's bars on first use, and both are handed out as shared immutable snapshots. Writes go
// through `write`, one transaction each. Calls are serialised, so the reader may be used from
// the server's thread. This class keeps the snapshots; a backend only loads and stores rows.
class MarketDatabase : public MarketReader {
public:
    static constexpr auto fileName = storeFileName;
    // Keys of the meta table.
    static constexpr auto dataSourceKey = "data_source"; // "simulated" or "imported"
    static constexpr auto demoSeedKey = "demo_seed";
    static constexpr auto lastDemoDateKey = "last_demo_date";
    // Where imported prices were last fetched from, and when (ISO 8601, UTC).
    static constexpr auto providerKey = "price_provider";
    static constexpr auto lastRefreshKey = "last_refresh";

    // Opens (creating the directory and the schema when missing) the SQLite store in `directory`.
    static std::expected<std::unique_ptr<MarketDatabase>, DataError> open(const QString& directory);
    ~MarketDatabase() override = default;
    MarketDatabase(const MarketDatabase&) = delete;
    MarketDatabase& operator=(const MarketDatabase&) = delete;

    std::shared_ptr<const Universe> universe() const override;
    std::optional<TickerInfo> find(QStringView symbol) const override;
    std::shared_ptr<const DailyHistory> dailyBars(const QString& symbol) const override;
    std::shared_ptr<const IntradayHistory> intradayBars(const QString& symbol) const override;
    std::optional<QDate> lastMarketDate() const override;
    DataSource dataSource() const override;
    DataOrigin dataOrigin() const override;
    void prefetch(const QStringList& symbols) const override;

    // No symbol at all: a fresh database the demo market may seed.
    bool isEmpty() const { return universe()->empty(); }
    std::optional<QString> metaValue(const QString& key) const;
    std::optional<quint64> demoSeed() const;
    std::optional<QDate> lastDemoDate() const;
    qint64 dailyBarCount() const;

    // The write side, usable only inside `write`.
    class Writer {
    public:
        virtual ~Writer() = default;
        // Adds the symbol, or updates it; with `keepKnown`, fields the new record leaves
        // empty keep their stored value.
        virtual std::expected<void, DataError> upsertSymbol(const TickerInfo& info, bool keepKnown = true) = 0;
        // Adds the symbol under its own name unless it exists.
        virtual std::expected<void, DataError> ensureSymbol(const QString& symbol) = 0;
        // Replaces all daily bars of a symbol.
        virtual std::expected<void, DataError> replaceDailyBars(const QString& symbol, std::span<const DailyBar> bars)
            = 0;
        // Adds bars after the last stored one (bars on or before it are ignored).
        virtual std::expected<void, DataError> appendDailyBars(const QString& symbol, std::span<const DailyBar> bars)
            = 0;
        virtual std::expected<void, DataError> replaceIntradayBars(
            const QString& symbol, std::span<const IntradayBar> bars)
            = 0;
        // Removes every daily and intraday bar, keeping the symbols.
        virtual std::expected<void, DataError> removeAllBars() = 0;
        virtual std::expected<void, DataError> setMeta(const QString& key, const QString& value) = 0;
        virtual std::expected<void, DataError> removeMeta(const QString& key) = 0;
        // The last stored daily bar of a symbol (for extending a history).
        virtual std::optional<DailyBar> lastDailyBar(const QString& symbol) = 0;

    protected:
        Writer() = default;
        Writer(const Writer&) = default;
        Writer& operator=(const Writer&) = default;
    };

    // Runs `body` in one transaction: everything or, when it fails, nothing. Afterwards the
    // in-memory snapshots are reloaded, so readers see the new data.
    std::expected<void, DataError> write(const std::function<std::expected<void, DataError>(Writer&)>& body);

protected:
    // What `reload` reads in one go; `ids` maps each symbol to the key its bars are stored under.
    struct Snapshot {
        Universe universe;
        QHash<QString, qint64> ids;
        QHash<QString, QString> meta;
        std::optional<QDate> lastMarketDate;
    };

    MarketDatabase() = default;
    // Loads the snapshot; the subclass calls it once it is ready to read.
    void reload() const;

    virtual std::expected<Snapshot, DataError> loadSnapshot() const = 0;
    virtual DailyHistory loadDailyBars(qint64 id) const = 0;
    virtual IntradayHistory loadIntradayBars(qint64 id) const = 0;
    // The histories of several symbols by id; one by one unless a backend can do better.
    virtual QHash<qint64, DailyHistory> loadDailyBars(const QList<qint64>& ids) const;
    virtual QHash<qint64, IntradayHistory> loadIntradayBars(const QList<qint64>& ids) const;
    virtual qint64 countDailyBars() const = 0;
    // Runs `body` on a writer inside one transaction, committing only when it succeeds.
    virtual std::expected<void, DataError> transaction(
        const std::function<std::expected<void, DataError>(Writer&)>& body)
        = 0;
    // True when another process changed the data since the last load, so the snapshots are stale.
    virtual bool changedElsewhere() const { return false; }

    // Days are stored as whole days since 1970-01-01: small integers, ordered, cheap to compare.
    static qint64 dayNumber(QDate date);
    static QDate dateOfDay(qint64 day);

private:
    // Reloads when another process wrote; call with the mutex held.
    void refresh() const;

    mutable std::recursive_mutex m_mutex;
    // Mutable: a reader that finds the data changed elsewhere reloads it.
    mutable std::shared_ptr<const Universe> m_universe = std::make_shared<const Universe>();
    mutable QHash<QString, qint64> m_ids;
    mutable QHash<QString, QString> m_meta;
    mutable std::optional<QDate> m_lastMarketDate;
    mutable QHash<QString, std::shared_ptr<const DailyHistory>> m_daily;
    mutable QHash<QString, std::shared_ptr<const IntradayHistory>> m_intraday;
};

} // namespace tessary::server
