#pragma once

#include <QNetworkReply>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <coroutine>
#include <memory>

namespace tessary {

// A reply owned from the moment it is made; deleted later, since its signals may still be on
// their way when the owner lets go.
//
// Waiting on it also ends when the reply is destroyed without finishing, which is what happens
// to every reply in flight when its network manager goes: a coroutine suspended on the plain
// `finished` signal would then never be resumed, and its frame, with everything its callers
// hold, would be lost.
class OwnedReply {
public:
    explicit OwnedReply(QNetworkReply* reply)
        : m_reply(reply)
    {
    }
    OwnedReply(const OwnedReply&) = delete;
    OwnedReply& operator=(const OwnedReply&) = delete;
    ~OwnedReply();

    QNetworkReply* get() const { return m_reply.data(); }
    QNetworkReply* operator->() const { return m_reply.data(); }
    QNetworkReply& operator*() const { return *m_reply; }

    class Finished {
    public:
        explicit Finished(QNetworkReply* reply);
        bool await_ready() const;
        void await_suspend(std::coroutine_handle<> waiting);
        // False when the reply was destroyed before it finished: it must not be touched then.
        bool await_resume() const;

    private:
        struct State;
        QNetworkReply* m_reply;
        std::shared_ptr<State> m_state;
    };
    Finished finished() const { return Finished(m_reply.data()); }

private:
    QPointer<QNetworkReply> m_reply;
};

// `base` with `path` appended as a path component: every service may sit below a path of its
// own ("https://host/api/"), with or without the trailing slash.
inline QUrl urlBelow(QUrl base, const QString& path)
{
    const QString basePath = base.path();
    base.setPath(basePath.endsWith(u'/') ? basePath + path : basePath + u'/' + path);
    return base;
}

} // namespace tessary
