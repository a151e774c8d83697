#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <expected>
#include <memory>
#include <optional>
#include <vector>

#include "TessaryServer/Data/DataError.h"

struct pg_conn;
struct pg_result;

namespace tessary::server {

// Parameters of one statement, $1, $2, … in the order added. Everything travels as text
// except bytes, which go as binary so a document is kept byte for byte.
class PgParams {
public:
    PgParams& add(qint64 value);
    PgParams& add(double value);
    PgParams& add(const QString& value);
    PgParams& add(const std::optional<QString>& value);
    PgParams& add(std::optional<double> value);
    PgParams& add(std::optional<qint64> value);
    PgParams& addBytes(QByteArrayView value);

    int count() const { return int(m_values.size()); }
    std::vector<const char*> values() const;
    const std::vector<int>& lengths() const { return m_lengths; }
    const std::vector<int>& formats() const { return m_formats; }

private:
    PgParams& push(std::optional<QByteArray> value, int format);
    std::vector<std::optional<QByteArray>> m_values;
    std::vector<int> m_lengths;
    std::vector<int> m_formats;
};

// The rows of one statement, read as text.
class PgResult {
public:
    explicit PgResult(pg_result* result);
    PgResult(PgResult&&) noexcept = default;
    PgResult& operator=(PgResult&&) noexcept = default;

    int rows() const;
    // Rows a command changed (UPDATE, DELETE, INSERT).
    qint64 affected() const;
    bool isNull(int row, int column) const;
    QString text(int row, int column) const;
    qint64 integer(int row, int column) const;
    double real(int row, int column) const;
    // A bytea column.
    QByteArray bytes(int row, int column) const;
    std::optional<QString> optionalText(int row, int column) const;
    std::optional<double> optionalReal(int row, int column) const;
    const char* raw(int row, int column) const;
    // Columns of a binary result (queryBinary): INTEGER, BIGINT, DOUBLE PRECISION.
    qint32 binaryInteger4(int row, int column) const;
    qint64 binaryInteger8(int row, int column) const;
    double binaryReal8(int row, int column) const;

private:
    friend class PgConnection;
    struct Clear {
        void operator()(pg_result* result) const;
    };
    std::unique_ptr<pg_result, Clear> m_result;
};

// One libpq connection. Statements with parameters are prepared on their first use on this
// connection and then only executed; errors carry the server's one-line message.
class PgConnection {
public:
    // `conninfo` is a postgresql:// URL or key=value pairs; libpq adds PGPASSWORD, ~/.pgpass
    // and the other PG* variables.
    static std::expected<std::unique_ptr<PgConnection>, DataError> connect(const QByteArray& conninfo);
    ~PgConnection();
    PgConnection(const PgConnection&) = delete;
    PgConnection& operator=(const PgConnection&) = delete;

    std::expected<PgResult, DataError> query(const char* sql, const PgParams& params = {});
    // The same with the rows in binary: read them with the `binary…` accessors.
    std::expected<PgResult, DataError> queryBinary(const char* sql, const PgParams& params);
    // SQL text without parameters, possibly several statements (schema, transaction control).
    std::expected<void, DataError> execute(const char* sql);
    // `COPY … FROM STDIN` with `data` in COPY's text format.
    std::expected<void, DataError> copyIn(const char* sql, const QByteArray& data);
    // Whether a notification arrived on a channel this connection LISTENs on; reads what the
    // socket holds without waiting.
    bool takeNotifications();
    // A broken connection (the server restarted, the network went) is reset before reuse.
    bool isBroken() const;
    void resetIfBroken();

private:
    explicit PgConnection(pg_conn* connection);
    std::expected<PgResult, DataError> run(const char* sql, const PgParams& params, int resultFormat);
    DataError lastError(const QString& what) const;

    pg_conn* m_connection = nullptr;
    QHash<const char*, QByteArray> m_prepared; // SQL text (a literal) → statement name
};

// Doubles as COPY and parameter text that reads back to the same value.
QByteArray pgNumber(double value);

} // namespace tessary::server
