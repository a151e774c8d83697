#pragma once

#include "TessaryServer/Data/DataError.h"

#include <expected>

namespace tessary::server {

class PgConnection;

// The PostgreSQL schema has its own version stream (the table tessary_schema), separate from
// the SQLite file's: the same tables, plus what several processes need to agree on.
inline constexpr int postgresSchemaVersion = 1;

// Brings the schema up to date in one transaction under an advisory lock, so of several
// server processes starting at the same moment one migrates and the others then find it done.
// A database from a newer version is refused.
std::expected<void, DataError> migratePostgres(PgConnection& connection);

} // namespace tessary::server
