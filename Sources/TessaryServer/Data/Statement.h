#pragma once

#include <QByteArray>
#include <QString>

#include <expected>
#include <optional>

#include "TessaryServer/Data/DataError.h"

struct sqlite3;
struct sqlite3_stmt;

namespace tessary::server {

// One prepared SQLite statement: bind, step, read columns, reset. Errors carry SQLite's text.
class Statement {
public:
    static std::expected<Statement, DataError> prepare(sqlite3* connection, const char* sql);
    Statement(Statement&& other) noexcept;
    Statement& operator=(Statement&& other) noexcept;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    // Parameters count from 1, as in SQLite.
    void bind(int index, qint64 value);
    void bind(int index, double value);
    void bind(int index, const QString& value);
    void bind(int index, const std::optional<QString>& value);
    void bind(int index, std::optional<double> value);
    // As a blob: kept byte for byte, whatever the bytes are.
    void bindBytes(int index, QByteArrayView value);

    // True while a row is available; an error ends the rows and is kept in `error()`.
    bool next();
    // Runs a statement that returns no rows, then resets it for the next use.
    std::expected<void, DataError> run();
    void reset();
    std::optional<DataError> error() const { return m_error; }

    qint64 integer(int column) const;
    double real(int column) const;
    QString text(int column) const;
    QByteArray bytes(int column) const;
    std::optional<QString> optionalText(int column) const;
    std::optional<double> optionalReal(int column) const;

private:
    Statement(sqlite3* connection, sqlite3_stmt* statement)
        : m_connection(connection)
        , m_statement(statement)
    {
    }

    sqlite3* m_connection = nullptr;
    sqlite3_stmt* m_statement = nullptr;
    std::optional<DataError> m_error;
};

// Runs SQL text without parameters (schema, pragmas, transaction control).
std::expected<void, DataError> execute(sqlite3* connection, const char* sql);

} // namespace tessary::server
