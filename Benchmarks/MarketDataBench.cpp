#include "Tessary/MarketData/MarketData.h"
#include "Tessary/Model/Comparison.h"

#include <QJsonObject>

#include <benchmark/benchmark.h>

#include <map>
#include <random>

using namespace tessary;

namespace {

constexpr int listTickers = 201;
constexpr qint64 dayMs = 86'400'000;

// A prices body shaped like the service's: every ticker with dates, performance and adjusted
// closes, a few nulls, and a full ranking with preset returns.
QByteArray pricesBody(int tickers, int bars)
{
    std::mt19937 random(7);
    std::normal_distribution<double> daily(0.0004, 0.015);
    QByteArray body;
    body.reserve(static_cast<qsizetype>(tickers) * bars * 40);
    body += R"({"range":{"actual_start":"2021-01-04","actual_end":"2023-05-26","interval":"1D"},"series":[)";
    for (int t = 0; t < tickers; ++t) {
        QByteArray dates, performance, closes;
        double price = 50.0 + t;
        const double first = price;
        for (int i = 0; i < bars; ++i) {
            price *= 1.0 + daily(random);
            const char* separator = i ? "," : "";
            dates += separator + QByteArray::number(1'609'718'400'000 + i * dayMs);
            const bool gap = t % 50 == 3 && i % 97 == 5;
            performance += separator + (gap ? QByteArray("null") : QByteArray::number(price / first - 1.0, 'g', 8));
            closes += separator + (gap ? QByteArray("null") : QByteArray::number(price, 'f', 4));
        }
        body += (t ? ",{" : "{") + QByteArray(R"("ticker":"T)") + QByteArray::number(t) + R"(","dates":[)" + dates
            + R"(],"performance":[)" + performance + R"(],"adjClose":[)" + closes + "]}";
    }
    body += R"(],"rankings":[)";
    for (int t = 0; t < tickers; ++t) {
        body += (t ? ",{" : "{") + QByteArray(R"("ticker":"T)") + QByteArray::number(t)
            + R"(","cagr":0.1123,"volatility":0.2211,"net_return":0.2531,"sharpe_ratio":0.87,)"
              R"("period_max_drawdown":-0.1834,"start_date":"2021-01-04","end_value":187.44,"market_cap":2.1e11,)"
              R"("preset_returns":{)";
        for (const Timeframe timeframe : Timeframes::all())
            body += '"' + Timeframes::rawValue(timeframe).toLatin1() + R"(":0.0123,)";
        body.chop(1);
        body += "}}";
    }
    body += R"(],"skipped_tickers":[],"data_freshness":{"latest_historical_timestamp":"2023-05-26T20:00:00Z"}})";
    return body;
}

QByteArray universeBody(int symbols)
{
    QByteArray tickers, names, etf, fund, caps, sectors, industries, exchanges;
    for (int i = 0; i < symbols; ++i) {
        const char* separator = i ? "," : "";
        const QByteArray symbol = "S" + QByteArray::number(i);
        tickers += separator + ('"' + symbol + '"');
        names += separator + (i % 40 ? R"("Company )" + symbol + R"( Holdings Inc.")" : QByteArray("null"));
        etf += separator + QByteArray(i % 7 ? "false" : "true");
        fund += separator + QByteArray(i % 11 ? "false" : "true");
        caps += separator + (i % 5 ? QByteArray::number(1.0e9 + i * 1.0e6, 'g', 12) : QByteArray("null"));
        sectors += separator + QByteArray(i % 3 ? R"("Information Technology")" : "null");
        industries += separator + QByteArray(R"("Application Software")");
        exchanges += separator + QByteArray(i % 2 ? R"("NASDAQ")" : R"("NYSE")");
    }
    return R"({"tickers":{"tickers":[)" + tickers + R"(],"companyNames":[)" + names + R"(],"isEtf":[)" + etf
        + R"(],"isFund":[)" + fund + R"(],"marketCaps":[)" + caps + R"(],"sectors":[)" + sectors + R"(],"industries":[)"
        + industries + R"(],"exchanges":[)" + exchanges + "]}}";
}

