#include "PriceRefresher.h"

#include <QTimer>

#include <algorithm>
#include <stop_token>

#include "TessaryServer/Data/MarketDatabase.h"
#include "TessaryServer/Fetch/PriceFetch.h"
#include "TessaryServer/Fetch/RefreshSchedule.h"

namespace tessary::server {

RefreshState::Snapshot RefreshState::snapshot() const
{
    const std::scoped_lock lock(m_mutex);
    return m_snapshot;
}

void RefreshState::update(const std::function<void(Snapshot&)>& change)
{
    const std::scoped_lock lock(m_mutex);
    change(m_snapshot);
}

// Lives on the refresh thread: a timer to the next due time, then one refresh.
class PriceRefresher::Worker : public QObject {
public:
    Worker(MarketDatabase& database, DailyRefresh refresh, PriceProvider provider, std::shared_ptr<RefreshState> state,
        std::stop_token stop)
        : m_database(database)
        , m_refresh(std::move(refresh))
        , m_provider(std::move(provider))
        , m_state(std::move(state))
        , m_stop(std::move(stop))
        , m_timer(this)
    {
        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, &Worker::refresh);
    }

    void schedule()
    {
        std::optional<QDateTime> last;
        if (const auto stored = m_database.metaValue(QString::fromLatin1(MarketDatabase::lastRefreshKey)))
            last = QDateTime::fromString(*stored, Qt::ISODate);
        const QDateTime now = QDateTime::currentDateTimeUtc();
        // A refresh where every symbol failed records no time, yet must not run again at once.
        auto since = last;
        if (m_lastAttempt && (!since || *since < *m_lastAttempt))
            since = m_lastAttempt;
        const QDateTime next = nextRefresh(since, now, m_refresh.at);
        m_state->update([&](RefreshState::Snapshot& snapshot) {
            snapshot.lastRefresh = last;
            snapshot.nextRefresh = next;
        });
        // A timer counts in int milliseconds; a long weekend fits many times over.
        m_timer.start(static_cast<int>(std::max<qint64>(0, now.msecsTo(next))));
    }

private:
    void refresh()
    {
        m_lastAttempt = QDateTime::currentDateTimeUtc();
        m_state->update([](RefreshState::Snapshot& snapshot) { snapshot.running = true; });
        const auto results = fetchPrices(
            m_database, m_refresh.provider, m_provider, importedSymbols(m_database), [](const SymbolFetch&) {}, m_stop);
        QStringList failures;
        for (const SymbolFetch& result : results)
            if (result.outcome == SymbolFetch::Outcome::failed)
                failures.push_back(result.line());
        m_state->update([&failures](RefreshState::Snapshot& snapshot) {
            snapshot.running = false;
            snapshot.failures = failures;
        });
        schedule();
    }

    MarketDatabase& m_database;
    DailyRefresh m_refresh;
    PriceProvider m_provider;
    std::shared_ptr<RefreshState> m_state;
    std::stop_token m_stop;
    QTimer m_timer;
    std::optional<QDateTime> m_lastAttempt;
};

PriceRefresher::PriceRefresher(MarketDatabase& database, DailyRefresh refresh, PriceProvider provider)
{
    m_state->update([&refresh](RefreshState::Snapshot& snapshot) {
        snapshot.provider = refresh.provider.name;
        snapshot.at = refresh.at;
    });
    auto* worker = new Worker(database, std::move(refresh), std::move(provider), m_state, m_stop.get_token());
    worker->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::started, worker, &Worker::schedule);
    QObject::connect(&m_thread, &QThread::finished, worker, &QObject::deleteLater);
    m_thread.setObjectName(QStringLiteral("price refresh"));
    m_thread.start();
}

PriceRefresher::~PriceRefresher()
{
    m_stop.request_stop();
    m_thread.quit();
    m_thread.wait();
}

} // namespace tessary::server
