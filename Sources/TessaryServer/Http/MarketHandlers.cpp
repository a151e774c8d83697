#include "MarketHandlers.h"

#include "ContentNegotiation.h"
#include "RequestParsing.h"
#include "TessaryServer/Data/CuratedCatalog.h"
#include "TessaryServer/Data/RelatedTickers.h"
#include "TessaryServer/Engine/PriceEngine.h"
#include "TessaryWire/MarketTime.h"
#include "WireEncoding.h"

namespace tessary::server {

MarketHandlers::MarketHandlers(const MarketReader& market, Clock clock)
    : m_market(market)
    , m_clock(std::move(clock))
{
}

HttpResponse MarketHandlers::handle(const HttpRequest& request) const
{
    if (request.method != "GET")
        return HttpResponse::error(405, QStringLiteral("method not allowed: ") + QString::fromLatin1(request.method));
    if (request.path == u"/tickers")
        return tickers();
    if (request.path == u"/prices")
        return prices(request);
    if (request.path == u"/tickergraph/related")
        return related(request);
    if (request.path == u"/data/collections.json")
        return collections();
    return HttpResponse::error(404, QStringLiteral("not found: ") + request.path);
}

HttpResponse MarketHandlers::tickers() const
{
    // The app revalidates its universe at every start; a tag lets an unchanged one cost a 304.
    const auto universe = m_market.universe();
    const DataSource source = m_market.dataSource();
    std::lock_guard lock(m_tickersMutex);
    if (universe != m_tickersUniverse || source != m_tickersSource) {
        m_tickersReply = withEntityTag(HttpResponse::json(encodeTickersResponse(tickersResponse(*universe, source))));
        m_tickersUniverse = universe;
        m_tickersSource = source;
    }
    return m_tickersReply;
}

HttpResponse MarketHandlers::prices(const HttpRequest& request) const
{
    const QDate marketEnd = m_market.lastMarketDate().value_or(MarketTime::dateOf(m_clock()));
    const auto query = parsePricesQuery(request, marketEnd);
    if (!query)
        return HttpResponse::error(400, query.error().description());
    const auto response = computePrices(m_market, *query);
    if (!response)
        return HttpResponse::error(404, response.error().description());
    auto [body, literalRanges] = encodePricesResponse(*response);
    HttpResponse reply = HttpResponse::json(std::move(body));
    reply.literalRanges = std::move(literalRanges);
    return reply;
}

HttpResponse MarketHandlers::related(const HttpRequest& request) const
{
    const auto query = parseRelatedQuery(request);
    if (!query)
        return HttpResponse::error(400, query.error().description());
    const auto universe = m_market.universe();
    return HttpResponse::json(
        encodeRelatedResponse(relatedTickers(*universe, curatedCollections(), query->tickers, query->limit)));
}

HttpResponse MarketHandlers::collections() const
{
    static const HttpResponse reply = withEntityTag(HttpResponse::json(curatedCatalogDocument()));
    return reply;
}

} // namespace tessary::server
