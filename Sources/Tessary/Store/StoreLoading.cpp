#include "Store.h"

#include "AtomicFile.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <memory>

namespace tessary {

namespace {

const QString cacheKeySuffix = QStringLiteral("v1");
const QString catalogPath = QStringLiteral("data/collections.json");

struct ReplyDeleter {
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};

QString periodKeyLabel(const ListPeriod& period)
{
    if (const auto range = period.effectiveRange())
        return range->start + QChar(0x2026) + range->end;
    return Timeframes::rawValue(period.preset);
}

} // namespace

QString Store::cacheKey(const QStringList& tickers, const QString& benchmark, const ListPeriod& period)
{
    // The benchmark is part of the key: the same tickers measured against another benchmark
    // rank differently, and a cache hit must never show the old one.
    return tickers.join(u',') + u'|' + periodKeyLabel(period) + u'|' + benchmark + u'|' + cacheKeySuffix;
}

QStringList Store::selectedTickers() const
{
    if (const ComparisonList* list = selectedList())
        return list->tickers;
    if (const FeaturedCatalog::Collection* collection = selectedCollection())
        return collection->tickers;
    return {};
}

QString Store::selectedBenchmark() const
{
    if (const ComparisonList* list = selectedList())
        return list->benchmark;
    return QString::fromLatin1(defaultBenchmark);
}

void Store::connectService(const QUrl& marketData, const QUrl& web, bool loadInBackground)
{
    m_client.emplace(marketData, m_network);
    m_web = web;
    Q_EMIT serviceConnected();
    if (!loadInBackground)
        return;
    start();
    refresh();
}

void Store::start()
{
    if (!m_client)
        return;
    QCoro::connect(loadUniverse(), this, [] {});
    QCoro::connect(loadCatalog(), this, [] {});
}

QCoro::Task<> Store::loadUniverse()
{
    QPointer<Store> self(this);
    const APIClient client = *m_client;
    auto universe = co_await client.tickers();
    if (!self)
        co_return;
    if (!universe) {
        qWarning("The ticker universe could not be loaded: %s", qPrintable(universe.error().description()));
        co_return;
    }
    setUniverse(std::move(*universe));
}

QCoro::Task<> Store::loadCatalog()
{
    QPointer<Store> self(this);
    QUrl url = m_web;
    url.setPath(url.path().endsWith(u'/') ? url.path() + catalogPath : url.path() + u'/' + catalogPath);
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::UserAgentHeader, QString(APIClient::userAgent));
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferNetwork);
    request.setTransferTimeout(static_cast<int>(APIClient::defaultTimeout.count()));
    const std::unique_ptr<QNetworkReply, ReplyDeleter> reply(m_network->get(request));
    co_await reply.get();
    if (!self)
        co_return;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    // A failed download keeps the catalog we already have.
    if (reply->error() == QNetworkReply::NoError && status >= 200 && status <= 299)
        acceptCatalogDocument(reply->readAll());
}

void Store::refresh(bool force)
{
    m_loadCancellation.cancel();
    ++m_generation;

    const auto selection = m_selection;
    const ComparisonList* list = selectedList();
    if (!selection || (!list && !selectedCollection())) {
        m_comparison.reset();
        m_comparisonListId.reset();
        m_comparisonKey.reset();
        Q_EMIT comparisonChanged();
        setLoading(false);
        return;
    }

    const QStringList tickers = selectedTickers();
    const QString benchmark = selectedBenchmark();
    const ListPeriod period = selectedPeriod();
    const QString key = cacheKey(tickers, benchmark, period);

    if (!force) {
        if (const auto cached = m_cache.constFind(key); cached != m_cache.constEnd()) {
            m_comparisonListId = list ? std::optional(list->id) : std::nullopt;
            m_comparisonKey = selection->key();
            publish(*cached);
            setLoadError(std::nullopt);
            setLoading(false);
            return;
        }
    }

    // Never show the previous list's chart under this list's name while it loads.
    if (m_comparisonKey != selection->key()) {
        m_comparison.reset();
        Q_EMIT comparisonChanged();
        m_comparisonListId = list ? std::optional(list->id) : std::nullopt;
        m_comparisonKey = selection->key();
        setLoadError(std::nullopt);
    }

    if (tickers.isEmpty()) {
        m_comparison.reset();
        Q_EMIT comparisonChanged();
        setLoadError(std::nullopt);
        setLoading(false);
        return;
    }

    setLoading(true);
    if (!m_client)
        return; // the service is still starting; connectService() refreshes again

    m_loadCancellation = Cancellation();
    QCoro::connect(load(m_generation, key, tickers, benchmark, period, m_loadCancellation), this, [] {});
}

QCoro::Task<MarketDataResult<Comparison>> Store::fetchComparison(QStringList tickers, QString benchmark,
                                                                 ListPeriod period, Cancellation cancellation) const
{
    if (!m_client)
        co_return std::unexpected(TransportError{QNetworkReply::ServiceUnavailableError,
                                                 QStringLiteral("The market-data service is not running.")});
    // Copied before the first suspension: the store may be gone when the reply arrives.
    const APIClient client = *m_client;
    QStringList symbols = tickers;
    if (!symbols.contains(benchmark))
        symbols.append(benchmark);
    const auto range = period.effectiveRange();
    const bool intraday = !range && Timeframes::isIntraday(period.preset);
    auto response = co_await client.prices(symbols, period.preset, range, intraday, cancellation);
    if (!response)
        co_return std::unexpected(response.error());
    co_return buildComparison(*response, tickers, benchmark);
}

QCoro::Task<> Store::load(quint64 generation, QString key, QStringList tickers, QString benchmark, ListPeriod period,
                          Cancellation cancellation)
{
    QPointer<Store> self(this);
    auto comparison = co_await fetchComparison(tickers, benchmark, period, cancellation);
    // A newer refresh owns the fields now; this result must not touch them.
    if (!self || cancellation.isCancelled() || generation != m_generation)
        co_return;
    if (!comparison) {
        if (comparison.error().isCancelled())
            co_return;
        setLoadError(comparison.error().description());
        setLoading(false);
        co_return;
    }
    m_cache.insert(key, *comparison);
    publish(*comparison);
    setLoadError(std::nullopt);
    setLoading(false);
}

void Store::publish(const Comparison& comparison)
{
    m_comparison = comparison;
    Q_EMIT comparisonChanged();
}

void Store::setLoading(bool loading)
{
    if (loading == m_isLoading)
        return;
    m_isLoading = loading;
    Q_EMIT loadingChanged(loading);
}

void Store::setLoadError(const std::optional<QString>& error)
{
    if (error == m_loadError)
        return;
    m_loadError = error;
    Q_EMIT loadErrorChanged();
}

} // namespace tessary
