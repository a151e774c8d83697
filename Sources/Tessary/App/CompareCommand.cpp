#include "CompareCommand.h"

#include "CommandRunner.h"
#include "ServiceLauncher.h"

#include "Tessary/Model/DateLabel.h"
#include "Tessary/Model/Format.h"
#include "Tessary/Model/RankSort.h"
#include "Tessary/Store/Store.h"
#include "Tessary/Views/Chart/ChartExportCard.h"
#include "Tessary/Views/Chart/ChartExporter.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "TessaryWire/Json.h"
#include "TessaryWire/MarketTime.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QJsonValue>
#include <QTimer>

#include <cstdio>

namespace tessary {

namespace {

const QString simulatedNote
    = QStringLiteral("Note: these prices are simulated by the built-in demo market; they are not real quotes.");
const QString missingValue = QStringLiteral("NA");
const QString pngOption = QStringLiteral("--png");
const QString svgOption = QStringLiteral("--svg");

int fail(const QString& message)
{
    printLine(stderr, QStringLiteral("tessary compare: ") + message);
    return 1;
}

QString cell(const RankRow& row, RankColumn column)
{
    const auto value = rankValue(row, column);
    if (column == RankColumn::ticker)
        return row.ticker;
    if (!value)
        return missingValue;
    switch (column) {
    case RankColumn::price:
        return Format::price(value);
    case RankColumn::marketCap:
        return Format::marketCap(value);
    case RankColumn::sharpe:
        return Format::ratio(value);
    case RankColumn::netReturn:
    case RankColumn::vsBenchmark:
        return Format::percent(value, true);
    default:
        return Format::percent(value);
    }
}

std::vector<RankRow> orderedRows(const Comparison& comparison)
{
    return sortRankRows(rowsWithBenchmark(comparison.rows, comparison.benchmarkRow), RankColumn::netReturn, false);
}

std::optional<double> lastPointDate(const Comparison& comparison)
{
    std::optional<double> last;
    for (const ChartSeries& series : comparison.series) {
        if (!series.points.empty())
            last = std::max(last.value_or(series.points.back().date), series.points.back().date);
    }
    return last;
}

// Writes the export card of `comparison` to the files the request names.
std::expected<void, CommandLineError> writeChart(const CompareRequest& request, const QString& name,
    const ListPeriod& period, const Comparison& comparison, bool log)
{
    ChartFocus focus;
    const ChartExportCard card({ name, period, std::make_shared<const Comparison>(comparison), log }, focus,
        request.dark ? ChartExportCard::Appearance::dark : ChartExportCard::Appearance::light);
    if (request.png) {
        const auto image = ChartExporter::image(card, request.scale.value_or(ChartExporter::defaultScale));
        const auto bytes = image ? ChartExporter::png(*image) : std::nullopt;
        if (!bytes)
            return std::unexpected(CommandLineError { QStringLiteral("the chart image could not be drawn") });
        if (auto saved = ChartExporter::save(*bytes, *request.png); !saved)
            return std::unexpected(CommandLineError { saved.error().description() });
    }
    if (request.svg) {
        const auto bytes = ChartExporter::svg(card);
        if (!bytes)
            return std::unexpected(CommandLineError { QStringLiteral("the chart could not be drawn as SVG") });
        if (auto saved = ChartExporter::save(*bytes, *request.svg); !saved)
            return std::unexpected(CommandLineError { saved.error().description() });
    }
    return {};
}

QCoro::Task<int> compare(Store& store, CompareRequest request)
{
    QStringList tickers = request.symbols;
    QString benchmark = request.benchmark.value_or(QString::fromLatin1(defaultBenchmark));
    ListPeriod period = request.period.value_or(ListPeriod {});
    QString name = request.symbols.join(QStringLiteral(", "));
    if (request.listName) {
        const ComparisonList* found = nullptr;
        for (const ComparisonList& list : store.lists()) {
            if (list.name.compare(*request.listName, Qt::CaseInsensitive) == 0)
                found = &list;
        }
        if (!found)
            co_return fail(QStringLiteral("no saved list is named “%1”").arg(*request.listName));
        tickers = found->tickers;
        name = found->name;
        benchmark = request.benchmark.value_or(found->benchmark);
        period = request.period.value_or(found->period());
        if (tickers.isEmpty())
            co_return fail(QStringLiteral("the list “%1” is empty").arg(found->name));
    }

    const auto comparison = co_await store.fetchComparison(tickers, benchmark, period);
    if (!comparison)
        co_return fail(comparison.error().description());
    if (comparison->rows.empty() && comparison->series.empty())
        co_return fail(QStringLiteral("No price data for ") + tickers.join(QStringLiteral(", ")));
    // Files first: when one cannot be written, the error is all there is to read.
    if (const auto written = writeChart(request, name, period, *comparison, store.logScale()); !written)
        co_return fail(written.error().description());
    if (request.json)
        printLine(stdout, QString::fromUtf8(formatCompareJson(*comparison)));
    else
        printLine(stdout, formatCompareTable(*comparison, benchmark, period));
    co_return 0;
}

} // namespace

QString compareUsage()
{
    return QStringLiteral(
        "usage: tessary compare SYMBOL... [--benchmark SYM] [--period PRESET|SCENARIO_ID|START..END] [--json]\n"
        "                       [--png FILE] [--svg FILE] [--dark] [--scale 1|2|3]\n"
        "       tessary compare --list NAME [--benchmark SYM] [--period ...] [--json] [--png FILE] ...\n"
        "Prints the rankings of the tickers over the period (default 1Y, against SPY). Dates are yyyy-MM-dd;\n"
        "START.. runs up to today. --png and --svg also write the chart as an image card (light unless\n"
        "--dark; --scale pixels per point, 2 by default). Uses TESSARY_API when set, otherwise the\n"
        "built-in demo market service.");
}

std::expected<ListPeriod, CommandLineError> parsePeriodArgument(const QString& text)
{
    if (const auto preset = Timeframes::fromRawValue(text.toUpper()))
        return ListPeriod::forPreset(*preset);
    if (const Scenario* scenario = Scenario::find(text))
        return ListPeriod::forScenario(*scenario);
    const qsizetype dots = text.indexOf(QStringLiteral(".."));
    if (dots > 0) {
        const QString start = text.left(dots);
        const QString end = text.mid(dots + 2);
        if (!DateLabel::parse(start) || (!end.isEmpty() && !DateLabel::parse(end)))
            return std::unexpected(
                CommandLineError { QStringLiteral("dates in a range are written yyyy-MM-dd: “%1”").arg(text) });
        if (!end.isEmpty() && end < start)
            return std::unexpected(
                CommandLineError { QStringLiteral("the range “%1” ends before it starts").arg(text) });
        return ListPeriod::forRange(start, end.isEmpty() ? std::nullopt : std::optional(end));
    }
    return std::unexpected(CommandLineError {
        QStringLiteral("unknown period “%1”: use a preset such as 1Y, a scenario id, or START..END").arg(text) });
}

std::expected<CompareRequest, CommandLineError> parseCompareArguments(const QStringList& arguments)
{
    CompareRequest request;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const auto value = [&]() -> std::optional<QString> {
            if (i + 1 >= arguments.size())
                return std::nullopt;
            return arguments[++i];
        };
        if (argument == QStringLiteral("--json")) {
            request.json = true;
        } else if (argument == QStringLiteral("--dark")) {
            request.dark = true;
        } else if (argument == QStringLiteral("--benchmark") || argument == QStringLiteral("--period")
            || argument == QStringLiteral("--list") || argument == pngOption || argument == svgOption
            || argument == QStringLiteral("--scale")) {
            const auto given = value();
            if (!given || given->trimmed().isEmpty())
                return std::unexpected(CommandLineError { argument + QStringLiteral(" needs a value") });
            if (argument == QStringLiteral("--benchmark")) {
                request.benchmark = given->trimmed().toUpper();
            } else if (argument == QStringLiteral("--list")) {
                request.listName = given->trimmed();
            } else if (argument == pngOption) {
                request.png = *given;
            } else if (argument == svgOption) {
                request.svg = *given;
            } else if (argument == QStringLiteral("--scale")) {
                const QString scale = given->trimmed();
                if (scale != QStringLiteral("1") && scale != QStringLiteral("2") && scale != QStringLiteral("3"))
                    return std::unexpected(
                        CommandLineError { QStringLiteral("--scale is 1, 2 or 3, not “%1”").arg(scale) });
                request.scale = scale.toInt();
            } else {
                auto period = parsePeriodArgument(given->trimmed());
                if (!period)
                    return std::unexpected(period.error());
                request.period = *period;
            }
        } else if (argument.startsWith(QStringLiteral("--"))) {
            return std::unexpected(CommandLineError { QStringLiteral("unknown option ") + argument });
        } else {
            for (const QString& piece : argument.split(u',', Qt::SkipEmptyParts)) {
                const QString symbol = piece.trimmed().toUpper();
                if (!symbol.isEmpty() && !request.symbols.contains(symbol))
                    request.symbols.append(symbol);
            }
        }
    }
    if (request.listName && !request.symbols.isEmpty())
        return std::unexpected(CommandLineError { QStringLiteral("give ticker symbols or --list NAME, not both") });
    if (!request.listName && request.symbols.isEmpty())
        return std::unexpected(CommandLineError { QStringLiteral("give at least one ticker symbol, or --list NAME") });
    if ((request.dark || request.scale) && !request.png && !request.svg)
        return std::unexpected(CommandLineError { QStringLiteral("--dark and --scale go with --png or --svg") });
    if (request.symbols.size() > maxTickersPerList)
        return std::unexpected(CommandLineError { QStringLiteral("a comparison holds at most %1 tickers; %2 were given")
                                                      .arg(maxTickersPerList)
                                                      .arg(request.symbols.size()) });
    return request;
}

