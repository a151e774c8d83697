#pragma once

#include "ComparisonCache.h"

#include "Tessary/MarketData/APIClient.h"
#include "Tessary/MarketData/Cancellation.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/ListPeriod.h"

#include <QCoroTask>
#include <QObject>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>

namespace tessary {

// What one load asks for: the tickers and benchmark of a sidebar item over a period.
struct LoadTarget {
    QString selectionKey; // "list:…" or "featured:…"
    std::optional<QUuid> listId; // none for a curated list
    QStringList tickers;
    QString benchmark;
    ListPeriod period;
};

// Loads the selection's comparison: one load at a time, a newer one cancelling the older, and
// finished results kept in a bounded cache. The published comparison is shared, not copied,
// with the chart and the tables.
class ComparisonLoader : public QObject {
    Q_OBJECT

public:
    using Clock = ComparisonCache::Clock;

    explicit ComparisonLoader(std::function<Clock::time_point()> clock = {}, QObject* parent = nullptr);

    void setClient(APIClient client) { m_client = std::move(client); }
    const std::optional<APIClient>& client() const { return m_client; }

    // Shows `target`'s comparison: from the cache unless `force`, otherwise by a new load.
    // Nothing to show (no target) clears the comparison.
    void load(const std::optional<LoadTarget>& target, bool force);

    const std::shared_ptr<const Comparison>& comparison() const { return m_comparison; }
    std::optional<QUuid> comparisonListId() const { return m_comparisonListId; }
    bool isLoading() const { return m_isLoading; }
    const std::optional<QString>& loadError() const { return m_loadError; }

    // The comparison of any tickers over any period, leaving the published one alone.
    QCoro::Task<MarketDataResult<Comparison>> fetch(
        QStringList tickers, QString benchmark, ListPeriod period, Cancellation cancellation = {}) const;
    static QString cacheKey(const QStringList& tickers, const QString& benchmark, const ListPeriod& period);

Q_SIGNALS:
    void comparisonChanged();
    void loadingChanged(bool loading);
    void loadErrorChanged();

private:
    QCoro::Task<> run(quint64 generation, QString key, LoadTarget target, Cancellation cancellation);
    void publish(std::shared_ptr<const Comparison> comparison);
    void setLoading(bool loading);
    void setLoadError(const std::optional<QString>& error);

    std::function<Clock::time_point()> m_clock;
    std::optional<APIClient> m_client;
    ComparisonCache m_cache;
    std::shared_ptr<const Comparison> m_comparison;
    std::optional<QUuid> m_comparisonListId;
    std::optional<QString> m_comparisonKey; // sidebar key of the published comparison
    bool m_isLoading = false;
    std::optional<QString> m_loadError;
    quint64 m_generation = 0;
    Cancellation m_cancellation;
    // Runs a moment after the last load has ended and its reply has been let go.
    QTimer m_freeMemory;
};

} // namespace tessary
