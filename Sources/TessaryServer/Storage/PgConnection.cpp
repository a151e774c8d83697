#include "PgConnection.h"

#include <QtEndian>

#include <bit>
#include <libpq-fe.h>

#include <cstdlib>

namespace tessary::server {

namespace {

std::unexpected<DataError> failure(const QString& text)
{
    return std::unexpected(DataError { text });
}

QString oneLine(const char* message)
{
    return QString::fromUtf8(message).trimmed().split(u'\n').front();
}

} // namespace

QByteArray pgNumber(double value)
{
    return QByteArray::number(value, 'g', 17);
}

// Parameters ---------------------------------------------------------------------------------

PgParams& PgParams::push(std::optional<QByteArray> value, int format)
{
    m_lengths.push_back(value ? int(value->size()) : 0);
    m_formats.push_back(format);
    m_values.push_back(std::move(value));
    return *this;
}

PgParams& PgParams::add(qint64 value)
{
    return push(QByteArray::number(value), 0);
}

PgParams& PgParams::add(double value)
{
    return push(pgNumber(value), 0);
}

PgParams& PgParams::add(const QString& value)
{
    return push(value.toUtf8(), 0);
}

PgParams& PgParams::add(const std::optional<QString>& value)
{
    return value ? add(*value) : push(std::nullopt, 0);
}

PgParams& PgParams::add(std::optional<double> value)
{
    return value ? add(*value) : push(std::nullopt, 0);
}

PgParams& PgParams::add(std::optional<qint64> value)
{
    return value ? add(*value) : push(std::nullopt, 0);
}

PgParams& PgParams::addBytes(QByteArrayView value)
{
    return push(value.toByteArray(), 1);
}

std::vector<const char*> PgParams::values() const
{
    std::vector<const char*> values;
    values.reserve(m_values.size());
    for (const auto& value : m_values)
        values.push_back(value ? value->constData() : nullptr);
    return values;
}

// Results ------------------------------------------------------------------------------------

void PgResult::Clear::operator()(pg_result* result) const
{
    PQclear(result);
}

PgResult::PgResult(pg_result* result)
    : m_result(result)
{
}

int PgResult::rows() const
{
    return PQntuples(m_result.get());
}

qint64 PgResult::affected() const
{
    return QByteArray(PQcmdTuples(m_result.get())).toLongLong();
}

bool PgResult::isNull(int row, int column) const
{
    return PQgetisnull(m_result.get(), row, column) != 0;
}

const char* PgResult::raw(int row, int column) const
{
    return PQgetvalue(m_result.get(), row, column);
}

QString PgResult::text(int row, int column) const
{
    return QString::fromUtf8(raw(row, column), PQgetlength(m_result.get(), row, column));
}

qint64 PgResult::integer(int row, int column) const
{
    return std::strtoll(raw(row, column), nullptr, 10);
}

double PgResult::real(int row, int column) const
{
    return std::strtod(raw(row, column), nullptr);
}

QByteArray PgResult::bytes(int row, int column) const
{
    std::size_t length = 0;
    unsigned char* decoded = PQunescapeBytea(reinterpret_cast<const unsigned char*>(raw(row, column)), &length);
    QByteArray bytes(reinterpret_cast<const char*>(decoded), qsizetype(length));
    PQfreemem(decoded);
    return bytes;
}

// Binary columns arrive in network byte order.
qint32 PgResult::binaryInteger4(int row, int column) const
{
    return qFromBigEndian<qint32>(raw(row, column));
}

qint64 PgResult::binaryInteger8(int row, int column) const
{
    return qFromBigEndian<qint64>(raw(row, column));
}

double PgResult::binaryReal8(int row, int column) const
{
    return std::bit_cast<double>(qFromBigEndian<quint64>(raw(row, column)));
}

std::optional<QString> PgResult::optionalText(int row, int column) const
{
    return isNull(row, column) ? std::nullopt : std::optional(text(row, column));
}

std::optional<double> PgResult::optionalReal(int row, int column) const
{
    return isNull(row, column) ? std::nullopt : std::optional(real(row, column));
}

// The connection -----------------------------------------------------------------------------

std::expected<std::unique_ptr<PgConnection>, DataError> PgConnection::connect(const QByteArray& conninfo)
{
    PGconn* connection = PQconnectdb(conninfo.constData());
    if (PQstatus(connection) != CONNECTION_OK) {
        const QString reason = oneLine(PQerrorMessage(connection));
        PQfinish(connection);
        return failure(QStringLiteral("cannot connect to PostgreSQL: ") + reason);
    }
    std::unique_ptr<PgConnection> result(new PgConnection(connection));
    // Doubles come back exactly as stored, and notices stay out of the server's output.
    if (auto set = result->execute("SET extra_float_digits = 3; SET client_min_messages = warning"); !set)
        return std::unexpected(set.error());
    return result;
}

PgConnection::PgConnection(pg_conn* connection)
    : m_connection(connection)
{
}

PgConnection::~PgConnection()
{
    PQfinish(m_connection);
}

DataError PgConnection::lastError(const QString& what) const
{
    return DataError { what + QStringLiteral(": ") + oneLine(PQerrorMessage(m_connection)) };
}

std::expected<PgResult, DataError> PgConnection::query(const char* sql, const PgParams& params)
{
    return run(sql, params, 0);
}

std::expected<PgResult, DataError> PgConnection::queryBinary(const char* sql, const PgParams& params)
{
    return run(sql, params, 1);
}

std::expected<PgResult, DataError> PgConnection::run(const char* sql, const PgParams& params, int resultFormat)
{
    auto name = m_prepared.constFind(sql);
    if (name == m_prepared.cend()) {
        const QByteArray newName = "s" + QByteArray::number(m_prepared.size() + 1);
        PgResult prepared(PQprepare(m_connection, newName.constData(), sql, 0, nullptr));
        if (PQresultStatus(prepared.m_result.get()) != PGRES_COMMAND_OK)
            return std::unexpected(lastError(QStringLiteral("PostgreSQL refused a statement")));
        name = m_prepared.insert(sql, newName);
    }
    const auto values = params.values();
    PgResult result(PQexecPrepared(m_connection, name->constData(), params.count(), values.data(),
        params.lengths().data(), params.formats().data(), resultFormat));
    const auto status = PQresultStatus(result.m_result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        return std::unexpected(lastError(QStringLiteral("PostgreSQL failed")));
    return result;
}

std::expected<void, DataError> PgConnection::execute(const char* sql)
{
    PgResult result(PQexec(m_connection, sql));
    const auto status = PQresultStatus(result.m_result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        return std::unexpected(lastError(QStringLiteral("PostgreSQL failed")));
    return {};
}

std::expected<void, DataError> PgConnection::copyIn(const char* sql, const QByteArray& data)
{
    {
        PgResult started(PQexec(m_connection, sql));
        if (PQresultStatus(started.m_result.get()) != PGRES_COPY_IN)
            return std::unexpected(lastError(QStringLiteral("PostgreSQL refused a copy")));
    }
    const bool sent = PQputCopyData(m_connection, data.constData(), int(data.size())) == 1;
    PQputCopyEnd(m_connection, sent ? nullptr : "the rows could not be sent");
    std::optional<DataError> error;
    while (PGresult* raw = PQgetResult(m_connection)) {
        PgResult result(raw);
        if (PQresultStatus(raw) != PGRES_COMMAND_OK && !error)
            error = lastError(QStringLiteral("PostgreSQL failed to copy rows"));
    }
    if (error)
        return std::unexpected(*error);
    return {};
}

bool PgConnection::takeNotifications()
{
    PQconsumeInput(m_connection);
    bool any = false;
    while (PGnotify* notification = PQnotifies(m_connection)) {
        any = true;
        PQfreemem(notification);
    }
    return any;
}

bool PgConnection::isBroken() const
{
    return PQstatus(m_connection) != CONNECTION_OK;
}

void PgConnection::resetIfBroken()
{
    if (!isBroken())
        return;
    PQreset(m_connection);
    // The server forgot this session's prepared statements with it.
    m_prepared.clear();
    if (!isBroken())
        execute("SET extra_float_digits = 3; SET client_min_messages = warning");
}

} // namespace tessary::server
