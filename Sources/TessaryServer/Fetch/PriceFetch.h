#pragma once

#include <QDate>
#include <QString>
#include <QStringList>

#include <functional>
#include <stop_token>

#include "TessaryServer/Fetch/PriceProvider.h"

namespace tessary::server {

class MarketDatabase;
class ProviderClient;

// What fetching one symbol did.
struct SymbolFetch {
    enum class Outcome { fetched, unchanged, failed };
    QString symbol;
    Outcome outcome = Outcome::failed;
    qint64 bars = 0;
    bool wholeHistory = false; // the stored adjusted closes were out of date
    QString reason; // why it failed

    // "AAPL: fetched 21 bars", "AAPL: unchanged", "AAPL: failed: HTTP 404: …"
    QString line() const;
};

// Brings one symbol up to `today`: only the days after its last stored bar, or its whole
// history when it has none or when the provider's adjusted close for that last day differs
// from the stored one (a split or dividend changed the past). One transaction; a failure
// writes nothing.
SymbolFetch fetchSymbol(MarketDatabase& database, ProviderClient& client, const PriceProvider& provider,
    const QString& symbol, QDate today);

// Every symbol the store holds imported prices for; empty while the store holds the
// simulated market.
QStringList importedSymbols(const MarketDatabase& database);

// Fetches the symbols one after another, handing each result to `report` as it is done, and
// records the time of the refresh when any symbol was brought up to date.
// A stop request leaves the symbols not yet begun alone.
std::vector<SymbolFetch> fetchPrices(MarketDatabase& database, const ProviderSettings& settings,
    const PriceProvider& provider, const QStringList& symbols, const std::function<void(const SymbolFetch&)>& report,
    std::stop_token stop = {});

// Today in New York, where the sessions are.
QDate marketToday();

} // namespace tessary::server
