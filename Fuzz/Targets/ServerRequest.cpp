// A client's request target ("/prices?tickers=…") as tessary-server parses and answers it.
// Every answer is a JSON body, and a refusal says why; a 500 would be a fault of ours.

#include "Fuzz/FuzzTarget.h"

#include "MemoryMarket.h"

#include "TessaryServer/Http/MarketHandlers.h"
#include "TessaryServer/Http/RequestParsing.h"
#include "TessaryWire/Json.h"

#include <QUrl>
#include <QUrlQuery>

using namespace tessary;
using namespace tessary::server;

namespace {

TickerInfo info(const char* symbol, bool etf)
{
    TickerInfo ticker;
    ticker.symbol = QString::fromLatin1(symbol);
    ticker.name = ticker.symbol + QStringLiteral(" Inc");
    ticker.isEtf = etf;
    return ticker;
}

const test::MemoryMarket& market()
{
    static const auto* const made = [] {
        auto* market = new test::MemoryMarket;
        const auto close = QDateTime(QDate(2021, 1, 8), QTime(21, 0), Qt::UTC).toMSecsSinceEpoch();
        market->addSymbol(info("AAA", false),
            test::dailyBarsFromText(QStringLiteral("2020-12-30 10,2020-12-31 11,2021-01-04 12,2021-01-05 9,"
                                                   "2021-01-06 13,2021-01-07 14,2021-01-08 15")),
            IntradayHistory { { close - 900'000, 14.5, 14.5 }, { close, 15, 15 } });
        market->addSymbol(info("SPY", true), test::dailyBarsFromText(QStringLiteral("2021-01-07 50,2021-01-08 0 0")));
        market->addSymbol(info("NOBARS", false));
        return market;
    }();
    return *made;
}

} // namespace

TESSARY_FUZZ_TARGET(server_request)
{
    const QUrl url = QUrl::fromEncoded(QByteArray("http://127.0.0.1/") + input);
    HttpRequest request;
    request.path = url.path(QUrl::FullyDecoded);
    for (const auto& [key, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded))
        request.query.emplace_back(key, value);

    (void)parseTickerList(QString::fromUtf8(input));
    (void)parsePricesQuery(request, QDate(2021, 1, 8));
    (void)parseRelatedQuery(request);

    const MarketHandlers handlers(market(), [] { return QDateTime(QDate(2021, 1, 8), QTime(22, 0), Qt::UTC); });
    const HttpResponse response = handlers.handle(request);
    if (response.status >= 500)
        fuzz::fail("the server failed on a request", input);
    if (response.contentType.startsWith("application/json") && !parseJsonObject(response.body))
        fuzz::fail("a JSON answer is not a JSON object", response.body.left(200));
}
