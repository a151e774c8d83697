#pragma once

#include <QString>

#include <expected>

#include "TessaryServer/Data/DataError.h"

struct sqlite3;

namespace tessary::server {

// The server keeps everything in one SQLite file (WAL) in its data directory: the market data
// and the accounts. Either side may open it first, so both go through here and the schema has
// one version number for the whole file.
inline constexpr int storeSchemaVersion = 3;
inline constexpr auto storeFileName = "market.sqlite";

// Opens the store in `directory` (creating the directory and the file when missing) with its
// pragmas set and its schema brought up to date. The caller closes the connection.
std::expected<sqlite3*, DataError> openStoreFile(const QString& directory);

// The same for a database that lives only as long as the connection.
std::expected<sqlite3*, DataError> openStoreInMemory();

// Brings the schema to `targetVersion` by running the migrations it lacks, in one transaction,
// so a failed step leaves the previous version intact. A file from a newer version is refused.
std::expected<void, DataError> migrateSchema(sqlite3* connection, int targetVersion = storeSchemaVersion);

} // namespace tessary::server
