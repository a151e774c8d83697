#include "TessaryServer/Data/StoreFile.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <sqlite3.h>

#include "TessaryServer/Data/Statement.h"

namespace tessary::server {

namespace {

// Version 1: the market data.
constexpr auto marketSchemaSql = R"(
CREATE TABLE symbols (
    id INTEGER PRIMARY KEY,
    symbol TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL,
    is_etf INTEGER NOT NULL DEFAULT 0,
    is_fund INTEGER NOT NULL DEFAULT 0,
    market_cap REAL,
    sector TEXT,
    industry TEXT,
    exchange TEXT
);
CREATE TABLE daily_bars (
    symbol_id INTEGER NOT NULL REFERENCES symbols(id) ON DELETE CASCADE,
    day INTEGER NOT NULL,
    close REAL NOT NULL,
    adj_close REAL NOT NULL,
    PRIMARY KEY (symbol_id, day)
) WITHOUT ROWID;
CREATE TABLE intraday_bars (
    symbol_id INTEGER NOT NULL REFERENCES symbols(id) ON DELETE CASCADE,
    time INTEGER NOT NULL,
    close REAL NOT NULL,
    adj_close REAL NOT NULL,
    PRIMARY KEY (symbol_id, time)
) WITHOUT ROWID;
CREATE TABLE meta (
    key TEXT PRIMARY KEY,
    value TEXT NOT NULL
);
)";

// Version 2: accounts. Codes and tokens are kept only as hex SHA-256 digests, so a copy of the
// file signs nobody in; times are milliseconds since 1970 (UTC).
constexpr auto accountSchemaSql = R"(
CREATE TABLE accounts (
    id INTEGER PRIMARY KEY,
    email TEXT NOT NULL UNIQUE,
    password_hash TEXT NOT NULL,
    created_at INTEGER NOT NULL
);
CREATE TABLE account_codes (
    code_hash TEXT PRIMARY KEY,
    account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    challenge TEXT NOT NULL,
    expires_at INTEGER NOT NULL
) WITHOUT ROWID;
CREATE INDEX account_codes_by_account ON account_codes(account_id);
CREATE TABLE account_tokens (
    token_hash TEXT PRIMARY KEY,
    account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    created_at INTEGER NOT NULL
) WITHOUT ROWID;
CREATE INDEX account_tokens_by_account ON account_tokens(account_id);
CREATE TABLE server_secrets (
    name TEXT PRIMARY KEY,
    value TEXT NOT NULL
);
)";

// Version 3: every account's settings document, each version of it kept as sent (the newest is
// the current one, older ones are the history), and the browser sessions of the lists page.
constexpr auto settingsSchemaSql = R"(
CREATE TABLE account_settings (
    account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    version INTEGER NOT NULL,
    saved_at INTEGER NOT NULL,
    document BLOB NOT NULL,
    PRIMARY KEY (account_id, version)
);
CREATE TABLE web_sessions (
    session_hash TEXT PRIMARY KEY,
    account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    expires_at INTEGER NOT NULL
) WITHOUT ROWID;
CREATE INDEX web_sessions_by_account ON web_sessions(account_id);
)";

// Step i brings the schema from version i to i + 1. Released steps are never edited, only
// followed by new ones.
constexpr std::array migrations = { marketSchemaSql, accountSchemaSql, settingsSchemaSql };
static_assert(migrations.size() == storeSchemaVersion);

std::unexpected<DataError> failure(const QString& text)
{
    return std::unexpected(DataError { text });
}

std::expected<qint64, DataError> userVersion(sqlite3* connection)
{
    auto version = Statement::prepare(connection, "PRAGMA user_version");
    if (!version)
        return std::unexpected(version.error());
    return version->next() ? version->integer(0) : 0;
}

std::expected<void, DataError> runMigrations(sqlite3* connection, int targetVersion)
{
    const auto current = userVersion(connection);
    if (!current)
        return std::unexpected(current.error());
    if (*current > storeSchemaVersion)
        return failure(QStringLiteral("it was written by a newer version (schema %1, this one reads %2)")
                           .arg(*current)
                           .arg(storeSchemaVersion));
    for (qint64 step = *current; step < targetVersion; ++step) {
        if (auto migrated = execute(connection, migrations.at(step)); !migrated)
            return migrated;
    }
    if (*current >= targetVersion)
        return {};
    const QByteArray setVersion = QByteArrayLiteral("PRAGMA user_version = ") + QByteArray::number(targetVersion);
    return execute(connection, setVersion.constData());
}

std::unexpected<DataError> openFailure(const QString& path, const QString& reason)
{
    // SQLite only says "unable to open database file" when it cannot create the two files
    // WAL keeps beside the database; a read-only folder or file is the usual cause.
    const QFileInfo file(path);
    if (!QFileInfo(file.absolutePath()).isWritable() || (file.exists() && !file.isWritable()))
        return failure(QStringLiteral("cannot open %1: it or its folder is read-only (%2)").arg(path, reason));
    return failure(QStringLiteral("cannot open %1: %2").arg(path, reason));
}

std::expected<sqlite3*, DataError> openConnection(const QString& path)
{
    sqlite3* connection = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    if (sqlite3_open_v2(path.toUtf8().constData(), &connection, flags, nullptr) != SQLITE_OK) {
        const QString reason = QString::fromUtf8(sqlite3_errmsg(connection));
        sqlite3_close(connection);
        return openFailure(path, reason);
    }
    sqlite3_busy_timeout(connection, 5000);
    // WAL lets a reader (the server) and a writer (an import) work at the same time.
    for (const char* pragma :
        { "PRAGMA journal_mode = WAL", "PRAGMA foreign_keys = ON", "PRAGMA synchronous = NORMAL" }) {
        if (auto done = execute(connection, pragma); !done) {
            sqlite3_close(connection);
            return openFailure(path, done.error().message);
        }
    }
    if (auto migrated = migrateSchema(connection); !migrated) {
        sqlite3_close(connection);
        return openFailure(path, migrated.error().message);
    }
    return connection;
}

} // namespace

std::expected<sqlite3*, DataError> openStoreFile(const QString& directory)
{
    if (!QDir().mkpath(directory))
        return failure(QStringLiteral("cannot create the data directory %1").arg(directory));
    return openConnection(QDir(directory).filePath(QString::fromLatin1(storeFileName)));
}

std::expected<sqlite3*, DataError> openStoreInMemory()
{
    return openConnection(QStringLiteral(":memory:"));
}

std::expected<void, DataError> migrateSchema(sqlite3* connection, int targetVersion)
{
    // Most opens find the schema current and need no write lock, which an import may hold.
    if (const auto current = userVersion(connection); current && *current == targetVersion)
        return {};
    // Read the version again inside the write transaction: another process may have migrated
    // the file meanwhile.
    if (auto begun = execute(connection, "BEGIN IMMEDIATE"); !begun)
        return begun;
    auto migrated = runMigrations(connection, targetVersion);
    if (migrated)
        migrated = execute(connection, "COMMIT");
    if (!migrated)
        execute(connection, "ROLLBACK");
    return migrated;
}

} // namespace tessary::server
