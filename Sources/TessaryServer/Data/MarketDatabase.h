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

struct sqlite3;

namespace tessary::server {

// The server's market data, in the store file it shares with the accounts (StoreFile.h): the
// symbols and their metadata, daily and 15-minute bars and a little bookkeeping. Reads are
// served from memory: the universe is loaded once, a symbol's bars on first use, and both are
// handed out as shared immutable snapshots. Writes go through `write`, one transaction each.
// The connection is serialised, so the reader may be used from the server's thread.
class MarketDatabase final : public MarketReader {
public:
    static constexpr auto fileName = storeFileName;
    // Keys of the meta table.
    static constexpr auto dataSourceKey = "data_source"; // "simulated" or "imported"
    static constexpr auto demoSeedKey = "demo_seed";
    static constexpr auto lastDemoDateKey = "last_demo_date";
    // Where imported prices were last fetched from, and when (ISO 8601, UTC).
    static constexpr auto providerKey = "price_provider";
    static constexpr auto lastRefreshKey = "last_refresh";

    // Opens (creating the directory and the schema when missing) the store in `directory`.
    static std::expected<std::unique_ptr<MarketDatabase>, DataError> open(const QString& directory);
    ~MarketDatabase() override;
    MarketDatabase(const MarketDatabase&) = delete;
    MarketDatabase& operator=(const MarketDatabase&) = delete;

    QString filePath() const { return m_path; }

    std::shared_ptr<const Universe> universe() const override;
    std::optional<TickerInfo> find(QStringView symbol) const override;
    std::shared_ptr<const DailyHistory> dailyBars(const QString& symbol) const override;
    std::shared_ptr<const IntradayHistory> intradayBars(const QString& symbol) const override;
    std::optional<QDate> lastMarketDate() const override;
    DataSource dataSource() const override;
    DataOrigin dataOrigin() const override;

    // No symbol at all: a fresh database the demo market may seed.
    bool isEmpty() const { return universe()->empty(); }
    std::optional<QString> metaValue(const QString& key) const;
    std::optional<quint64> demoSeed() const;
    std::optional<QDate> lastDemoDate() const;
    qint64 dailyBarCount() const;

    // The write side, usable only inside `write`.
    class Writer {
    public:
        // Adds the symbol, or updates it; with `keepKnown`, fields the new record leaves
        // empty keep their stored value.
        std::expected<void, DataError> upsertSymbol(const TickerInfo& info, bool keepKnown = true);
        // Adds the symbol under its own name unless it exists.
        std::expected<void, DataError> ensureSymbol(const QString& symbol);
        // Replaces all daily bars of a symbol.
        std::expected<void, DataError> replaceDailyBars(const QString& symbol, std::span<const DailyBar> bars);
        // Adds bars after the last stored one (bars on or before it are ignored).
        std::expected<void, DataError> appendDailyBars(const QString& symbol, std::span<const DailyBar> bars);
        std::expected<void, DataError> replaceIntradayBars(const QString& symbol, std::span<const IntradayBar> bars);
        // Removes every daily and intraday bar, keeping the symbols.
        std::expected<void, DataError> removeAllBars();
        std::expected<void, DataError> setMeta(const QString& key, const QString& value);
        std::expected<void, DataError> removeMeta(const QString& key);
        // The last stored daily bar of a symbol (for extending a history).
        std::optional<DailyBar> lastDailyBar(const QString& symbol);

    private:
        friend class MarketDatabase;
        explicit Writer(MarketDatabase& database)
            : m_database(database)
        {
        }
        std::expected<qint64, DataError> symbolId(const QString& symbol);
        MarketDatabase& m_database;
    };

    // Runs `body` in one transaction: everything or, when it fails, nothing. Afterwards the
    // in-memory snapshots are reloaded, so readers see the new data.
    std::expected<void, DataError> write(const std::function<std::expected<void, DataError>(Writer&)>& body);

private:
    MarketDatabase(sqlite3* connection, QString path);
    void reload();
    DataError lastError(const QString& what) const;

    sqlite3* m_connection = nullptr;
    QString m_path;
    mutable std::recursive_mutex m_mutex;
    std::shared_ptr<const Universe> m_universe = std::make_shared<const Universe>();
    QHash<QString, qint64> m_ids;
    QHash<QString, QString> m_meta;
    std::optional<QDate> m_lastMarketDate;
    mutable QHash<QString, std::shared_ptr<const DailyHistory>> m_daily;
    mutable QHash<QString, std::shared_ptr<const IntradayHistory>> m_intraday;
};

} // namespace tessary::server
