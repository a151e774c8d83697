#pragma once

#include <QString>
#include <QStringList>

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

} // namespace tessary::server
