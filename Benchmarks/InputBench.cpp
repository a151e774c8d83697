// Pasting a whole portfolio export into the ticker field: the text lands in the field, the
// suggestions follow its last symbol, Enter hands every symbol to the store and the notice
// names the ones not found. All of it runs on the UI thread between two frames.

#include "Tessary/Store/Store.h"
#include "Tessary/Views/Input/TickerInput.h"

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTemporaryDir>

namespace {

using namespace tessary;

std::vector<TickerInfo> syntheticUniverse()
{
    std::vector<TickerInfo> infos;
    for (int i = 0; i < 15'000; ++i)
        infos.push_back(TickerInfo { QStringLiteral("S%1").arg(i), QStringLiteral("Company %1 Holdings").arg(i),
            i % 4 == 0, false, {}, {}, {}, {} });
    return infos;
}

// 10,000 symbols of which `unknownPercent` are not in the universe.
QString pastedText(int unknownPercent)
{
    QStringList symbols;
    for (int i = 0; i < 10'000; ++i)
        symbols.append(i % 100 < unknownPercent ? QStringLiteral("Q%1").arg(i) : QStringLiteral("S%1").arg(i));
    return symbols.join(u' ');
}

void BM_PasteTenThousandSymbols(benchmark::State& state)
{
    QTemporaryDir directory;
    auto preferences = std::make_shared<Preferences>(directory.filePath(QStringLiteral("preferences.ini")));
    auto options = Store::Options::at(directory.filePath(QStringLiteral("data")));
    options.preferences = preferences;
    Store store(std::move(options));
    store.setUniverse(syntheticUniverse());
    TickerInput input(store);
    const QString text = pastedText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        store.select(SidebarItem::list(store.create(QStringLiteral("Pasted"), {})));
        state.ResumeTiming();
        input.field()->setText(text);
        QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(input.field(), &enter);
        benchmark::DoNotOptimize(input.notice().size());
    }
}
BENCHMARK(BM_PasteTenThousandSymbols)->Arg(0)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond);

} // namespace
