#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

#include <optional>

namespace tessary::server {

// Splits one CSV line into fields: commas separate, double quotes enclose a field that may
// hold commas, and "" inside quotes is one quote. Fields are trimmed.
QStringList splitCsvLine(QStringView line);

// A header name reduced to lower-case letters and digits, so "Adj Close", "adj_close" and
// "ADJ-CLOSE" compare equal.
QString headerKey(QStringView name);

// A finite number in the C locale; an optional trailing K, M, B or T scales it (market caps
// are often written "2.9T").
std::optional<double> parseNumber(QStringView text, bool allowScale = false);

// Reads a CSV file: first its header line (leading blank lines and a byte-order mark are
// skipped), then one row at a time, skipping blank lines and counting every line so a
// problem can be reported as "file:line".
class CsvReader {
public:
    explicit CsvReader(QIODevice* device);

    const QString& headerLine() const { return m_headerLine; }
    const QStringList& header() const { return m_header; }
    // Moves to the next non-blank row; false at the end of the file.
    bool next();
    const QStringList& fields() const { return m_fields; }
    qsizetype lineNumber() const { return m_lineNumber; }

private:
    QTextStream m_in;
    QString m_headerLine;
    QStringList m_header;
    QStringList m_fields;
    qsizetype m_lineNumber = 0;
};

} // namespace tessary::server
