#include "TessaryServer/Data/DemoMarket.h"

#include <QDateTime>

#include "TessaryServer/Data/DemoUniverse.h"
#include "TessaryServer/Data/MarketDatabase.h"
#include "TessaryServer/Data/MarketSimulation.h"
#include "TessaryServer/Data/TradingCalendar.h"

namespace tessary::server {

namespace {

constexpr auto firstDayKey = "demo_first_day";
constexpr auto intradaySessionsKey = "demo_intraday_sessions";

QString key(const char* name)
{
    return QString::fromLatin1(name);
}

QDate resolvedLastDay(QDate lastDay)
{
    return lastDay.isValid() ? tradingDayOnOrBefore(lastDay) : lastCompletedSession(QDateTime::currentDateTimeUtc());
}

// Writes (or continues) every demo symbol's bars through the simulation's last day, inside
// the caller's transaction. Bars already stored are kept; only later days are added.
std::expected<DemoReport, DataError> writeSimulation(MarketDatabase::Writer& writer,
    const demo::MarketSimulation& simulation, int intradaySessions, const ProgressCallback& progress,
    const std::stop_token& stop)
{
    DemoReport report;
    report.lastDay = simulation.lastDay();
    const auto& symbols = demo::demoSymbols();
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        if (stop.stop_requested())
            return std::unexpected(DataError { QStringLiteral("the demo market's generation was cancelled") });
        const demo::DemoSymbol& symbol = symbols[i];
        if (auto added = writer.upsertSymbol(symbol.info); !added)
            return std::unexpected(added.error());
        const DailyHistory daily = simulation.dailyHistory(symbol);
        const auto stored = writer.lastDailyBar(symbol.info.symbol);
        if (auto appended = writer.appendDailyBars(symbol.info.symbol, daily); !appended)
            return std::unexpected(appended.error());
        report.dailyBars
            += std::ranges::count_if(daily, [&](const DailyBar& bar) { return !stored || bar.date > stored->date; });
        const IntradayHistory intraday = simulation.intradayHistory(symbol, daily, intradaySessions);
        if (auto replaced = writer.replaceIntradayBars(symbol.info.symbol, intraday); !replaced)
            return std::unexpected(replaced.error());
        report.intradayBars += std::ssize(intraday);
        ++report.symbols;
        if (progress)
            progress(0.05 + 0.95 * double(i + 1) / double(symbols.size()));
    }
    if (auto done = writer.setMeta(key(MarketDatabase::lastDemoDateKey), simulation.lastDay().toString(Qt::ISODate));
        !done)
        return std::unexpected(done.error());
    return report;
}

std::expected<DemoReport, DataError> runWrite(
    MarketDatabase& database, const std::function<std::expected<DemoReport, DataError>(MarketDatabase::Writer&)>& body)
{
    DemoReport report;
    auto written = database.write([&](MarketDatabase::Writer& writer) -> std::expected<void, DataError> {
        auto result = body(writer);
        if (!result)
            return std::unexpected(result.error());
        report = *result;
        return {};
    });
    if (!written)
        return std::unexpected(written.error());
    return report;
}

} // namespace

std::expected<DemoReport, DataError> generateDemoMarket(
    MarketDatabase& database, const DemoOptions& options, const ProgressCallback& progress, std::stop_token stop)
{
    if (!database.isEmpty())
        return std::unexpected(DataError { QStringLiteral("the demo market needs an empty database") });
    const QDate lastDay = resolvedLastDay(options.lastDay);
    if (!options.firstDay.isValid() || lastDay < options.firstDay)
        return std::unexpected(DataError { QStringLiteral("the demo market's first day must come before its last") });
    if (progress)
        progress(0);
    const demo::MarketSimulation simulation(options.seed, options.firstDay, lastDay);
    if (progress)
        progress(0.05);
    return runWrite(database, [&](MarketDatabase::Writer& writer) -> std::expected<DemoReport, DataError> {
        for (const auto& [name, value] : { std::pair { MarketDatabase::dataSourceKey, QStringLiteral("simulated") },
                 std::pair { MarketDatabase::demoSeedKey, QString::number(options.seed) },
                 std::pair { firstDayKey, options.firstDay.toString(Qt::ISODate) },
                 std::pair { intradaySessionsKey, QString::number(options.intradaySessions) } })
            if (auto done = writer.setMeta(key(name), value); !done)
                return std::unexpected(done.error());
        return writeSimulation(writer, simulation, options.intradaySessions, progress, stop);
    });
}

std::expected<DemoReport, DataError> extendDemoMarket(
    MarketDatabase& database, QDate lastDay, const ProgressCallback& progress, std::stop_token stop)
{
    const auto seed = database.demoSeed();
    const auto lastDemoDate = database.lastDemoDate();
    const QDate firstDay = QDate::fromString(database.metaValue(key(firstDayKey)).value_or(QString()), Qt::ISODate);
    if (database.dataSource() != DataSource::simulated || !seed || !lastDemoDate || !firstDay.isValid())
        return std::unexpected(DataError { QStringLiteral("this database holds no demo market") });
    const int intradaySessions = database.metaValue(key(intradaySessionsKey)).value_or(QStringLiteral("5")).toInt();
    const QDate target = resolvedLastDay(lastDay);
    if (target <= *lastDemoDate)
        return DemoReport { 0, 0, 0, *lastDemoDate };
    if (progress)
        progress(0);
    const demo::MarketSimulation simulation(*seed, firstDay, target);
    return runWrite(database, [&](MarketDatabase::Writer& writer) {
        return writeSimulation(writer, simulation, intradaySessions, progress, stop);
    });
}

std::expected<DemoReport, DataError> prepareMarket(
    MarketDatabase& database, bool demoEnabled, const ProgressCallback& progress, std::stop_token stop)
{
    if (database.isEmpty())
        return demoEnabled ? generateDemoMarket(database, DemoOptions {}, progress, std::move(stop)) : DemoReport {};
    if (database.dataSource() == DataSource::simulated && database.demoSeed())
        return extendDemoMarket(database, {}, progress, std::move(stop));
    return DemoReport {};
}

} // namespace tessary::server
