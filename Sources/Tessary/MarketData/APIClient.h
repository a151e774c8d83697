#pragma once

#include "Cancellation.h"
#include "MarketDataError.h"
#include "TessaryWire/ClampedRange.h"
#include "TessaryWire/Timeframe.h"
#include "TessaryWire/WireRecords.h"

#include <QCoroTask>
#include <QList>
#include <QNetworkRequest>
#include <QPointer>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

class QNetworkAccessManager;

namespace tessary {

using QueryItems = QList<std::pair<QString, QString>>;

// The gateway to the market-data service: builds the GET requests of its three endpoints,
// checks the status and decodes the body. It is a small value holding no state besides its
// base URL, so callers copy it freely; the requests go through one shared network manager
// unless a test hands it its own.
class APIClient {
public:
    static constexpr std::chrono::milliseconds defaultTimeout = std::chrono::seconds(60);
    // A list holds at most 200 tickers; the benchmark rides along as the 201st.
    static constexpr qsizetype maxSymbols = 201;
    static constexpr QLatin1StringView userAgent { "Tessary-Mac/0.2" };
    // Well above the largest real reply (201 tickers of daily bars over five years, ~14 MB).
    static constexpr qint64 largestBody = 32 * 1024 * 1024;

    explicit APIClient(QUrl baseURL, QNetworkAccessManager* network = nullptr);

    const QUrl& baseURL() const { return m_baseURL; }
    std::chrono::milliseconds timeout() const { return m_timeout; }
    // Time after which a request fails, whether the server is silent or only slow; tests
    // shorten it.
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

    // The universe, one record per symbol.
    QCoro::Task<MarketDataResult<std::vector<TickerInfo>>> tickers(Cancellation cancellation = {}) const;
    // Prices and metrics of `symbols` (benchmark included by the caller) for a preset, or for
    // `range` when one is given.
    QCoro::Task<MarketDataResult<PricesResponse>> prices(const QStringList& symbols, Timeframe timeframe,
        const std::optional<ClampedRange>& range, bool intraday, Cancellation cancellation = {}) const;
    QCoro::Task<MarketDataResult<RelatedResponse>> related(
        const QStringList& symbols, int limit, Cancellation cancellation = {}) const;

    // The query items of each endpoint, in the order they are sent.
    static QueryItems pricesQuery(
        const QStringList& symbols, Timeframe timeframe, const std::optional<ClampedRange>& range, bool intraday);
    static QueryItems relatedQuery(const QStringList& symbols, int limit);

    // The base URL with `path` appended as a path component and the items as its query.
    QUrl endpointURL(const QString& path, const QueryItems& items) const;
    QNetworkRequest request(const QString& path, const QueryItems& items) const;

private:
    QUrl m_baseURL;
    QPointer<QNetworkAccessManager> m_network;
    std::chrono::milliseconds m_timeout = defaultTimeout;
};

} // namespace tessary
