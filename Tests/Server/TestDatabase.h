#pragma once

#include "TessaryServer/Storage/ServerStorage.h"

#include <QStringList>
#include <QTemporaryDir>

namespace tessary::test {

// The database a server test runs on. The same tests run twice under CTest: on SQLite, and
// with TESSARY_TEST_BACKEND=postgresql on a new database of a throwaway cluster
// (PostgresCluster.h). Each object is a fresh, empty database.
class TestDatabase {
public:
    TestDatabase();

    static bool onPostgres();
    // False when PostgreSQL was asked for but cannot be had; `skipReason` says why.
    bool available() const { return !onPostgres() || !m_postgres.url.isEmpty(); }
    QString skipReason() const;

    // What `tessary-server` takes to use it: --data-dir DIR or --database URL.
    QStringList arguments() const;
    QString dataDirectory() const { return m_directory.path(); }
    server::PostgresOptions postgres() const { return m_postgres; }
    // A new connection (pool) to it, as another server process would open.
    std::expected<server::ServerStorage, server::DataError> open() const;

private:
    QTemporaryDir m_directory;
    server::PostgresOptions m_postgres;
};

} // namespace tessary::test

// Skips the test (with the reason) when the backend it was asked to run on is missing.
#define TESSARY_REQUIRE_DATABASE(database)                                                                             \
    if (!(database).available())                                                                                       \
    QSKIP(qPrintable((database).skipReason()))