QString formatCompareTable(const Comparison& comparison, const QString& benchmark, const ListPeriod& period)
{
    const auto rows = orderedRows(comparison);
    constexpr int columnCount = static_cast<int>(RankColumn::count);
    std::vector<QStringList> table;
    QStringList headings;
    for (int c = 0; c < columnCount; ++c)
        headings.append(rankColumnHeading(static_cast<RankColumn>(c), benchmark));
    table.push_back(headings);
    for (const RankRow& row : rows) {
        QStringList cells;
        for (int c = 0; c < columnCount; ++c)
            cells.append(cell(row, static_cast<RankColumn>(c)));
        if (row.incomplete)
            cells[0] += u'*';
        table.push_back(cells);
    }
    std::vector<qsizetype> widths(columnCount, 0);
    for (const QStringList& line : table) {
        for (int c = 0; c < columnCount; ++c)
            widths[c] = std::max(widths[c], line[c].size());
    }

    QStringList out;
    QString covered = period.label();
    const auto last = lastPointDate(comparison);
    if (comparison.start.isValid() && last) {
        const auto day = [&](const QDateTime& instant) { return DateLabel::display(barDay(comparison, instant)); };
        covered += QStringLiteral(": %1 to %2")
                       .arg(day(comparison.start),
                           day(QDateTime::fromMSecsSinceEpoch(qint64(*last * 1000), QTimeZone::utc())));
    }
    out.append(QStringLiteral("%1 against %2 · %3").arg(rows.size()).arg(benchmark, covered));
    out.append(QString());
    for (std::size_t r = 0; r < table.size(); ++r) {
        QStringList padded;
        for (int c = 0; c < columnCount; ++c)
            padded.append(c == 0 ? table[r][c].leftJustified(widths[c]) : table[r][c].rightJustified(widths[c]));
        out.append(padded.join(QStringLiteral("  ")));
    }
    if (std::any_of(rows.begin(), rows.end(), [](const RankRow& row) { return row.incomplete; }))
        out.append(QStringLiteral("* data starts after the period begins; listed last."));
    if (!comparison.skipped.isEmpty())
        out.append(
            QStringLiteral("Skipped (unknown to the service): ") + comparison.skipped.join(QStringLiteral(", ")));
    if (comparison.dataSource == QStringLiteral("simulated"))
        out.append(simulatedNote);
    return out.join(u'\n');
}

