#pragma once

#include "Tessary/Shell/Environment.h"

#include <QObject>
#include <QString>
#include <QUrl>

namespace tessary::server {
class ServerEngine;
}

namespace tessary {

class Store;

// Points the store at its market-data service: the one named by TESSARY_API, or else the
// service engine started in this process on loopback (the embedded default), with its
// database beside the user's lists. Either way the store talks HTTP to it.
class ServiceLauncher : public QObject {
    Q_OBJECT

public:
    ServiceLauncher(Store& store, Environment environment, QObject* parent = nullptr);
    ~ServiceLauncher() override;

    // Returns at once; `ready` or `failed` follows. `startLoads` also fetches the universe
    // and the catalog (the window wants them, a one-off command does not).
    void start(bool startLoads = true);
    bool isEmbedded() const { return m_engine != nullptr; }

Q_SIGNALS:
    void progress(const QString& text, int percent);
    void ready(const QUrl& marketData);
    void failed(const QString& message);

private:
    void connectStore(const QUrl& marketData);

    Store& m_store;
    Environment m_environment;
    server::ServerEngine* m_engine = nullptr;
    bool m_startLoads = true;
};

} // namespace tessary
