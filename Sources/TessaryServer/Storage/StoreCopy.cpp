#include "StoreCopy.h"

#include "PgPool.h"
#include "TessaryServer/Data/Statement.h"
#include "TessaryServer/Data/StoreFile.h"

#include <cstring>
#include <sqlite3.h>

namespace tessary::server {

namespace {

const auto notEmptyText = QStringLiteral("the target database is not empty; migrate copies only into an empty one");
const auto copiedText = QStringLiteral("%1: %2 rows");

// A table and its columns; in `kinds`, one letter a column: i integer, r real, t text, b
// bool (0/1 in SQLite), x bytes. Parents come before the tables that refer to them.
struct Table {
    const char* name;
    const char* columns;
    const char* kinds;
};

constexpr Table tables[] = {
    { "symbols", "id, symbol, name, is_etf, is_fund, market_cap, sector, industry, exchange", "ittbbrttt" },
    { "daily_bars", "symbol_id, day, close, adj_close", "iirr" },
    { "intraday_bars", "symbol_id, time, close, adj_close", "iirr" },
    { "meta", "key, value", "tt" },
    { "accounts", "id, email, password_hash, created_at", "itti" },
    { "account_codes", "code_hash, account_id, challenge, expires_at", "titi" },
    { "account_tokens", "token_hash, account_id, created_at", "tii" },
    { "server_secrets", "name, value", "tt" },
    { "account_settings", "account_id, version, saved_at, document", "iiix" },
    { "web_sessions", "session_hash, account_id, expires_at", "tii" },
};

// Escapes text for COPY's text format: backslash, and the separators it would read as such.
void appendText(QByteArray& out, const QByteArray& text)
{
    for (const char c : text) {
        switch (c) {
        case '\\':
            out += "\\\\";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        default:
            out += c;
        }
    }
}

void appendField(QByteArray& out, sqlite3_stmt* row, int column, char kind)
{
    if (sqlite3_column_type(row, column) == SQLITE_NULL) {
        out += "\\N";
        return;
    }
    switch (kind) {
    case 'i':
        out += QByteArray::number(sqlite3_column_int64(row, column));
        break;
    case 'r':
        out += QByteArray::number(sqlite3_column_double(row, column), 'g', 17);
        break;
    case 'b':
        out += sqlite3_column_int64(row, column) != 0 ? "t" : "f";
        break;
    case 'x': {
        const auto* data = static_cast<const char*>(sqlite3_column_blob(row, column));
        // bytea's hex form, its backslash doubled for COPY.
        out += "\\\\x" + QByteArray(data, sqlite3_column_bytes(row, column)).toHex();
        break;
    }
    default:
        appendText(out,
            QByteArray(
                reinterpret_cast<const char*>(sqlite3_column_text(row, column)), sqlite3_column_bytes(row, column)));
    }
}

// The rows of one SQLite table in COPY's text format, and how many there are.
std::expected<std::pair<QByteArray, qint64>, DataError> readTable(sqlite3* source, const Table& table)
{
    const QByteArray sql = QByteArray("SELECT ") + table.columns + " FROM " + table.name;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(source, sql.constData(), -1, &statement, nullptr) != SQLITE_OK)
        return std::unexpected(DataError { QString::fromUtf8(sqlite3_errmsg(source)) });
    const int columns = int(std::strlen(table.kinds));
    QByteArray rows;
    qint64 count = 0;
    int status = SQLITE_ROW;
    while ((status = sqlite3_step(statement)) == SQLITE_ROW) {
        for (int column = 0; column < columns; ++column) {
            if (column > 0)
                rows += '\t';
            appendField(rows, statement, column, table.kinds[column]);
        }
        rows += '\n';
        ++count;
    }
    sqlite3_finalize(statement);
    if (status != SQLITE_DONE)
        return std::unexpected(DataError { QString::fromUtf8(sqlite3_errmsg(source)) });
    return std::pair { rows, count };
}

std::expected<QStringList, DataError> copyInto(sqlite3* source, PgConnection& target)
{
    const auto used = target.query("SELECT EXISTS (SELECT 1 FROM symbols) OR EXISTS (SELECT 1 FROM accounts) "
                                   "OR EXISTS (SELECT 1 FROM meta)");
    if (!used)
        return std::unexpected(used.error());
    if (*used->raw(0, 0) == 't')
        return std::unexpected(DataError { notEmptyText });
    QStringList lines;
    for (const Table& table : tables) {
        const auto rows = readTable(source, table);
        if (!rows)
            return std::unexpected(rows.error());
        const QByteArray copy = QByteArray("COPY ") + table.name + " (" + table.columns + ") FROM STDIN";
        if (auto copied = target.copyIn(copy.constData(), rows->first); !copied)
            return std::unexpected(copied.error());
        lines.append(copiedText.arg(QString::fromLatin1(table.name)).arg(rows->second));
    }
    // The copied rows kept their ids; new ones continue after them. Each account's current
    // version is its newest kept one.
    if (auto finished = target.execute(
            "SELECT setval(pg_get_serial_sequence('symbols', 'id'), COALESCE(MAX(id), 0) + 1, false) FROM symbols;"
            "SELECT setval(pg_get_serial_sequence('accounts', 'id'), COALESCE(MAX(id), 0) + 1, false) FROM accounts;"
            "INSERT INTO account_settings_head (account_id, version) "
            "SELECT account_id, MAX(version) FROM account_settings GROUP BY account_id");
        !finished)
        return std::unexpected(finished.error());
    return lines;
}

} // namespace

std::expected<QStringList, DataError> copyStoreToPostgres(const QString& dataDirectory, const PostgresOptions& target)
{
    auto source = openStoreFile(dataDirectory);
    if (!source)
        return std::unexpected(source.error());
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> closer(*source, &sqlite3_close);
    auto pool = PgPool::open(target.url, 1);
    if (!pool)
        return std::unexpected(pool.error());
    // One read transaction on the file, so a server still writing to it cannot tear the copy.
    if (auto begun = execute(*source, "BEGIN"); !begun)
        return std::unexpected(begun.error());
    auto copied
        = (*pool)->inTransaction<QStringList>([&](PgConnection& connection) { return copyInto(*source, connection); });
    execute(*source, "COMMIT");
    return copied;
}

} // namespace tessary::server
