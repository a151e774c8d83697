#include "TessaryServer/Data/RelatedTickers.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <map>

namespace tessary::server {

namespace {

// The SPDR fund that stands for each sector.
const QHash<QString, QString>& sectorFunds()
{
    static const QHash<QString, QString> funds {
        { QStringLiteral("Information Technology"), QStringLiteral("XLK") },
        { QStringLiteral("Financials"), QStringLiteral("XLF") },
        { QStringLiteral("Health Care"), QStringLiteral("XLV") },
        { QStringLiteral("Energy"), QStringLiteral("XLE") },
        { QStringLiteral("Consumer Discretionary"), QStringLiteral("XLY") },
        { QStringLiteral("Consumer Staples"), QStringLiteral("XLP") },
        { QStringLiteral("Industrials"), QStringLiteral("XLI") },
        { QStringLiteral("Materials"), QStringLiteral("XLB") },
        { QStringLiteral("Utilities"), QStringLiteral("XLU") },
        { QStringLiteral("Real Estate"), QStringLiteral("XLRE") },
        { QStringLiteral("Communication Services"), QStringLiteral("XLC") },
    };
    return funds;
}

const QStringList popularFunds { QStringLiteral("SPY"), QStringLiteral("QQQ"), QStringLiteral("VTI"),
    QStringLiteral("DIA"), QStringLiteral("IWM") };

const TickerInfo* lookUp(const std::vector<TickerInfo>& universe, const QString& symbol)
{
    const auto found = std::ranges::lower_bound(universe, symbol, {}, &TickerInfo::symbol);
    return found != universe.end() && found->symbol == symbol ? &*found : nullptr;
}

bool isStock(const TickerInfo& info)
{
    return !info.isEtf && !info.isFund;
}

// Suggestions of one kind, best first.
using Candidates = std::vector<RelatedTicker>;

Candidates peers(const std::vector<TickerInfo>& universe, const std::vector<const TickerInfo*>& inputs)
{
    // Per input, the largest companies of its industry; then taken in turns so that every
    // input gets its share.
    std::vector<std::vector<const TickerInfo*>> perInput;
    for (const TickerInfo* input : inputs) {
        if (!isStock(*input) || !input->industry)
            continue;
        std::vector<const TickerInfo*> same;
        for (const TickerInfo& info : universe)
            if (isStock(info) && info.industry == input->industry && info.symbol != input->symbol)
                same.push_back(&info);
        std::ranges::stable_sort(same, std::greater<>(), [](const TickerInfo* i) { return i->marketCap.value_or(0); });
        perInput.push_back(std::move(same));
    }
    Candidates result;
    for (std::size_t round = 0;; ++round) {
        bool any = false;
        for (std::size_t i = 0, n = 0; i < inputs.size() && n < perInput.size(); ++i) {
            if (!isStock(*inputs[i]) || !inputs[i]->industry)
                continue;
            const auto& same = perInput[n++];
            if (round >= same.size())
                continue;
            any = true;
            const TickerInfo& peer = *same[round];
            RelatedTicker related;
            related.ticker = peer.symbol;
            related.kind = QStringLiteral("peer");
            related.label = QStringLiteral("Peer");
            related.reason = QStringLiteral("Same industry as %1").arg(inputs[i]->symbol);
            related.detail = *peer.industry;
            related.category = peer.sector;
            related.subcategory = peer.industry;
            result.push_back(std::move(related));
        }
        if (!any)
            return result;
    }
}

Candidates sectorBenchmarks(const std::vector<TickerInfo>& universe, const std::vector<const TickerInfo*>& inputs)
{
    Candidates result;
    for (const TickerInfo* input : inputs) {
        if (!input->sector || !isStock(*input))
            continue;
        const QString fund = sectorFunds().value(*input->sector);
        if (fund.isEmpty() || !lookUp(universe, fund))
            continue;
        RelatedTicker related;
        related.ticker = fund;
        related.kind = QStringLiteral("category_benchmark");
        related.label = QStringLiteral("Sector benchmark");
        related.reason = QStringLiteral("Benchmark for %1").arg(*input->sector);
        related.category = input->sector;
        result.push_back(std::move(related));
    }
    return result;
}

Candidates popular(const std::vector<TickerInfo>& universe)
{
    Candidates result;
    for (const QString& fund : popularFunds) {
        if (!lookUp(universe, fund))
            continue;
        RelatedTicker related;
        related.ticker = fund;
        related.kind = QStringLiteral("popular");
        related.label = QStringLiteral("Popular");
        related.reason = QStringLiteral("Broad-market benchmark");
        result.push_back(std::move(related));
    }
    return result;
}

Candidates sharedThemes(const std::vector<TickerInfo>& universe, const std::vector<CuratedCollection>& collections,
    const QSet<QString>& inputs)
{
    // Every symbol that shares a curated collection with the input, scored by how many.
    struct Shared {
        QStringList themes;
        QStringList groups;
        QString via;
        std::size_t firstSeen = 0;
    };
    std::map<QString, Shared> shared;
    std::size_t order = 0;
    for (const CuratedCollection& collection : collections) {
        QString via;
        for (const QString& ticker : collection.tickers)
            if (inputs.contains(ticker)) {
                via = ticker;
                break;
            }
        if (via.isEmpty())
            continue;
        for (const QString& ticker : collection.tickers) {
            if (inputs.contains(ticker) || !lookUp(universe, ticker))
                continue;
            auto [entry, added] = shared.try_emplace(ticker);
            if (added) {
                entry->second.via = via;
                entry->second.firstSeen = order++;
            }
            entry->second.themes.push_back(collection.name);
            entry->second.groups.push_back(collection.id);
        }
    }
    std::vector<std::pair<QString, Shared>> ranked(shared.begin(), shared.end());
    std::ranges::sort(ranked, [](const auto& a, const auto& b) {
        if (a.second.themes.size() != b.second.themes.size())
            return a.second.themes.size() > b.second.themes.size();
        return a.second.firstSeen < b.second.firstSeen;
    });
    Candidates result;
    for (auto& [ticker, entry] : ranked) {
        RelatedTicker related;
        related.ticker = ticker;
        related.kind = QStringLiteral("shared_themes");
        related.label = QStringLiteral("Shared theme");
        related.reason = entry.themes.size() == 1
            ? QStringLiteral("In %1 with %2").arg(entry.themes.front(), entry.via)
            : QStringLiteral("Shares %1 themes with your list").arg(entry.themes.size());
        related.groups = entry.groups;
        related.sharedThemes = entry.themes;
        result.push_back(std::move(related));
    }
    return result;
}

} // namespace

RelatedResponse relatedTickers(const std::vector<TickerInfo>& universe,
    const std::vector<CuratedCollection>& collections, const QStringList& symbols, int limit)
{
    QSet<QString> inputSet;
    std::vector<const TickerInfo*> inputs;
    QStringList named;
    for (const QString& raw : symbols) {
        const QString symbol = raw.trimmed().toUpper();
        if (symbol.isEmpty() || inputSet.contains(symbol))
            continue;
        inputSet.insert(symbol);
        named.push_back(symbol);
        if (const TickerInfo* info = lookUp(universe, symbol))
            inputs.push_back(info);
    }

    RelatedResponse response;
    if (!named.isEmpty())
        response.label = QStringLiteral("Related to %1%2")
                             .arg(named.mid(0, 3).join(QStringLiteral(", ")),
                                 named.size() > 3 ? QStringLiteral(" and %1 more").arg(named.size() - 3) : QString());

    // The kinds take turns so a short list still shows a mix; the answer is grouped by kind.
    std::array<Candidates, 4> kinds { peers(universe, inputs), sectorBenchmarks(universe, inputs),
        sharedThemes(universe, collections, inputSet), popular(universe) };
    // A symbol that fits several kinds is shown as the most specific one.
    QSet<QString> claimed;
    for (Candidates& candidates : kinds) {
        std::erase_if(candidates, [&](const RelatedTicker& c) { return claimed.contains(c.ticker); });
        for (const RelatedTicker& c : candidates)
            claimed.insert(c.ticker);
    }
    std::array<std::size_t, 4> next {};
    std::vector<std::pair<int, RelatedTicker>> chosen;
    QSet<QString> taken = inputSet;
    bool progress = true;
    while (std::ssize(chosen) < limit && progress) {
        progress = false;
        for (int kind = 0; kind < 4 && std::ssize(chosen) < limit; ++kind) {
            while (next[kind] < kinds[kind].size()) {
                const RelatedTicker& candidate = kinds[kind][next[kind]++];
                if (taken.contains(candidate.ticker))
                    continue;
                taken.insert(candidate.ticker);
                chosen.emplace_back(kind, candidate);
                progress = true;
                break;
            }
        }
    }
    std::ranges::stable_sort(chosen, {}, &std::pair<int, RelatedTicker>::first);
    for (auto& [kind, related] : chosen) {
        if (const TickerInfo* info = lookUp(universe, related.ticker))
            related.name = info->name;
        response.related.push_back(std::move(related));
    }
    return response;
}

} // namespace tessary::server
