#pragma once

#include <QDateTime>
#include <QIODevice>
#include <QString>
#include <QStringList>

#include <expected>
#include <span>
#include <vector>

#include "TessaryServer/Data/DataError.h"
#include "TessaryServer/MarketReader.h"

namespace tessary::server {

class MarketDatabase;

// What an import did. `problems` are one line each ("AAPL.csv:17: unreadable close \"n/a\"")
// for rows that were skipped; `notes` say what was assumed ("X.csv: no adjusted close column,
// using the close").
struct ImportReport {
    int files = 0;
    int symbols = 0;
    qint64 rows = 0;
    qint64 skippedRows = 0;
    QStringList problems;
    QStringList notes;

    // The notes, the problems, then a summary: what a command line prints.
    QStringList lines() const;
};

// Why nothing was imported at all ("X.csv: no usable price rows"), with the notes and
// problems seen before the import stopped.
struct ImportError {
    QString reason;
    QStringList problems;
    QStringList notes;

    static ImportError after(const ImportReport& report, QString reason);
    // "import failed, nothing was imported: " and the reason.
    QString description() const;
    // The notes, the problems, then the description.
    QStringList lines() const;
};

using ImportResult = std::expected<ImportReport, ImportError>;

// Imports per-symbol daily price CSV files; a path may be a file or a directory of `*.csv`
// files. The whole import is one transaction. The first real prices replace the simulated
// market's bars (its symbols and their metadata stay) and mark the data as imported.
ImportResult importPrices(MarketDatabase& database, const QStringList& paths);

// Imports symbol metadata (name, sector, industry, exchange, kind, market cap) from a CSV
// file with a header row; existing symbols are updated, new ones added.
ImportResult importUniverse(MarketDatabase& database, const QString& file);
// The same from CSV text already read; `name` stands for the file in problem lines.
ImportResult importUniverse(MarketDatabase& database, QIODevice& device, const QString& name);

// Reads one symbol's daily prices from CSV text in any layout `importPrices` reads; `name`
// stands for the file in problem lines. Rows the importer would skip become problems in
// `report`.
std::expected<std::vector<DailyBar>, ImportError> readPriceCsv(
    QIODevice& device, const QString& name, const QString& symbol, ImportReport& report);

enum class BarWrite { replace, append };

// Stores one symbol's bars in one transaction, with the same rules as `importPrices`: the
// first real prices replace the simulated market's bars and the data is marked imported.
// `provider` names where the prices came from, kept for the app to show.
std::expected<void, DataError> storeImportedBars(MarketDatabase& database, const QString& symbol,
    std::span<const DailyBar> bars, BarWrite mode, const QString& provider);

// Notes when the imported prices were last brought up to date, and by which provider.
std::expected<void, DataError> recordRefresh(MarketDatabase& database, const QString& provider, const QDateTime& time);

} // namespace tessary::server
