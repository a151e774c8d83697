#include "Cancellation.h"

namespace tessary {

Cancellation::Cancellation()
    : m_state(std::make_shared<State>())
{
}

void Cancellation::cancel()
{
    m_state->cancelled = true;
    if (m_state->reply)
        m_state->reply->abort();
}

bool Cancellation::isCancelled() const
{
    return m_state->cancelled;
}

void Cancellation::attach(QNetworkReply* reply)
{
    m_state->reply = reply;
}

void Cancellation::detach()
{
    m_state->reply.clear();
}

} // namespace tessary
