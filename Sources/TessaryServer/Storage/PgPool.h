#pragma once

#include "PgConnection.h"

#include <condition_variable>
#include <functional>
#include <mutex>

namespace tessary::server {

// A fixed number of connections to one PostgreSQL database, shared by the market and the
// accounts of a server process. `lease` waits for a free one. Opening the pool brings the
// schema up to date first (PgSchema.h).
class PgPool {
public:
    // Hands a connection back to the pool when it goes out of scope.
    class Lease {
    public:
        Lease(PgPool& pool, std::unique_ptr<PgConnection> connection);
        ~Lease();
        Lease(Lease&&) noexcept = default;
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        Lease& operator=(Lease&&) = delete;
        PgConnection* operator->() const { return m_connection.get(); }
        PgConnection& operator*() const { return *m_connection; }

    private:
        PgPool* m_pool;
        std::unique_ptr<PgConnection> m_connection;
    };

    static std::expected<std::shared_ptr<PgPool>, DataError> open(const QString& url, int connections);

    Lease lease();
    // Runs `work` between BEGIN and COMMIT on one leased connection; rolls back when it fails.
    template <typename T>
    std::expected<T, DataError> inTransaction(const std::function<std::expected<T, DataError>(PgConnection&)>& work);

    QByteArray conninfo() const { return m_conninfo; }

private:
    explicit PgPool(QByteArray conninfo);
    void giveBack(std::unique_ptr<PgConnection> connection);

    QByteArray m_conninfo;
    std::mutex m_mutex;
    std::condition_variable m_returned;
    std::vector<std::unique_ptr<PgConnection>> m_idle;
};

template <typename T>
std::expected<T, DataError> PgPool::inTransaction(const std::function<std::expected<T, DataError>(PgConnection&)>& work)
{
    Lease connection = lease();
    if (auto begun = connection->execute("BEGIN"); !begun)
        return std::unexpected(begun.error());
    auto result = work(*connection);
    if (result) {
        if (auto committed = connection->execute("COMMIT"); !committed)
            result = std::unexpected(committed.error());
    }
    if (!result)
        connection->execute("ROLLBACK");
    return result;
}

} // namespace tessary::server
