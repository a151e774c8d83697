#include "ServiceLauncher.h"

#include "Tessary/Store/Store.h"
#include "TessaryServer/Http/ServerEngine.h"

#include <QDir>

#include <cmath>

namespace tessary {

namespace {

const QString embeddedFailedPrefix = QStringLiteral("The built-in market-data service could not start: ");

} // namespace

ServiceLauncher::ServiceLauncher(Store& store, Environment environment, QObject* parent)
    : QObject(parent)
    , m_store(store)
    , m_environment(std::move(environment))
{
}

ServiceLauncher::~ServiceLauncher()
{
    if (m_engine)
        m_engine->stop();
}

void ServiceLauncher::start(bool startLoads)
{
    m_startLoads = startLoads;
    if (m_environment.api) {
        connectStore(*m_environment.api);
        return;
    }
    m_engine = new server::ServerEngine(this);
    connect(m_engine, &server::ServerEngine::progress, this, [this](double fraction, const QString& stage) {
        const int percent = static_cast<int>(std::lround(std::clamp(fraction, 0.0, 1.0) * 100));
        Q_EMIT progress(stage, percent);
    });
    connect(m_engine, &server::ServerEngine::started, this, &ServiceLauncher::connectStore);
    connect(m_engine, &server::ServerEngine::failed, this,
        [this](const QString& message) { Q_EMIT failed(embeddedFailedPrefix + message); });
    server::ServerOptions options;
    options.host = QStringLiteral("127.0.0.1");
    options.port = 0;
    options.dataDirectory = QDir(m_store.dataDirectory()).filePath(QStringLiteral("server"));
    options.demo = true;
    // The embedded service runs on the user's own machine, so it may create their account.
    options.signup = true;
    // Over loopback a 201-ticker, five-year reply moves in a few milliseconds; coding it costs
    // the service about 70 ms and the app the decoding on top, so the bytes go as they are.
    options.gzipLevel = 0;
    m_engine->start(options);
}

void ServiceLauncher::connectStore(const QUrl& marketData)
{
    // The embedded service also serves the web documents, so it is the web origin too unless
    // one is configured.
    const QUrl web = m_environment.web.value_or(marketData);
    m_store.account().setEndpoints(m_environment.sessionApi.value_or(marketData), web);
    m_store.connectService(marketData, web, m_startLoads);
    Q_EMIT ready(marketData);
}

} // namespace tessary
