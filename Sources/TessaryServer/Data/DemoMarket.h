#pragma once

#include <QDate>
#include <QString>

#include <expected>
#include <functional>
#include <stop_token>
#include <vector>

#include "TessaryServer/Data/DataError.h"
#include "TessaryWire/WireRecords.h"

namespace tessary::server {

class MarketDatabase;

// Called with the fraction done, 0 to 1, while the demo market is generated.
using ProgressCallback = std::function<void(double fraction)>;

struct DemoOptions {
    quint64 seed = 0x7e55a11ULL;
    QDate firstDay = QDate(1985, 1, 2);
    // The last session to generate; invalid means the last completed session right now.
    QDate lastDay;
    int intradaySessions = 5;
};

struct DemoReport {
    int symbols = 0;
    qint64 dailyBars = 0;
    qint64 intradayBars = 0;
    QDate lastDay;
};

// The hand-written universe of the demo market (stocks, ETFs and mutual funds), sorted by
// symbol.
const std::vector<TickerInfo>& demoUniverse();

// Generating writes one symbol at a time inside one transaction. A stop requested through
// `stop` is noticed between symbols: the write fails and rolls back, leaving the database as
// it was, and the next call does the work again.

// Fills an empty database with the simulated market, deterministic for the seed.
std::expected<DemoReport, DataError> generateDemoMarket(MarketDatabase& database, const DemoOptions& options,
    const ProgressCallback& progress = {}, std::stop_token stop = {});

// Continues a simulated market from its last demo date up to `lastDay` (invalid: now). The
// bars are the same as if the market had been generated up to that day in one go.
std::expected<DemoReport, DataError> extendDemoMarket(
    MarketDatabase& database, QDate lastDay = {}, const ProgressCallback& progress = {}, std::stop_token stop = {});

// What the server does when it opens its store: seed the demo market into an empty database
// (unless `demoEnabled` is false), or bring a simulated one up to date. Imported data is left
// alone.
std::expected<DemoReport, DataError> prepareMarket(
    MarketDatabase& database, bool demoEnabled, const ProgressCallback& progress = {}, std::stop_token stop = {});

} // namespace tessary::server