const QByteArray& cachedPrices(int bars)
{
    static std::map<int, QByteArray> bodies;
    auto [it, inserted] = bodies.try_emplace(bars);
    if (inserted)
        it->second = pricesBody(listTickers, bars);
    return it->second;
}

QStringList listSymbols()
{
    QStringList symbols;
    for (int t = 1; t < listTickers; ++t)
        symbols.append(QStringLiteral("T%1").arg(t));
    return symbols;
}

void requireDecoded(benchmark::State& state, bool decoded)
{
    if (!decoded)
        state.SkipWithError("the generated body did not decode");
}

void decodePricesWithQt(benchmark::State& state)
{
    const QByteArray& body = cachedPrices(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const auto object = parseJsonObject(body);
        const auto decoded = object ? decodePricesResponse(*object) : Decoded<PricesResponse>();
        requireDecoded(state, object && decoded);
        benchmark::DoNotOptimize(decoded);
    }
    state.SetBytesProcessed(state.iterations() * body.size());
}

void decodePricesWithSimdjson(benchmark::State& state)
{
    if (!FastWireDecoding::available())
        return state.SkipWithError("built without simdjson");
    const QByteArray& body = cachedPrices(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const auto decoded = FastWireDecoding::decodePricesResponse(body);
        requireDecoded(state, decoded.has_value());
        benchmark::DoNotOptimize(decoded);
    }
    state.SetBytesProcessed(state.iterations() * body.size());
}

// What a refresh costs between the last byte arriving and the comparison being published.
void decodeAndAssemble(benchmark::State& state)
{
    const QByteArray& body = cachedPrices(static_cast<int>(state.range(0)));
    const QStringList symbols = listSymbols();
    for (auto _ : state) {
        const auto decoded = decodePricesResponse(body);
        requireDecoded(state, decoded.has_value());
        if (decoded)
            benchmark::DoNotOptimize(buildComparison(*decoded, symbols, QStringLiteral("T0")));
    }
}

void assemble(benchmark::State& state)
{
    const auto decoded = decodePricesResponse(cachedPrices(static_cast<int>(state.range(0))));
    if (!decoded)
        return state.SkipWithError("the generated body did not decode");
    const QStringList symbols = listSymbols();
    for (auto _ : state)
        benchmark::DoNotOptimize(buildComparison(*decoded, symbols, QStringLiteral("T0")));
}

const QByteArray& cachedUniverse()
{
    static const QByteArray body = universeBody(15'000);
    return body;
}

void decodeUniverseWithQt(benchmark::State& state)
{
    for (auto _ : state) {
        const auto object = parseJsonObject(cachedUniverse());
        const auto decoded = object ? decodeTickersResponse(*object) : Decoded<TickersResponse>();
        requireDecoded(state, object && decoded);
        if (decoded)
            benchmark::DoNotOptimize(tickerInfos(*decoded));
    }
    state.SetBytesProcessed(state.iterations() * cachedUniverse().size());
}

void decodeUniverseWithSimdjson(benchmark::State& state)
{
    if (!FastWireDecoding::available())
        return state.SkipWithError("built without simdjson");
    for (auto _ : state) {
        const auto decoded = FastWireDecoding::decodeTickersResponse(cachedUniverse());
        requireDecoded(state, decoded.has_value());
        if (decoded)
            benchmark::DoNotOptimize(tickerInfos(*decoded));
    }
    state.SetBytesProcessed(state.iterations() * cachedUniverse().size());
}

} // namespace

BENCHMARK(decodePricesWithQt)->Arg(600)->Arg(1260)->Unit(benchmark::kMillisecond);
BENCHMARK(decodePricesWithSimdjson)->Arg(600)->Arg(1260)->Unit(benchmark::kMillisecond);
BENCHMARK(decodeAndAssemble)->Arg(600)->Arg(1260)->Unit(benchmark::kMillisecond);
BENCHMARK(assemble)->Arg(600)->Arg(1260)->Unit(benchmark::kMillisecond);
BENCHMARK(decodeUniverseWithQt)->Unit(benchmark::kMillisecond);
BENCHMARK(decodeUniverseWithSimdjson)->Unit(benchmark::kMillisecond);
