#include "TessaryServer/Data/Statement.h"

#include <sqlite3.h>

#include <utility>

namespace tessary::server {

namespace {
DataError sqliteError(sqlite3* connection)
{
    return DataError { QStringLiteral("database error: %1").arg(QString::fromUtf8(sqlite3_errmsg(connection))) };
}
} // namespace

std::expected<Statement, DataError> Statement::prepare(sqlite3* connection, const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr) != SQLITE_OK)
        return std::unexpected(sqliteError(connection));
    return Statement(connection, statement);
}

Statement::Statement(Statement&& other) noexcept
    : m_connection(other.m_connection)
    , m_statement(std::exchange(other.m_statement, nullptr))
    , m_error(std::move(other.m_error))
{
}

Statement& Statement::operator=(Statement&& other) noexcept
{
    if (this != &other) {
        sqlite3_finalize(m_statement);
        m_connection = other.m_connection;
        m_statement = std::exchange(other.m_statement, nullptr);
        m_error = std::move(other.m_error);
    }
    return *this;
}

Statement::~Statement()
{
    sqlite3_finalize(m_statement);
}

void Statement::bind(int index, qint64 value)
{
    sqlite3_bind_int64(m_statement, index, value);
}

void Statement::bind(int index, double value)
{
    sqlite3_bind_double(m_statement, index, value);
}

void Statement::bind(int index, const QString& value)
{
    const QByteArray utf8 = value.toUtf8();
    sqlite3_bind_text(m_statement, index, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
}

void Statement::bind(int index, const std::optional<QString>& value)
{
    if (value)
        bind(index, *value);
    else
        sqlite3_bind_null(m_statement, index);
}

void Statement::bind(int index, std::optional<double> value)
{
    if (value)
        bind(index, *value);
    else
        sqlite3_bind_null(m_statement, index);
}

void Statement::bindBytes(int index, QByteArrayView value)
{
    sqlite3_bind_blob64(m_statement, index, value.data(), static_cast<sqlite3_uint64>(value.size()), SQLITE_TRANSIENT);
}

bool Statement::next()
{
    const int status = sqlite3_step(m_statement);
    if (status == SQLITE_ROW)
        return true;
    if (status != SQLITE_DONE)
        m_error = sqliteError(m_connection);
    return false;
}

std::expected<void, DataError> Statement::run()
{
    const int status = sqlite3_step(m_statement);
    sqlite3_reset(m_statement);
    if (status != SQLITE_DONE && status != SQLITE_ROW)
        return std::unexpected(sqliteError(m_connection));
    return {};
}

void Statement::reset()
{
    sqlite3_reset(m_statement);
    m_error.reset();
}

qint64 Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double Statement::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

QString Statement::text(int column) const
{
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
    return QString::fromUtf8(bytes, sqlite3_column_bytes(m_statement, column));
}

QByteArray Statement::bytes(int column) const
{
    const auto* data = static_cast<const char*>(sqlite3_column_blob(m_statement, column));
    return QByteArray(data, sqlite3_column_bytes(m_statement, column));
}

std::optional<QString> Statement::optionalText(int column) const
{
    if (sqlite3_column_type(m_statement, column) == SQLITE_NULL)
        return std::nullopt;
    return text(column);
}

std::optional<double> Statement::optionalReal(int column) const
{
    if (sqlite3_column_type(m_statement, column) == SQLITE_NULL)
        return std::nullopt;
    return real(column);
}

std::expected<void, DataError> execute(sqlite3* connection, const char* sql)
{
    if (sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        return std::unexpected(sqliteError(connection));
    return {};
}

} // namespace tessary::server
