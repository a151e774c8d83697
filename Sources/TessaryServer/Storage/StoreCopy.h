#pragma once

#include "PostgresOptions.h"
#include "TessaryServer/Data/DataError.h"

#include <expected>

#include <QStringList>

namespace tessary::server {

// `tessary-server migrate`: copies everything of the SQLite store in `dataDirectory` (market
// data, accounts, tokens, codes, settings history, sessions, the form secret) into the empty
// PostgreSQL database, in one transaction. A database that holds any symbol, account or meta
// value is refused and left as it is. Returns the lines to print: one per table copied.
std::expected<QStringList, DataError> copyStoreToPostgres(const QString& dataDirectory, const PostgresOptions& target);

} // namespace tessary::server
