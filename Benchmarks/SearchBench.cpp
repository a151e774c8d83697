// Ticker search runs on every keystroke in the ticker field, over the whole universe.

#include "Tessary/Store/TickerUniverse.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QStringList>

#include <random>

namespace {

using tessary::TickerInfo;
using tessary::TickerUniverse;

// The real S&P 500 names, then synthetic listings in the same style up to 15,000 symbols,
// so name searches scan realistic text and prefix runs are as dense as a full market's.
const TickerUniverse& universe()
{
    static const TickerUniverse built = [] {
        std::vector<TickerInfo> infos;
        QFile file(QStringLiteral(TESSARY_SHARED_DATA "/sp500-constituents.csv"));
        QStringList names;
        if (file.open(QIODevice::ReadOnly)) {
            file.readLine();
            while (!file.atEnd()) {
                const QStringList fields = QString::fromUtf8(file.readLine()).split(u',');
                if (fields.size() < 2)
                    continue;
                infos.push_back(TickerInfo{fields[0], fields[1], false, false, {}, {}, {}, {}});
                names.append(fields[1]);
            }
        }
        if (names.isEmpty())
            names = {QStringLiteral("Apple"), QStringLiteral("Global Industries"), QStringLiteral("First Trust")};
        std::mt19937 random(7);
        const QString letters = QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZ");
        QSet<QString> used;
        for (const auto& info : infos)
            used.insert(info.symbol);
        while (infos.size() < 15'000) {
            QString symbol;
            const int length = 2 + static_cast<int>(random() % 4);
            for (int i = 0; i < length; ++i)
                symbol += letters[static_cast<qsizetype>(random() % 26)];
            if (used.contains(symbol))
                continue;
            used.insert(symbol);
            const QString name = names[static_cast<qsizetype>(random() % names.size())] + QStringLiteral(" Fund ") + symbol;
            infos.push_back(TickerInfo{symbol, name, random() % 4 == 0, false, {}, {}, {}, {}});
        }
        return TickerUniverse(std::move(infos));
    }();
    return built;
}

void runQuery(benchmark::State& state, const QString& query)
{
    const TickerUniverse& symbols = universe();
    const QSet<QString> excluding;
    for (auto _ : state)
        benchmark::DoNotOptimize(symbols.suggestions(query, excluding, 8));
    state.counters["universe"] = static_cast<double>(symbols.size());
}

// One letter: the longest prefix run, no name search.
void BM_SearchOneLetter(benchmark::State& state) { runQuery(state, QStringLiteral("a")); }
// A common word: the name scan stops after eight hits.
void BM_SearchCommonName(benchmark::State& state) { runQuery(state, QStringLiteral("inc")); }
// A word no name holds: the whole name buffer is scanned.
void BM_SearchNoMatch(benchmark::State& state) { runQuery(state, QStringLiteral("zqxj")); }
// A company name typed in full.
void BM_SearchCompany(benchmark::State& state) { runQuery(state, QStringLiteral("microsoft")); }

} // namespace

BENCHMARK(BM_SearchOneLetter)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchCommonName)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchNoMatch)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SearchCompany)->Unit(benchmark::kMicrosecond);
