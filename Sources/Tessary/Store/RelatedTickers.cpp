#include "RelatedTickers.h"

#include "Tessary/Shell/FeatureFlags.h"

#include <QPointer>
#include <QSet>

namespace tessary {

bool relatedTickersEnabled()
{
    return FeatureFlags::shared().isEnabled(Feature::relatedTickers);
}

QString RelatedTickers::key(QStringList tickers)
{
    tickers.sort();
    return tickers.join(u',');
}

std::optional<RelatedResponse> RelatedTickers::cached(const QStringList& tickers) const
{
    const auto found = m_entries.constFind(key(tickers));
    return found == m_entries.cend() ? std::nullopt : std::optional(*found);
}

QCoro::Task<std::optional<RelatedResponse>> RelatedTickers::fetch(
    QStringList tickers, int limit, Cancellation cancellation)
{
    if (auto answer = cached(tickers))
        co_return answer;
    if (!m_client || cancellation.isCancelled())
        co_return std::nullopt;
    QPointer<RelatedTickers> self(this);
    const APIClient client = *m_client;
    auto answer = co_await client.related(tickers, limit, cancellation);
    if (!self || cancellation.isCancelled() || !answer)
        co_return std::nullopt;
    // Empty answers are not kept, so the next change asks again.
    if (!answer->related.empty())
        m_entries.insert(key(tickers), *answer);
    co_return std::move(*answer);
}

std::vector<RelatedTicker> shownRelated(const RelatedResponse& response, const QStringList& tickers,
    const QString& benchmark, const TickerUniverse& universe)
{
    const QSet<QString> present(tickers.begin(), tickers.end());
    std::vector<RelatedTicker> shown;
    for (const RelatedTicker& related : response.related) {
        if (related.ticker == benchmark || present.contains(related.ticker))
            continue;
        RelatedTicker entry = related;
        if (!universe.isEmpty()) {
            const TickerInfo* info = universe.find(related.ticker);
            if (!info)
                continue;
            entry.name = info->name;
        }
        shown.push_back(std::move(entry));
    }
    return shown;
}

} // namespace tessary
