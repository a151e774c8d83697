#include "PostgresCluster.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace tessary::test {

namespace {

QString& reasonText()
{
    static QString reason;
    return reason;
}

// The newest installed server version's programs.
QString findBinDirectory()
{
    QDir versions(QStringLiteral("/usr/lib/postgresql"));
    auto names = versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    std::ranges::sort(names, {}, [](const QString& name) { return name.toInt(); });
    for (auto name = names.crbegin(); name != names.crend(); ++name) {
        const QString bin = versions.filePath(*name + QStringLiteral("/bin"));
        if (QFile::exists(bin + QStringLiteral("/initdb")) && QFile::exists(bin + QStringLiteral("/pg_ctl")))
            return bin;
    }
    return {};
}

quint16 freePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost, 0) ? probe.serverPort() : 0;
}

} // namespace

PostgresCluster* PostgresCluster::shared()
{
    static const std::unique_ptr<PostgresCluster> cluster = [] {
        std::unique_ptr<PostgresCluster> made(new PostgresCluster);
        if (!made->start(reasonText()))
            made.reset();
        return made;
    }();
    return cluster.get();
}

QString PostgresCluster::unavailableReason()
{
    return reasonText();
}

bool PostgresCluster::run(const QString& program, const QString& arguments) const
{
    QString command
        = QStringLiteral("%1/%2 %3 >>%4/commands.log 2>&1").arg(m_bin, program, arguments, m_directory.path());
    if (!m_owner.isEmpty())
        command = QStringLiteral("runuser -u %1 -- sh -c '%2'").arg(m_owner, command);
    return std::system(command.toLocal8Bit().constData()) == 0;
}

bool PostgresCluster::start(QString& reason)
{
    m_bin = findBinDirectory();
    if (m_bin.isEmpty()) {
        reason = QStringLiteral("PostgreSQL tests skipped: no initdb and pg_ctl under /usr/lib/postgresql/*/bin "
                                "(install the postgresql package)");
        return false;
    }
    if (::geteuid() == 0) {
        const passwd* owner = ::getpwnam("postgres");
        if (!owner || ::chown(QFile::encodeName(m_directory.path()).constData(), owner->pw_uid, owner->pw_gid) != 0) {
            reason = QStringLiteral("PostgreSQL tests cannot run as root without a postgres user to own the cluster");
            return false;
        }
        m_owner = QStringLiteral("postgres");
    }
    m_port = freePort();
    const QString data = m_directory.filePath(QStringLiteral("data"));
    if (!run(QStringLiteral("initdb"),
            QStringLiteral("-D %1 -U tessary -A trust -E UTF8 --locale=C --no-sync").arg(data))) {
        reason = QStringLiteral("initdb failed, see %1/commands.log").arg(m_directory.path());
        m_directory.setAutoRemove(false);
        return false;
    }
    // Only the socket in the temporary directory; durability does not matter here.
    const QString options = QStringLiteral("-k %1 -p %2 -c listen_addresses= -c fsync=off -c max_connections=200")
                                .arg(m_directory.path())
                                .arg(m_port);
    if (!run(QStringLiteral("pg_ctl"),
            QStringLiteral("-D %1 -l %2/server.log -w -o \"%3\" start").arg(data, m_directory.path(), options))) {
        reason = QStringLiteral("pg_ctl could not start the cluster, see %1/server.log").arg(m_directory.path());
        m_directory.setAutoRemove(false);
        return false;
    }
    return true;
}

PostgresCluster::~PostgresCluster()
{
    run(QStringLiteral("pg_ctl"), QStringLiteral("-D %1/data -m immediate stop").arg(m_directory.path()));
}

QString PostgresCluster::newDatabase()
{
    const QString name = QStringLiteral("test%1").arg(++m_databases);
    run(QStringLiteral("createdb"),
        QStringLiteral("-h %1 -p %2 -U tessary %3").arg(m_directory.path()).arg(m_port).arg(name));
    return QStringLiteral("postgresql://tessary@/%1?host=%2&port=%3").arg(name, m_directory.path()).arg(m_port);
}

} // namespace tessary::test
