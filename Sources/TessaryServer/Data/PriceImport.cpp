#include "TessaryServer/Data/Import.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <map>

#include "TessaryServer/Data/CsvText.h"
#include "TessaryServer/Data/MarketDatabase.h"

namespace tessary::server {

namespace {

struct PriceColumns {
    qsizetype date = -1;
    qsizetype close = -1;
    qsizetype adjusted = -1;
    qsizetype symbol = -1;
};

// Finds the columns by name, whichever vendor layout the file uses.
PriceColumns priceColumns(const QStringList& header)
{
    PriceColumns columns;
    for (qsizetype i = 0; i < header.size(); ++i) {
        const QString key = headerKey(header[i]);
        if (key == u"date" || key == u"timestamp")
            columns.date = i;
        else if (key == u"close")
            columns.close = i;
        else if (key == u"adjustedclose" || key == u"adjclose")
            columns.adjusted = i;
        else if (key == u"symbol" || key == u"ticker")
            columns.symbol = i;
    }
    return columns;
}

bool isValidSymbol(const QString& symbol)
{
    static const QRegularExpression pattern(QStringLiteral("^[A-Z0-9][A-Z0-9.\\-^=]{0,14}$"));
    return pattern.match(symbol).hasMatch();
}

using PriceTable = std::map<QString, std::vector<DailyBar>>;

struct ParsedRow {
    DailyBar bar;
    qsizetype line = 0;
};

// Reads one price file's rows into `table`. Fails for a file that cannot be used at all;
// row-level trouble becomes problems and the row is skipped.
std::expected<void, ImportError> readPriceRows(
    QIODevice& device, const QString& name, const QString& fileSymbol, PriceTable& table, ImportReport& report)
{
    const auto failure
        = [&report](const QString& reason) { return std::unexpected(ImportError::after(report, reason)); };
    CsvReader reader(&device);
    const QString& headerLine = reader.headerLine();
    const PriceColumns columns = priceColumns(reader.header());
    if (columns.date < 0 || columns.close < 0)
        return failure(QStringLiteral("%1: unknown layout (header \"%2\"); expected a date or timestamp column and "
                                      "a close column, with an optional adjusted close")
                           .arg(name, headerLine.trimmed().left(120)));
    if (columns.adjusted < 0)
        report.notes.push_back(QStringLiteral("%1: no adjusted close column, using the close").arg(name));

    if (columns.symbol < 0 && !isValidSymbol(fileSymbol))
        return failure(QStringLiteral("%1: the file name is not a ticker symbol").arg(name));

    std::map<QString, std::vector<ParsedRow>> rows;
    const qsizetype needed = std::max({ columns.date, columns.close, columns.adjusted, columns.symbol }) + 1;
    auto skip = [&](const QString& reason) {
        report.problems.push_back(QStringLiteral("%1:%2: %3").arg(name).arg(reader.lineNumber()).arg(reason));
        ++report.skippedRows;
    };
    while (reader.next()) {
        const QStringList& fields = reader.fields();
        if (fields.size() < needed) {
            skip(QStringLiteral("expected %1 fields, found %2").arg(needed).arg(fields.size()));
            continue;
        }
        const QDate date = QDate::fromString(fields[columns.date].left(10), Qt::ISODate);
        if (!date.isValid()) {
            skip(QStringLiteral("unreadable date \"%1\"").arg(fields[columns.date]));
            continue;
        }
        const auto close = parseNumber(fields[columns.close]);
        if (!close || *close <= 0) {
            skip(QStringLiteral("unreadable close \"%1\"").arg(fields[columns.close]));
            continue;
        }
        const auto adjusted = columns.adjusted < 0 ? close : parseNumber(fields[columns.adjusted]);
        if (!adjusted || *adjusted <= 0) {
            skip(QStringLiteral("unreadable adjusted close \"%1\"").arg(fields[columns.adjusted]));
            continue;
        }
        const QString symbol = columns.symbol < 0 ? fileSymbol : fields[columns.symbol].toUpper();
        if (!isValidSymbol(symbol)) {
            skip(QStringLiteral("unreadable symbol \"%1\"").arg(fields[columns.symbol]));
            continue;
        }
        rows[symbol].push_back(ParsedRow { DailyBar { date, *close, *adjusted }, reader.lineNumber() });
    }
    if (rows.empty())
        return failure(QStringLiteral("%1: no usable price rows").arg(name));

    for (auto& [symbol, parsed] : rows) {
        // Some vendors write newest first; a stable sort keeps the first of two equal dates.
        std::ranges::stable_sort(parsed, {}, [](const ParsedRow& row) { return row.bar.date; });
        std::vector<DailyBar>& bars = table[symbol];
        if (!bars.empty())
            return failure(QStringLiteral("%1: prices for %2 were already read from another file").arg(name, symbol));
        for (qsizetype i = 0; i < std::ssize(parsed); ++i) {
            if (i > 0 && parsed[i].bar.date == parsed[i - 1].bar.date) {
                report.problems.push_back(QStringLiteral("%1:%2: duplicate date %3, skipped")
                                              .arg(name)
                                              .arg(parsed[i].line)
                                              .arg(parsed[i].bar.date.toString(Qt::ISODate)));
                ++report.skippedRows;
                continue;
            }
            bars.push_back(parsed[i].bar);
        }
    }
    return {};
}

std::expected<void, ImportError> readPriceFile(const QString& path, PriceTable& table, ImportReport& report)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::unexpected(
            ImportError::after(report, QStringLiteral("%1: cannot read: %2").arg(path, file.errorString())));
    const QFileInfo info(path);
    return readPriceRows(file, info.fileName(), info.completeBaseName().trimmed().toUpper(), table, report);
}

// Real and simulated prices must never be compared with each other: the first real prices
// take the demo market's bars away (its symbols and their metadata stay).
std::expected<void, DataError> leaveSimulation(MarketDatabase::Writer& writer)
{
    if (auto removed = writer.removeAllBars(); !removed)
        return removed;
    writer.removeMeta(QString::fromLatin1(MarketDatabase::demoSeedKey));
    writer.removeMeta(QString::fromLatin1(MarketDatabase::lastDemoDateKey));
    return {};
}

// The files named by the paths: files as given, directories by their *.csv files.
std::expected<QStringList, ImportError> priceFiles(const QStringList& paths)
{
    QStringList files;
    for (const QString& path : paths) {
        const QFileInfo info(path);
        if (info.isDir()) {
            const QDir dir(path);
            const QStringList names
                = dir.entryList({ QStringLiteral("*.csv"), QStringLiteral("*.CSV") }, QDir::Files, QDir::Name);
            if (names.isEmpty())
                return std::unexpected(
                    ImportError { QStringLiteral("%1: no .csv files in this directory").arg(path), {}, {} });
            for (const QString& name : names)
                files.push_back(dir.filePath(name));
        } else if (info.exists()) {
            files.push_back(path);
        } else {
            return std::unexpected(ImportError { QStringLiteral("%1: no such file or directory").arg(path), {}, {} });
        }
    }
    if (files.isEmpty())
        return std::unexpected(ImportError { QStringLiteral("no price files given"), {}, {} });
    return files;
}

} // namespace

