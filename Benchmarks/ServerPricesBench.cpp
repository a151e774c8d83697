// Server time and reply size of /prices for a full list (200 tickers and the benchmark),
// as it goes on the wire: plain, or gzip-coded at a given zlib level.
#include "TessaryServer/Http/ContentNegotiation.h"
#include "TessaryServer/Http/MarketHandlers.h"
#include "TessaryServer/MarketReader.h"

#include <QHash>
#include <QStringList>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

using namespace tessary;
using namespace tessary::server;

namespace {

constexpr int listTickers = 201;

// 201 symbols with 41 years of weekday closes each, held in memory the way the store hands
// out its snapshots, so only the request's own work is measured.
class SyntheticMarket final : public MarketReader {
public:
    SyntheticMarket()
    {
        std::mt19937 random(11);
        std::normal_distribution<double> daily(0.0003, 0.017);
        const QDate last(2026, 4, 17);
        for (int t = 0; t < listTickers; ++t) {
            TickerInfo info;
            info.symbol = QStringLiteral("S%1").arg(t, 3, 10, QLatin1Char('0'));
            info.name = info.symbol;
            info.marketCap = 1e9 * (t + 1);
            auto bars = std::make_shared<DailyHistory>();
            double price = 20.0 + t;
            for (QDate day = last.addYears(-41); day <= last; day = day.addDays(1)) {
                if (day.dayOfWeek() > 5)
                    continue;
                price *= 1.0 + daily(random);
                bars->push_back(DailyBar { day, price * 1.1, price });
            }
            m_daily.insert(info.symbol, bars);
            m_universe->push_back(info);
        }
    }

    std::shared_ptr<const Universe> universe() const override { return m_universe; }
    std::optional<TickerInfo> find(QStringView symbol) const override
    {
        const auto found = std::find_if(
            m_universe->begin(), m_universe->end(), [symbol](const TickerInfo& info) { return info.symbol == symbol; });
        return found == m_universe->end() ? std::nullopt : std::optional(*found);
    }
    std::shared_ptr<const DailyHistory> dailyBars(const QString& symbol) const override
    {
        return m_daily.value(symbol);
    }
    std::shared_ptr<const IntradayHistory> intradayBars(const QString&) const override { return m_noIntraday; }
    std::optional<QDate> lastMarketDate() const override { return QDate(2026, 4, 17); }
    DataSource dataSource() const override { return DataSource::simulated; }

    QString allSymbols() const
    {
        QStringList symbols;
        for (const TickerInfo& info : *m_universe)
            symbols.append(info.symbol);
        return symbols.join(u',');
    }

private:
    std::shared_ptr<Universe> m_universe = std::make_shared<Universe>();
    QHash<QString, std::shared_ptr<const DailyHistory>> m_daily;
    std::shared_ptr<const IntradayHistory> m_noIntraday = std::make_shared<IntradayHistory>();
};

const SyntheticMarket& market()
{
    static const SyntheticMarket shared;
    return shared;
}

void pricesForFullList(benchmark::State& state, const char* preset)
{
    const MarketHandlers handlers(market());
    const ContentNegotiation negotiation { static_cast<int>(state.range(0)) };
    HttpRequest request;
    request.headers = { { QByteArrayLiteral("Accept-Encoding"), QByteArrayLiteral("gzip, deflate") } };
    request.path = QStringLiteral("/prices");
    request.query = { { QStringLiteral("tickers"), market().allSymbols() },
        { QStringLiteral("skip_unknown"), QStringLiteral("true") },
        { QStringLiteral("metrics"), QStringLiteral("volatility,sharpe,period_max_drawdown") },
        { QStringLiteral("preset"), QString::fromLatin1(preset) },
        { QStringLiteral("intraday"), QStringLiteral("false") } };
    qsizetype bytes = 0;
    for (auto _ : state) {
        const HttpResponse response = negotiation.apply(request, handlers.handle(request));
        bytes = response.body.size();
        benchmark::DoNotOptimize(response.body.constData());
    }
    state.counters["reply_bytes"] = static_cast<double>(bytes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * bytes);
}

void BM_ServerPrices201x5Y(benchmark::State& state)
{
    pricesForFullList(state, "5Y");
}

void BM_ServerPrices201x40Y(benchmark::State& state)
{
    pricesForFullList(state, "40Y");
}

} // namespace

// gzip codes a large body on several threads: the CPU column counts them all.
BENCHMARK(BM_ServerPrices201x5Y)
    ->ArgName("gzip")
    ->DenseRange(0, 6)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ServerPrices201x40Y)
    ->ArgName("gzip")
    ->Arg(0)
    ->Arg(1)
    ->Arg(3)
    ->Arg(6)
    ->MeasureProcessCPUTime()
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
