#pragma once

#include <QString>

namespace tessary::server {

// Where a server keeps its data when it is not the SQLite store in its data directory:
// `--database postgresql://USER@HOST:PORT/DB` and `--db-connections N`.
struct PostgresOptions {
    static constexpr int defaultConnections = 4;

    QString url; // empty: SQLite
    int connections = defaultConnections;

    bool enabled() const { return !url.isEmpty(); }
};

} // namespace tessary::server
