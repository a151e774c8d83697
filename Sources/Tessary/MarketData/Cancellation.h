#pragma once

#include <QNetworkReply>
#include <QPointer>

#include <memory>

namespace tessary {

// A handle the caller keeps to abandon a request it started. Copies share one state, so the
// caller can hold one copy and pass another into the request. Cancelling aborts the reply
// in flight; a request started after cancel() fails at once without touching the network.
class Cancellation {
public:
    Cancellation();

    void cancel();
    bool isCancelled() const;

    // Used by the client around each request.
    void attach(QNetworkReply* reply);
    void detach();

private:
    struct State {
        bool cancelled = false;
        QPointer<QNetworkReply> reply;
    };
    std::shared_ptr<State> m_state;
};

} // namespace tessary
