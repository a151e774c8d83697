// The data layer's costs: generating the whole demo market, and reading histories out of the
// store cold (first use after opening) and warm (from the in-memory snapshots).
#include "TessaryServer/Data/Data.h"
#include "TessaryServer/Data/DemoUniverse.h"
#include "TessaryServer/Data/MarketSimulation.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace tessary;
using namespace tessary::server;

namespace {

const QDate lastDay(2026, 11, 20);

// One full demo market shared by the read benchmarks.
const QString& generatedStore()
{
    static QTemporaryDir dir;
    static const QString path = [] {
        auto database = MarketDatabase::open(dir.path());
        DemoOptions options;
        options.lastDay = lastDay;
        if (!database || !generateDemoMarket(**database, options))
            qFatal("cannot generate the demo market");
        return dir.path();
    }();
    return path;
}

QStringList firstSymbols(const MarketReader& reader, int count)
{
    QStringList symbols;
    const auto universe = reader.universe();
    for (const TickerInfo& info : *universe)
        if (symbols.size() < count)
            symbols.push_back(info.symbol);
    return symbols;
}

void generateWholeDemoMarket(benchmark::State& state)
{
    for (auto _ : state) {
        QTemporaryDir dir;
        auto database = MarketDatabase::open(dir.path());
        DemoOptions options;
        options.lastDay = lastDay;
        const auto report = generateDemoMarket(**database, options);
        if (!report)
            state.SkipWithError("generation failed");
        state.counters["daily_bars"] = double(report->dailyBars);
        state.counters["intraday_bars"] = double(report->intradayBars);
        state.counters["symbols"] = report->symbols;
        state.counters["file_MB"]
            = double(QFileInfo(static_cast<SqliteMarketDatabase&>(**database).filePath()).size()) / 1e6;
    }
}
BENCHMARK(generateWholeDemoMarket)->Iterations(1)->Unit(benchmark::kMillisecond);

void simulateWithoutStoring(benchmark::State& state)
{
    for (auto _ : state) {
        const demo::MarketSimulation simulation(DemoOptions {}.seed, QDate(1985, 1, 2), lastDay);
        std::size_t bars = 0;
        for (const auto& symbol : demo::demoSymbols())
            bars += simulation.dailyHistory(symbol).size();
        benchmark::DoNotOptimize(bars);
    }
}
BENCHMARK(simulateWithoutStoring)->Unit(benchmark::kMillisecond);

// 201 histories right after opening the store: every one read from SQLite.
void dailyBarsCold201(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        auto database = MarketDatabase::open(generatedStore());
        const QStringList symbols = firstSymbols(**database, 201);
        state.ResumeTiming();
        std::size_t bars = 0;
        for (const QString& symbol : symbols)
            bars += (*database)->dailyBars(symbol)->size();
        benchmark::DoNotOptimize(bars);
    }
}
BENCHMARK(dailyBarsCold201)->Unit(benchmark::kMillisecond);

// The same 201 histories once they are cached.
void dailyBarsWarm201(benchmark::State& state)
{
    auto database = MarketDatabase::open(generatedStore());
    const QStringList symbols = firstSymbols(**database, 201);
    for (const QString& symbol : symbols)
        (*database)->dailyBars(symbol);
    for (auto _ : state) {
        std::size_t bars = 0;
        for (const QString& symbol : symbols)
            bars += (*database)->dailyBars(symbol)->size();
        benchmark::DoNotOptimize(bars);
    }
}
BENCHMARK(dailyBarsWarm201)->Unit(benchmark::kMicrosecond);

void openStore(benchmark::State& state)
{
    generatedStore();
    for (auto _ : state)
        benchmark::DoNotOptimize(MarketDatabase::open(generatedStore()));
}
BENCHMARK(openStore)->Unit(benchmark::kMillisecond);

} // namespace
