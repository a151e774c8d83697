#include "TessaryServer/Data/DemoMarketKeeper.h"

#include "TessaryServer/Data/DemoMarket.h"

namespace tessary::server {

DemoMarketKeeper::DemoMarketKeeper(
    MarketDatabase& database, std::chrono::milliseconds interval, LastDay lastDay, Failed failed)
    : m_database(database)
    , m_lastDay(std::move(lastDay))
    , m_failed(std::move(failed))
{
    m_timer.setInterval(interval);
    QObject::connect(&m_timer, &QTimer::timeout, [this] { extendNow(); });
    m_timer.start();
}

void DemoMarketKeeper::extendNow()
{
    const auto extended = extendDemoMarket(m_database, m_lastDay ? m_lastDay() : QDate());
    if (!extended && m_failed)
        m_failed(extended.error().description());
}

} // namespace tessary::server
