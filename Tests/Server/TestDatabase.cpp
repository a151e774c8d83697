#include "TestDatabase.h"

#include "Support/PostgresCluster.h"

namespace tessary::test {

TestDatabase::TestDatabase()
{
    if (!onPostgres())
        return;
    if (auto* cluster = PostgresCluster::shared())
        m_postgres.url = cluster->newDatabase();
}

bool TestDatabase::onPostgres()
{
    return qgetenv("TESSARY_TEST_BACKEND") == "postgresql";
}

QString TestDatabase::skipReason() const
{
    return PostgresCluster::unavailableReason();
}

QStringList TestDatabase::arguments() const
{
    if (onPostgres())
        return { QStringLiteral("--database"), m_postgres.url };
    return { QStringLiteral("--data-dir"), m_directory.path() };
}

std::expected<server::ServerStorage, server::DataError> TestDatabase::open() const
{
    return server::ServerStorage::open(m_directory.path(), m_postgres);
}

} // namespace tessary::test
