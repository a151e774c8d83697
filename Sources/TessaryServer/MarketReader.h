#pragma once

#include "TessaryWire/WireRecords.h"

#include <QDate>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

namespace tessary::server {

// One trading day of one symbol.
struct DailyBar {
    QDate date;
    double close = 0; // as traded
    double adjClose = 0; // split- and dividend-adjusted
};

// One 15-minute bar; `time` is the instant the bar closes (09:45 … 16:00 New York).
struct IntradayBar {
    qint64 time = 0; // milliseconds since 1970
    double close = 0;
    double adjClose = 0;
};

using DailyHistory = std::vector<DailyBar>;
using IntradayHistory = std::vector<IntradayBar>;

enum class DataSource { simulated, imported };

using Universe = std::vector<TickerInfo>;

// Where imported prices come from: the provider that last fetched them and when (ISO 8601,
// UTC); both absent for files imported by hand and for the simulated market.
struct DataOrigin {
    std::optional<QString> provider;
    std::optional<QString> refreshedAt;
};

// What the request handlers read. The SQLite database implements it; the universe and the
// histories are shared, immutable snapshots, so a handler may keep one while an import
// replaces them.
class MarketReader {
public:
    virtual ~MarketReader() = default;

    // Every known symbol, sorted by symbol.
    virtual std::shared_ptr<const Universe> universe() const = 0;
    // Exact (upper-case) symbol; a copy, so it outlives the universe it came from.
    virtual std::optional<TickerInfo> find(QStringView symbol) const = 0;
    // Oldest first, one bar per trading day; empty (never null) when the symbol has none.
    virtual std::shared_ptr<const DailyHistory> dailyBars(const QString& symbol) const = 0;
    virtual std::shared_ptr<const IntradayHistory> intradayBars(const QString& symbol) const = 0;
    // The last daily bar of the whole market: presets end here, not at the wall clock.
    virtual std::optional<QDate> lastMarketDate() const = 0;
    virtual DataSource dataSource() const = 0;
    virtual DataOrigin dataOrigin() const { return {}; }
    // A hint that the histories of these symbols are wanted next: a backend that pays a round
    // trip per read fetches them all in one.
    virtual void prefetch(const QStringList& symbols) const { Q_UNUSED(symbols); }
};

} // namespace tessary::server