QByteArray formatCompareJson(const Comparison& comparison)
{
    QList<QByteArray> objects;
    for (const RankRow& row : orderedRows(comparison)) {
        OrderedJsonWriter writer;
        writer.add(u"ticker", row.ticker);
        const auto add = [&](QStringView key, const std::optional<double>& value) {
            if (value)
                writer.add(key, *value);
        };
        add(u"netReturn", row.netReturn);
        add(u"vsBenchmark", row.vsBenchmark);
        add(u"cagr", row.cagr);
        add(u"volatility", row.volatility);
        add(u"sharpe", row.sharpe);
        add(u"maxDrawdown", row.maxDrawdown);
        add(u"price", row.price);
        add(u"marketCap", row.marketCap);
        if (row.startDate)
            writer.add(u"startDate", MarketTime::formatDate(*row.startDate));
        writer.add(u"incomplete", row.incomplete);
        objects.append(writer.finish());
    }
    return joinJsonArray(objects);
}

bool compareDrawsChart(const QStringList& arguments)
{
    return arguments.contains(pngOption) || arguments.contains(svgOption);
}

int runCompareCommand(const QStringList& arguments)
{
    if (arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"))) {
        printLine(stdout, compareUsage());
        return 0;
    }
    const auto request = parseCompareArguments(arguments);
    if (!request)
        return fail(request.error().description());
    const auto environment = Environment::read();
    if (!environment)
        return fail(environment.error().description());

    Store store(Store::Options::at(environment->dataDir.value_or(QString())));
    ServiceLauncher launcher(store, *environment);
    int status = 1;
    QObject::connect(&launcher, &ServiceLauncher::failed, qApp, [&](const QString& message) {
        status = fail(message);
        QCoreApplication::exit(status);
    });
    QObject::connect(&launcher, &ServiceLauncher::ready, qApp, [&] {
        QCoro::connect(compare(store, *request), qApp, [&](int result) {
            status = result;
            QCoreApplication::exit(result);
        });
    });
    // Started from the event loop: a request that fails at once must find a loop to end.
    QTimer::singleShot(0, &launcher, [&launcher] { launcher.start(false); });
    QCoreApplication::exec();
    return status;
}

} // namespace tessary
