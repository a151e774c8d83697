#include "ServerEngine.h"

#include "ServerWorker.h"

#include <QDir>
#include <QStandardPaths>

namespace tessary::server {

QString defaultDataDirectory()
{
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
        .filePath(QStringLiteral("Tessary/server"));
}

ServerEngine::ServerEngine(QObject* parent)
    : QObject(parent)
{
    m_thread.setObjectName(QStringLiteral("Tessary.Server"));
}

ServerEngine::~ServerEngine()
{
    stop();
}

void ServerEngine::start(const ServerOptions& options)
{
    stop();
    m_url.reset();
    m_worker = new ServerWorker(options);
    m_worker->moveToThread(&m_thread);
    connect(m_worker, &ServerWorker::progress, this, &ServerEngine::progress);
    connect(m_worker, &ServerWorker::failed, this, &ServerEngine::onFailed);
    connect(m_worker, &ServerWorker::listening, this, &ServerEngine::onListening);
    m_thread.start();
    QMetaObject::invokeMethod(m_worker, &ServerWorker::run, Qt::QueuedConnection);
}

void ServerEngine::stop()
{
    if (!m_worker)
        return;
    m_worker->cancel();
    QMetaObject::invokeMethod(m_worker, &ServerWorker::shutdown, Qt::QueuedConnection);
    m_thread.wait();
    // The thread has ended and the worker owns nothing anymore; signals it queued to us
    // before it stopped are dropped with it.
    delete m_worker;
    m_worker = nullptr;
    m_url.reset();
}

void ServerEngine::onListening(const QString& host, quint16 port)
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(host);
    url.setPort(port);
    m_url = url;
    Q_EMIT started(url);
}

void ServerEngine::onFailed(const QString& message)
{
    stop();
    Q_EMIT failed(message);
}

} // namespace tessary::server
