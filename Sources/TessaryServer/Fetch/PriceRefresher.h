#pragma once

#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QThread>
#include <QTime>

#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

#include "TessaryServer/Fetch/PriceProvider.h"

class QTimer;

namespace tessary::server {

class MarketDatabase;

// `serve --refresh daily[@HH:MM]`: when and from where.
struct DailyRefresh {
    // Two hours after the close: the providers have published the day by then.
    static QTime defaultTime() { return QTime(18, 0); }
    QTime at = defaultTime(); // New York time, after the close
    ProviderSettings provider;
};

// What the last refresh did, for GET /healthz. Written by the refresh thread, read by the
// server's; every access holds the lock.
class RefreshState {
public:
    struct Snapshot {
        QString provider;
        QTime at;
        bool running = false;
        std::optional<QDateTime> lastRefresh;
        std::optional<QDateTime> nextRefresh;
        QStringList failures; // of the last refresh, one line per symbol
    };
    Snapshot snapshot() const;
    void update(const std::function<void(Snapshot&)>& change);

private:
    mutable std::mutex m_mutex;
    Snapshot m_snapshot;
};

// Refreshes every stored imported symbol once a day on a thread of its own, so requests are
// served while a refresh waits for the provider. The store serialises its connection, so the
// refresh writes while the server reads.
class PriceRefresher {
public:
    PriceRefresher(MarketDatabase& database, DailyRefresh refresh, PriceProvider provider);
    // Stops a running refresh (the symbol under way writes nothing), then ends the thread.
    ~PriceRefresher();
    PriceRefresher(const PriceRefresher&) = delete;
    PriceRefresher& operator=(const PriceRefresher&) = delete;

    std::shared_ptr<const RefreshState> state() const { return m_state; }

private:
    class Worker;
    QThread m_thread;
    std::stop_source m_stop;
    std::shared_ptr<RefreshState> m_state = std::make_shared<RefreshState>();
};

} // namespace tessary::server
