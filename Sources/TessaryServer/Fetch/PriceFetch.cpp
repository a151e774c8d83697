#include "PriceFetch.h"

#include <QDateTime>
#include <QTimeZone>

#include <algorithm>
#include <cmath>

#include "TessaryServer/Data/Import.h"
#include "TessaryServer/Data/MarketDatabase.h"
#include "TessaryServer/Fetch/ProviderClient.h"

namespace tessary::server {

namespace {

// Providers round adjusted closes differently from run to run; a real adjustment moves them
// by far more than this.
bool sameAdjustedClose(double stored, double fetched)
{
    return std::abs(stored - fetched) <= 1e-6 * std::max(std::abs(stored), 1.0) + 5e-5;
}

SymbolFetch failed(const QString& symbol, QString reason)
{
    return SymbolFetch { symbol, SymbolFetch::Outcome::failed, 0, false, std::move(reason) };
}

} // namespace

QString SymbolFetch::line() const
{
    switch (outcome) {
    case Outcome::fetched:
        return wholeHistory
            ? QStringLiteral("%1: fetched %2 bars (whole history: past adjusted closes changed)").arg(symbol).arg(bars)
            : QStringLiteral("%1: fetched %2 bars").arg(symbol).arg(bars);
    case Outcome::unchanged:
        return QStringLiteral("%1: unchanged").arg(symbol);
    case Outcome::failed:
        break;
    }
    return QStringLiteral("%1: failed: %2").arg(symbol, reason);
}

QDate marketToday()
{
    return QDateTime::currentDateTimeUtc().toTimeZone(QTimeZone("America/New_York")).date();
}

SymbolFetch fetchSymbol(
    MarketDatabase& database, ProviderClient& client, const PriceProvider& provider, const QString& symbol, QDate today)
{
    const auto ask = [&](std::optional<QDate> start) -> std::expected<std::vector<DailyBar>, QString> {
        const PriceQuery query { symbol, start, today };
        const auto answer = client.get(provider.request(query));
        if (!answer)
            return std::unexpected(answer.error());
        return provider.read(query, *answer);
    };
    const auto storeWhole = [&](bool wholeHistory) {
        const auto bars = ask(std::nullopt);
        if (!bars)
            return failed(symbol, bars.error());
        if (bars->empty())
            return failed(symbol, QStringLiteral("the provider has no prices for this symbol"));
        if (auto stored = storeImportedBars(database, symbol, *bars, BarWrite::replace, provider.name); !stored)
            return failed(symbol, stored.error().description());
        return SymbolFetch { symbol, SymbolFetch::Outcome::fetched, std::ssize(*bars), wholeHistory, {} };
    };

    const auto history = database.dataSource() == DataSource::imported ? database.dailyBars(symbol) : nullptr;
    if (!history || history->empty())
        return storeWhole(false);

    // The last stored day is asked for again, to see whether its adjusted close still holds.
    const DailyBar last = history->back();
    const auto bars = ask(last.date);
    if (!bars)
        return failed(symbol, bars.error());
    const auto same = std::ranges::find(*bars, last.date, &DailyBar::date);
    if (same != bars->end() && !sameAdjustedClose(last.adjClose, same->adjClose))
        return storeWhole(true);
    std::vector<DailyBar> newer;
    std::ranges::copy_if(
        *bars, std::back_inserter(newer), [&last](const DailyBar& bar) { return bar.date > last.date; });
    if (newer.empty())
        return SymbolFetch { symbol, SymbolFetch::Outcome::unchanged, 0, false, {} };
    if (auto stored = storeImportedBars(database, symbol, newer, BarWrite::append, provider.name); !stored)
        return failed(symbol, stored.error().description());
    return SymbolFetch { symbol, SymbolFetch::Outcome::fetched, std::ssize(newer), false, {} };
}

QStringList importedSymbols(const MarketDatabase& database)
{
    QStringList symbols;
    if (database.dataSource() != DataSource::imported)
        return symbols;
    for (const TickerInfo& info : *database.universe())
        if (!database.dailyBars(info.symbol)->empty())
            symbols.push_back(info.symbol);
    return symbols;
}

std::vector<SymbolFetch> fetchPrices(MarketDatabase& database, const ProviderSettings& settings,
    const PriceProvider& provider, const QStringList& symbols, const std::function<void(const SymbolFetch&)>& report,
    std::stop_token stop)
{
    ProviderClient client(settings.policy, stop);
    const QDate today = marketToday();
    std::vector<SymbolFetch> results;
    for (const QString& symbol : symbols) {
        if (stop.stop_requested())
            break;
        results.push_back(fetchSymbol(database, client, provider, symbol.trimmed().toUpper(), today));
        report(results.back());
    }
    const bool anyCurrent = std::ranges::any_of(
        results, [](const SymbolFetch& result) { return result.outcome != SymbolFetch::Outcome::failed; });
    if (anyCurrent && !stop.stop_requested()) {
        // The prices are stored already; a refresh time that could not be noted only shows
        // an older time in the app.
        static_cast<void>(recordRefresh(database, provider.name, QDateTime::currentDateTimeUtc()));
    }
    return results;
}

} // namespace tessary::server
