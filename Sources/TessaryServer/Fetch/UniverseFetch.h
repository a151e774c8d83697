#pragma once

#include "TessaryServer/Data/Import.h"
#include "TessaryServer/Fetch/PriceProvider.h"

namespace tessary::server {

// The names `fetchUniverse` knows.
QStringList universeProviderNames();

// Fetches the US exchanges' pipe-separated listing files (symbol, security name, exchange,
// ETF flag; test issues left out) and imports them by the universe importer's rules, in one
// transaction.
ImportResult fetchUniverse(MarketDatabase& database, const ProviderSettings& settings);

// The listing files turned into the CSV the universe importer reads.
std::expected<QByteArray, QString> listingsAsCsv(const QList<QByteArray>& files);

} // namespace tessary::server
