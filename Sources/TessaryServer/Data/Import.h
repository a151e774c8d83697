#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace tessary::server {

class MarketDatabase;

// What an import did. `problems` are one line each ("AAPL.csv:17: unreadable close \"n/a\"")
// for rows that were skipped; `notes` say what was assumed ("X.csv: no adjusted close column,
// using the close"). When `error` is set nothing was imported at all.
struct ImportReport {
    int files = 0;
    int symbols = 0;
    qint64 rows = 0;
    qint64 skippedRows = 0;
    QStringList problems;
    QStringList notes;
    std::optional<QString> error;

    bool succeeded() const { return !error.has_value(); }
    // The notes, problems, then a summary or the error: what a command line prints.
    QStringList lines() const;
};

// Imports per-symbol daily price CSV files; a path may be a file or a directory of `*.csv`
// files. The whole import is one transaction. The first real prices replace the simulated
// market's bars (its symbols and their metadata stay) and mark the data as imported.
ImportReport importPrices(MarketDatabase& database, const QStringList& paths);

// Imports symbol metadata (name, sector, industry, exchange, kind, market cap) from a CSV
// file with a header row; existing symbols are updated, new ones added.
ImportReport importUniverse(MarketDatabase& database, const QString& file);

} // namespace tessary::server
