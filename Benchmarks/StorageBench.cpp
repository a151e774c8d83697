// /prices for a full list (201 tickers, 5Y) on each storage backend: SQLite and PostgreSQL
// (a throwaway cluster). Cold: the first request after opening, every history read from the
// database; warm: served from the in-memory snapshots, as most requests are.
#include "Support/PostgresCluster.h"
#include "TessaryServer/Http/MarketHandlers.h"
#include "TessaryServer/Storage/ServerStorage.h"

#include <QStringList>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <random>

using namespace tessary;
using namespace tessary::server;

namespace {

constexpr int listTickers = 201;
const QDate lastDay(2026, 4, 17);

QString symbolAt(int index)
{
    return QStringLiteral("S%1").arg(index, 3, 10, QLatin1Char('0'));
}

// 201 symbols with six years of weekday closes, written through the importers' path.
bool fill(MarketDatabase& database)
{
    return database
        .write([](MarketDatabase::Writer& writer) -> std::expected<void, DataError> {
            std::mt19937 random(11);
            std::normal_distribution<double> daily(0.0003, 0.017);
            for (int t = 0; t < listTickers; ++t) {
                TickerInfo info;
                info.symbol = symbolAt(t);
                info.name = info.symbol;
                info.marketCap = 1e9 * (t + 1);
                if (auto added = writer.upsertSymbol(info); !added)
                    return added;
                DailyHistory bars;
                double price = 20.0 + t;
                for (QDate day = lastDay.addYears(-6); day <= lastDay; day = day.addDays(1)) {
                    if (day.dayOfWeek() > 5)
                        continue;
                    price *= 1.0 + daily(random);
                    bars.push_back(DailyBar { day, price * 1.1, price });
                }
                if (auto stored = writer.replaceDailyBars(info.symbol, bars); !stored)
                    return stored;
            }
            return {};
        })
        .has_value();
}

// The filled database of each backend, made once: 0 SQLite, 1 PostgreSQL. Null when
// PostgreSQL cannot be had.
const ServerStorage* storage(int backend)
{
    static QTemporaryDir directory;
    static const std::array<std::optional<ServerStorage>, 2> storages = [] {
        std::array<std::optional<ServerStorage>, 2> made;
        for (int index = 0; index < 2; ++index) {
            PostgresOptions postgres;
            if (index == 1) {
                auto* cluster = test::PostgresCluster::shared();
                if (!cluster)
                    continue;
                postgres.url = cluster->newDatabase();
            }
            auto opened = ServerStorage::open(directory.path(), postgres);
            auto market = opened ? opened->openMarket() : std::unexpected(opened.error());
            if (!market || !fill(**market))
                qFatal("cannot fill the benchmark database");
            made[index] = std::move(*opened);
        }
        return made;
    }();
    return storages[backend] ? &*storages[backend] : nullptr;
}

HttpRequest pricesRequest()
{
    QStringList symbols;
    for (int t = 0; t < listTickers; ++t)
        symbols.append(symbolAt(t));
    HttpRequest request;
    request.path = QStringLiteral("/prices");
    request.query = { { QStringLiteral("tickers"), symbols.join(u',') },
        { QStringLiteral("metrics"), QStringLiteral("volatility,sharpe,period_max_drawdown") },
        { QStringLiteral("preset"), QStringLiteral("5Y") }, { QStringLiteral("intraday"), QStringLiteral("false") } };
    return request;
}

void pricesOn(benchmark::State& state, bool cold)
{
    const ServerStorage* backend = storage(int(state.range(0)));
    if (!backend) {
        state.SkipWithError(qPrintable(test::PostgresCluster::unavailableReason()));
        return;
    }
    const HttpRequest request = pricesRequest();
    auto market = backend->openMarket();
    qsizetype bytes = 0;
    for (auto _ : state) {
        if (cold) {
            state.PauseTiming();
            market = backend->openMarket();
            state.ResumeTiming();
        }
        const HttpResponse response = MarketHandlers(**market).handle(request);
        if (response.status != 200)
            state.SkipWithError("the request failed");
        bytes = response.body.size();
        benchmark::DoNotOptimize(response.body.constData());
    }
    state.counters["reply_bytes"] = double(bytes);
}

void BM_Prices201x5YCold(benchmark::State& state)
{
    pricesOn(state, true);
}

void BM_Prices201x5YWarm(benchmark::State& state)
{
    pricesOn(state, false);
}

} // namespace

BENCHMARK(BM_Prices201x5YCold)->ArgName("postgres")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Prices201x5YWarm)->ArgName("postgres")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
