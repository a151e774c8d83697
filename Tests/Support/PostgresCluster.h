#pragma once

#include <QString>
#include <QTemporaryDir>

#include <memory>

namespace tessary::test {

// A throwaway PostgreSQL cluster of the Debian postgresql package: initdb and pg_ctl from
// /usr/lib/postgresql/*/bin, a temporary directory, a Unix socket in it and a port nobody
// uses. One per test process, started on first use and removed when the process ends.
// initdb refuses to run as root, so as root the cluster belongs to the `postgres` user.
class PostgresCluster {
public:
    // The running cluster, or null when it cannot be had; `unavailableReason` then says why.
    static PostgresCluster* shared();
    static QString unavailableReason();

    ~PostgresCluster();
    PostgresCluster(const PostgresCluster&) = delete;
    PostgresCluster& operator=(const PostgresCluster&) = delete;

    // A new, empty database on the cluster: its postgresql:// URL.
    QString newDatabase();

private:
    PostgresCluster() = default;
    // Runs a program of the cluster's bin folder (as the cluster's owner); true on success.
    bool run(const QString& program, const QString& arguments) const;
    bool start(QString& reason);

    QString m_bin;
    QString m_owner; // empty: this user
    QTemporaryDir m_directory;
    quint16 m_port = 0;
    int m_databases = 0;
};

} // namespace tessary::test
