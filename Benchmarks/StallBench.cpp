#include "Support/FixtureServer.h"
#include "Tessary/MarketData/MarketData.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QThread>
#include <QTimer>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

using namespace tessary;
using namespace std::chrono_literals;
using test::ScriptedReply;

namespace {

// How often the GUI thread is asked to run a slot; a gap longer than this is a stall.
constexpr auto tick = 5ms;
// Shorter than the app's minute, so a run ends soon; the deadline works the same way.
constexpr auto clientTimeout = 2s;

// One request for prices to a server that misbehaves as `reply` says, made on this thread as
// the app makes it on its GUI thread. The server has a thread of its own, so the stall is the
// client's alone. Reports the longest gap between two ticks and when the error arrived.
void guiStall(benchmark::State& state, const ScriptedReply& reply)
{
    qint64 longest = 0;
    qint64 failedAfter = 0;
    bool failed = true;
    for (auto _ : state) {
        QThread serverThread;
        auto* server = new test::FixtureServer;
        server->script(QStringLiteral("/prices"), reply);
        server->moveToThread(&serverThread);
        serverThread.start();

        QNetworkAccessManager network;
        APIClient client(server->baseUrl(), &network);
        client.setTimeout(clientTimeout);
        QEventLoop loop;
        QElapsedTimer sinceTick;
        QTimer ticker;
        QObject::connect(&ticker, &QTimer::timeout, &loop, [&] { longest = std::max(longest, sinceTick.restart()); });
        ticker.start(tick);
        QElapsedTimer elapsed;
        elapsed.start();
        sinceTick.start();
        QCoro::connect(client.prices({ QStringLiteral("AAPL") }, Timeframe::oneYear, std::nullopt, false), &loop,
            [&](const MarketDataResult<PricesResponse>& result) {
                failed = failed && !result;
                failedAfter = elapsed.elapsed();
                loop.quit();
            });
        loop.exec();
        longest = std::max(longest, sinceTick.elapsed());
        state.SetIterationTime(double(failedAfter) / 1000);

        QMetaObject::invokeMethod(
            server, [server] { delete server; }, Qt::BlockingQueuedConnection);
        serverThread.quit();
        serverThread.wait();
    }
    if (!failed)
        state.SkipWithError("the misbehaving server's reply was taken as good");
    state.counters["longest_stall_ms"] = double(longest);
    state.counters["error_after_ms"] = double(failedAfter);
}

void BM_GuiStallServerNeverAnswers(benchmark::State& state)
{
    guiStall(state, ScriptedReply::silent());
}

void BM_GuiStallServerHangsUpMidReply(benchmark::State& state)
{
    guiStall(state, ScriptedReply::cutOff(QByteArray(64 * 1024, ' ')));
}

void BM_GuiStallServerSends10BytesASecond(benchmark::State& state)
{
    guiStall(state, ScriptedReply::trickled(QByteArray(1024, ' '), 10));
}

void BM_GuiStallServerSends50MB(benchmark::State& state)
{
    guiStall(state, ScriptedReply::json(QByteArray(50 * 1024 * 1024, ' ')));
}

} // namespace

// Each run waits for the client's deadline, so one iteration says enough.
BENCHMARK(BM_GuiStallServerNeverAnswers)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GuiStallServerHangsUpMidReply)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GuiStallServerSends10BytesASecond)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GuiStallServerSends50MB)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