QStringList ImportReport::lines() const
{
    return notes + problems
        + QStringList { QStringLiteral("imported %1 rows for %2 symbols from %3 files (%4 rows skipped)")
                            .arg(rows)
                            .arg(symbols)
                            .arg(files)
                            .arg(skippedRows) };
}

ImportError ImportError::after(const ImportReport& report, QString reason)
{
    return ImportError { std::move(reason), report.problems, report.notes };
}

QString ImportError::description() const
{
    return QStringLiteral("import failed, nothing was imported: %1").arg(reason);
}

QStringList ImportError::lines() const
{
    return notes + problems + QStringList { description() };
}

ImportResult importPrices(MarketDatabase& database, const QStringList& paths)
{
    ImportReport report;
    const auto files = priceFiles(paths);
    if (!files)
        return std::unexpected(files.error());
    PriceTable table;
    for (const QString& file : *files) {
        if (auto read = readPriceFile(file, table, report); !read)
            return std::unexpected(std::move(read.error()));
        ++report.files;
    }

    const bool replacesSimulation = database.dataSource() == DataSource::simulated;
    auto written = database.write([&](MarketDatabase::Writer& writer) -> std::expected<void, DataError> {
        if (replacesSimulation)
            if (auto left = leaveSimulation(writer); !left)
                return left;
        for (const auto& [symbol, bars] : table) {
            if (auto added = writer.ensureSymbol(symbol); !added)
                return added;
            if (auto replaced = writer.replaceDailyBars(symbol, bars); !replaced)
                return replaced;
        }
        return writer.setMeta(QString::fromLatin1(MarketDatabase::dataSourceKey), QStringLiteral("imported"));
    });
    if (!written)
        return std::unexpected(ImportError::after(report, written.error().description()));
    if (replacesSimulation)
        report.notes.push_back(QStringLiteral("the simulated prices were removed; the data is now imported"));
    report.symbols = static_cast<int>(table.size());
    for (const auto& [symbol, bars] : table)
        report.rows += std::ssize(bars);
    return report;
}

std::expected<std::vector<DailyBar>, ImportError> readPriceCsv(
    QIODevice& device, const QString& name, const QString& symbol, ImportReport& report)
{
    PriceTable table;
    if (auto read = readPriceRows(device, name, symbol, table, report); !read)
        return std::unexpected(std::move(read.error()));
    // A symbol column naming other symbols is someone else's prices.
    if (table.size() != 1 || table.begin()->first != symbol)
        return std::unexpected(
            ImportError::after(report, QStringLiteral("%1: not the prices of %2").arg(name, symbol)));
    return std::move(table.begin()->second);
}

std::expected<void, DataError> storeImportedBars(MarketDatabase& database, const QString& symbol,
    std::span<const DailyBar> bars, BarWrite mode, const QString& provider)
{
    const bool replacesSimulation = database.dataSource() == DataSource::simulated;
    return database.write([&](MarketDatabase::Writer& writer) -> std::expected<void, DataError> {
        if (replacesSimulation)
            if (auto left = leaveSimulation(writer); !left)
                return left;
        if (auto added = writer.ensureSymbol(symbol); !added)
            return added;
        auto stored
            = mode == BarWrite::replace ? writer.replaceDailyBars(symbol, bars) : writer.appendDailyBars(symbol, bars);
        if (!stored)
            return stored;
        if (auto named = writer.setMeta(QString::fromLatin1(MarketDatabase::providerKey), provider); !named)
            return named;
        return writer.setMeta(QString::fromLatin1(MarketDatabase::dataSourceKey), QStringLiteral("imported"));
    });
}

std::expected<void, DataError> recordRefresh(MarketDatabase& database, const QString& provider, const QDateTime& time)
{
    return database.write([&](MarketDatabase::Writer& writer) -> std::expected<void, DataError> {
        if (auto named = writer.setMeta(QString::fromLatin1(MarketDatabase::providerKey), provider); !named)
            return named;
        return writer.setMeta(QString::fromLatin1(MarketDatabase::lastRefreshKey), time.toUTC().toString(Qt::ISODate));
    });
}

} // namespace tessary::server
