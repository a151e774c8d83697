#include "RelatedCache.h"

#include <QSet>

namespace tessary {

bool relatedTickersEnabled()
{
    return true;
}

RelatedCache& RelatedCache::shared()
{
    static RelatedCache cache;
    return cache;
}

QString RelatedCache::key(QStringList tickers)
{
    tickers.sort();
    return tickers.join(u',');
}

std::optional<RelatedResponse> RelatedCache::find(const QString& key) const
{
    const auto found = m_entries.constFind(key);
    if (found == m_entries.cend())
        return std::nullopt;
    return *found;
}

void RelatedCache::insert(const QString& key, const RelatedResponse& response)
{
    if (!response.related.empty())
        m_entries.insert(key, response);
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
