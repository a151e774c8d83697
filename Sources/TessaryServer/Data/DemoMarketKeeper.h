#pragma once

#include <QDate>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

namespace tessary::server {

class MarketDatabase;

// Keeps a simulated market current while the server runs. Every `interval` it adds the
// sessions that have closed since the last demo day, which does nothing until a new one has;
// so a server left running for days serves the latest sessions without a restart, and a
// machine waking from sleep catches up at the next check.
class DemoMarketKeeper {
public:
    // The last day to reach; the default is the last completed session at the time.
    using LastDay = std::function<QDate()>;
    using Failed = std::function<void(const QString& message)>;

    static constexpr std::chrono::hours defaultInterval { 1 };

    DemoMarketKeeper(MarketDatabase& database, std::chrono::milliseconds interval = defaultInterval,
        LastDay lastDay = {}, Failed failed = {});

    void extendNow();

private:
    MarketDatabase& m_database;
    LastDay m_lastDay;
    Failed m_failed;
    QTimer m_timer;
};

} // namespace tessary::server
