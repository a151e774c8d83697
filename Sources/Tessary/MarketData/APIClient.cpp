#include "APIClient.h"

#include "Tessary/Shell/NetworkReply.h"

#include "ReplyBounds.h"
#include "TickerInfos.h"
#include "WireDecoding.h"

#include <QCoreApplication>
#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QThread>
#include <QUrlQuery>

#include <memory>

namespace tessary {

namespace {

// The process's one network manager, owned by the application so it goes away with it.
QNetworkAccessManager* sharedNetwork()
{
    static QPointer<QNetworkAccessManager> shared;
    if (!shared) {
        Q_ASSERT(QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread());
        shared = new QNetworkAccessManager(QCoreApplication::instance());
    }
    return shared;
}

TransportError transportError(const QNetworkReply& reply)
{
    // The transfer timeout aborts the reply, which Qt reports as a cancellation; the caller
    // did not cancel, so it is a time-out.
    if (reply.error() == QNetworkReply::OperationCanceledError || reply.error() == QNetworkReply::TimeoutError)
        return TransportError { QNetworkReply::TimeoutError, QStringLiteral("The request timed out.") };
    return TransportError { reply.error(), reply.errorString() };
}

// A body held in its own type: GCC 12 cannot compare a coroutine handle whose promise holds
// std::expected<QByteArray, …> (its operator== recurses), which Q_ASSERT in QCoro does.
struct ReplyBody {
    QByteArray bytes;
};

// Parameters by value: the client that started the request may be gone when it resumes.
QCoro::Task<MarketDataResult<ReplyBody>> send(
    QPointer<QNetworkAccessManager> network, QNetworkRequest request, Cancellation cancellation)
{
    if (cancellation.isCancelled())
        co_return std::unexpected(RequestCancelled {});
    if (!network)
        network = sharedNetwork();
    const OwnedReply reply(network->get(request));
    const auto* bounds
        = new ReplyBounds(reply.get(), std::chrono::milliseconds(request.transferTimeout()), APIClient::largestBody);
    cancellation.attach(reply.get());
    const bool finished = co_await reply.finished();
    cancellation.detach();
    if (!finished || cancellation.isCancelled())
        co_return std::unexpected(RequestCancelled {});
    if (bounds->cutOff())
        co_return std::unexpected(*bounds->cutOff());

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid()) {
        const int code = status.toInt();
        if (code < 200 || code > 299)
            co_return std::unexpected(APIError::http(code, errorMessage(reply->readAll())));
    }
    if (reply->error() != QNetworkReply::NoError)
        co_return std::unexpected(transportError(*reply));
    co_return ReplyBody { reply->readAll() };
}

template <class T, Decoded<T> (*decode)(const QByteArray&)>
QCoro::Task<MarketDataResult<T>> fetch(
    QPointer<QNetworkAccessManager> network, QNetworkRequest request, Cancellation cancellation)
{
    auto body = co_await send(std::move(network), std::move(request), std::move(cancellation));
    if (!body)
        co_return std::unexpected(std::move(body.error()));
    auto decoded = decode(body->bytes);
    if (!decoded)
        co_return std::unexpected(MarketDataError(std::move(decoded.error())));
    co_return std::move(*decoded);
}

QCoro::Task<MarketDataResult<std::vector<TickerInfo>>> fetchUniverse(
    QPointer<QNetworkAccessManager> network, QNetworkRequest request, Cancellation cancellation)
{
    auto response = co_await fetch<TickersResponse, decodeTickersResponse>(
        std::move(network), std::move(request), std::move(cancellation));
    if (!response)
        co_return std::unexpected(std::move(response.error()));
    co_return tickerInfos(*response);
}

} // namespace

APIClient::APIClient(QUrl baseURL, QNetworkAccessManager* network)
    : m_baseURL(std::move(baseURL))
    , m_network(network)
{
}

QueryItems APIClient::pricesQuery(
    const QStringList& symbols, Timeframe timeframe, const std::optional<ClampedRange>& range, bool intraday)
{
    QueryItems items {
        { QStringLiteral("tickers"), symbols.first(std::min(symbols.size(), maxSymbols)).join(u',') },
        { QStringLiteral("skip_unknown"), QStringLiteral("true") },
        { QStringLiteral("metrics"), QStringLiteral("volatility,sharpe,period_max_drawdown") },
    };
    if (range) {
        items.append({ QStringLiteral("start"), range->start });
        items.append({ QStringLiteral("end"), range->end });
    } else {
        items.append({ QStringLiteral("preset"), Timeframes::rawValue(timeframe) });
        items.append({ QStringLiteral("intraday"), intraday ? QStringLiteral("true") : QStringLiteral("false") });
    }
    return items;
}

QueryItems APIClient::relatedQuery(const QStringList& symbols, int limit)
{
    QueryItems items { { QStringLiteral("limit"), QString::number(limit) } };
    if (!symbols.isEmpty())
        items.append({ QStringLiteral("tickers"), symbols.join(u',') });
    return items;
}

QUrl APIClient::endpointURL(const QString& path, const QueryItems& items) const
{
    QUrl url = urlBelow(m_baseURL, path);
    if (items.isEmpty()) {
        url.setQuery(QString());
    } else {
        QUrlQuery query;
        for (const auto& [name, value] : items)
            query.addQueryItem(name, value);
        url.setQuery(query);
    }
    return url;
}

QNetworkRequest APIClient::request(const QString& path, const QueryItems& items) const
{
    QNetworkRequest request(endpointURL(path, items));
    request.setHeader(QNetworkRequest::UserAgentHeader, QString(userAgent));
    request.setTransferTimeout(static_cast<int>(m_timeout.count()));
    return request;
}

QCoro::Task<MarketDataResult<std::vector<TickerInfo>>> APIClient::tickers(Cancellation cancellation) const
{
    return fetchUniverse(m_network, request(QStringLiteral("tickers"), {}), std::move(cancellation));
}

QCoro::Task<MarketDataResult<PricesResponse>> APIClient::prices(const QStringList& symbols, Timeframe timeframe,
    const std::optional<ClampedRange>& range, bool intraday, Cancellation cancellation) const
{
    return fetch<PricesResponse, decodePricesResponse>(m_network,
        request(QStringLiteral("prices"), pricesQuery(symbols, timeframe, range, intraday)), std::move(cancellation));
}

QCoro::Task<MarketDataResult<RelatedResponse>> APIClient::related(
    const QStringList& symbols, int limit, Cancellation cancellation) const
{
    return fetch<RelatedResponse, decodeRelatedResponse>(m_network,
        request(QStringLiteral("tickergraph/related"), relatedQuery(symbols, limit)), std::move(cancellation));
}

} // namespace tessary
