#include "NetworkReply.h"

namespace tessary {

OwnedReply::~OwnedReply()
{
    if (m_reply)
        m_reply->deleteLater();
}

struct OwnedReply::Finished::State {
    std::coroutine_handle<> waiting;
    QMetaObject::Connection finished;
    QMetaObject::Connection destroyed;
    bool gone = false;

    static void resume(const std::shared_ptr<State>& state, bool gone)
    {
        // Held here, not in the slot: disconnecting may free the slot and what it captured.
        const std::shared_ptr<State> keep = state;
        QObject::disconnect(keep->finished);
        QObject::disconnect(keep->destroyed);
        keep->gone = gone;
        keep->waiting.resume();
    }
};

OwnedReply::Finished::Finished(QNetworkReply* reply)
    : m_reply(reply)
    , m_state(std::make_shared<State>())
{
}

bool OwnedReply::Finished::await_ready() const
{
    return !m_reply || m_reply->isFinished();
}

void OwnedReply::Finished::await_suspend(std::coroutine_handle<> waiting)
{
    m_state->waiting = waiting;
    m_state->finished
        = QObject::connect(m_reply, &QNetworkReply::finished, [state = m_state] { State::resume(state, false); });
    m_state->destroyed
        = QObject::connect(m_reply, &QObject::destroyed, [state = m_state] { State::resume(state, true); });
}

bool OwnedReply::Finished::await_resume() const
{
    return m_reply && !m_state->gone;
}

} // namespace tessary
