#include "PgPool.h"

#include "PgSchema.h"

namespace tessary::server {

PgPool::Lease::Lease(PgPool& pool, std::unique_ptr<PgConnection> connection)
    : m_pool(&pool)
    , m_connection(std::move(connection))
{
}

PgPool::Lease::~Lease()
{
    if (m_connection)
        m_pool->giveBack(std::move(m_connection));
}

PgPool::PgPool(QByteArray conninfo)
    : m_conninfo(std::move(conninfo))
{
}

std::expected<std::shared_ptr<PgPool>, DataError> PgPool::open(const QString& url, int connections)
{
    std::shared_ptr<PgPool> pool(new PgPool(url.toUtf8()));
    // All connections now: a wrong password or host fails at start, not at the first request.
    for (int index = 0; index < std::max(connections, 1); ++index) {
        auto connection = PgConnection::connect(pool->m_conninfo);
        if (!connection)
            return std::unexpected(connection.error());
        pool->m_idle.push_back(std::move(*connection));
    }
    if (auto migrated = migratePostgres(*pool->m_idle.front()); !migrated)
        return std::unexpected(migrated.error());
    return pool;
}

PgPool::Lease PgPool::lease()
{
    std::unique_lock lock(m_mutex);
    m_returned.wait(lock, [this] { return !m_idle.empty(); });
    auto connection = std::move(m_idle.back());
    m_idle.pop_back();
    lock.unlock();
    connection->resetIfBroken();
    return Lease(*this, std::move(connection));
}

void PgPool::giveBack(std::unique_ptr<PgConnection> connection)
{
    {
        std::lock_guard lock(m_mutex);
        m_idle.push_back(std::move(connection));
    }
    m_returned.notify_one();
}

} // namespace tessary::server
