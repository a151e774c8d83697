#include "ComparisonLoader.h"

#include "Tessary/Shell/FreeMemory.h"

#include <QNetworkReply>
#include <QPointer>

namespace tessary {

namespace {

const QString cacheKeySuffix = QStringLiteral("v1");
// Long enough for the finished reply to be deleted and the chart to be drawn first.
constexpr auto freeMemoryDelay = std::chrono::milliseconds(500);

QString periodKeyLabel(const ListPeriod& period)
{
    if (const auto range = period.effectiveRange())
        return range->start + QChar(0x2026) + range->end;
    return Timeframes::rawValue(period.preset);
}

} // namespace

ComparisonLoader::ComparisonLoader(std::function<Clock::time_point()> clock, QObject* parent)
    : QObject(parent)
    , m_clock(clock ? std::move(clock) : [] { return Clock::now(); })
{
    m_freeMemory.setSingleShot(true);
    m_freeMemory.setInterval(freeMemoryDelay);
    connect(&m_freeMemory, &QTimer::timeout, this, &returnFreeMemory);
}

QString ComparisonLoader::cacheKey(const QStringList& tickers, const QString& benchmark, const ListPeriod& period)
{
    // The benchmark is part of the key: the same tickers measured against another benchmark
    // rank differently, and a cache hit must never show the old one.
    return tickers.join(u',') + u'|' + periodKeyLabel(period) + u'|' + benchmark + u'|' + cacheKeySuffix;
}

void ComparisonLoader::load(const std::optional<LoadTarget>& target, bool force)
{
    m_cancellation.cancel();
    ++m_generation;

    if (!target) {
        m_comparisonListId.reset();
        m_comparisonKey.reset();
        publish(nullptr);
        setLoading(false);
        return;
    }

    const QString key = cacheKey(target->tickers, target->benchmark, target->period);
    const auto hit = force ? std::nullopt : m_cache.find(key, m_clock());
    if (hit) {
        m_comparisonListId = target->listId;
        m_comparisonKey = target->selectionKey;
        publish(hit->comparison);
        setLoadError(std::nullopt);
        if (hit->fresh) {
            setLoading(false);
            return;
        }
        // Too old to pass for the latest prices: it stays on screen while a new one loads.
    }

    // Never show the previous list's chart under this list's name while it loads.
    if (m_comparisonKey != target->selectionKey) {
        m_comparisonListId = target->listId;
        m_comparisonKey = target->selectionKey;
        publish(nullptr);
        setLoadError(std::nullopt);
    }

    if (target->tickers.isEmpty()) {
        publish(nullptr);
        setLoadError(std::nullopt);
        setLoading(false);
        return;
    }

    setLoading(true);
    if (!m_client)
        return; // the service is still starting; the store loads again once it is up

    m_cancellation = Cancellation();
    QCoro::connect(run(m_generation, key, *target, m_cancellation), this, [] {});
}

QCoro::Task<MarketDataResult<Comparison>> ComparisonLoader::fetch(
    QStringList tickers, QString benchmark, ListPeriod period, Cancellation cancellation) const
{
    if (!m_client)
        co_return std::unexpected(TransportError {
            QNetworkReply::ServiceUnavailableError, QStringLiteral("The market-data service is not running.") });
    // Copied before the first suspension: the loader may be gone when the reply arrives.
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

QCoro::Task<> ComparisonLoader::run(quint64 generation, QString key, LoadTarget target, Cancellation cancellation)
{
    QPointer<ComparisonLoader> self(this);
    auto comparison = co_await fetch(target.tickers, target.benchmark, target.period, cancellation);
    if (!self)
        co_return;
    m_freeMemory.start();
    // A newer load owns the fields now; this result must not touch them.
    if (cancellation.isCancelled() || generation != m_generation)
        co_return;
    if (!comparison) {
        if (comparison.error().isCancelled())
            co_return;
        setLoadError(comparison.error().description());
        setLoading(false);
        co_return;
    }
    auto shared = std::make_shared<const Comparison>(std::move(*comparison));
    m_cache.insert(key, shared, m_clock());
    publish(std::move(shared));
    setLoadError(std::nullopt);
    setLoading(false);
}

void ComparisonLoader::publish(std::shared_ptr<const Comparison> comparison)
{
    if (!comparison && !m_comparison)
        return;
    m_comparison = std::move(comparison);
    Q_EMIT comparisonChanged();
}

void ComparisonLoader::setLoading(bool loading)
{
    if (loading == m_isLoading)
        return;
    m_isLoading = loading;
    Q_EMIT loadingChanged(loading);
}

void ComparisonLoader::setLoadError(const std::optional<QString>& error)
{
    if (error == m_loadError)
        return;
    m_loadError = error;
    Q_EMIT loadErrorChanged();
}

} // namespace tessary
