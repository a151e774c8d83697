#pragma once

#include "HttpExchange.h"
#include "TessaryServer/MarketReader.h"

#include <QDateTime>

#include <functional>
#include <memory>
#include <mutex>

namespace tessary::server {

// The market-data endpoints and the web documents, as pure functions of a parsed request:
// GET /tickers, /prices, /tickergraph/related and /data/collections.json. Bad input is a 400
// with a one-line reason, an unknown symbol a 404 unless the client asked to skip it.
class MarketHandlers {
public:
    using Clock = std::function<QDateTime()>;

    // `clock` only matters for a market without any bars, whose presets end today.
    explicit MarketHandlers(const MarketReader& market, Clock clock = &QDateTime::currentDateTimeUtc);

    HttpResponse handle(const HttpRequest& request) const;

    HttpResponse tickers() const;
    HttpResponse prices(const HttpRequest& request) const;
    HttpResponse related(const HttpRequest& request) const;
    HttpResponse collections() const;

private:
    const MarketReader& m_market;
    Clock m_clock;
    // /tickers is encoded and tagged once per universe snapshot (a new one comes only with an
    // import), not for every app that starts and revalidates.
    mutable std::mutex m_tickersMutex;
    mutable std::shared_ptr<const Universe> m_tickersUniverse;
    mutable DataSource m_tickersSource = DataSource::simulated;
    mutable HttpResponse m_tickersReply;
};

} // namespace tessary::server
