#pragma once

#include <QAbstractHttpServer>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <memory>
#include <tuple>
#include <vector>

class QHttpServerResponder;

namespace tessary::test {

// One request as the fixture server received it.
struct RecordedRequest {
    QByteArray method;
    QString path;
    QByteArray query; // percent-encoded, as it arrived; empty when the URL had none
    QList<QPair<QByteArray, QByteArray>> headers;
    std::chrono::steady_clock::time_point received;

    // The value of a header (case-insensitive name), or a null QByteArray when absent.
    QByteArray header(const QByteArray& name) const;
};

// What the server answers on one path.
struct ScriptedReply {
    int status = 200;
    QByteArray body;
    QByteArray contentType = "application/json";
    std::chrono::milliseconds delay { 0 };
    bool neverAnswer = false; // keep the connection open and silent
    QList<QPair<QByteArray, QByteArray>> headers; // beyond Content-Type and Content-Length
    bool truncate = false; // promise the whole body, send half of it, hang up
    // Send the whole reply this many bytes a second (0: at once).
    int bytesPerSecond = 0;

    static ScriptedReply json(QByteArray body, int status = 200) { return ScriptedReply { status, std::move(body) }; }
    static ScriptedReply silent() { return ScriptedReply { 200, {}, {}, std::chrono::milliseconds(0), true }; }
    static ScriptedReply cutOff(QByteArray body)
    {
        ScriptedReply reply = json(std::move(body));
        reply.truncate = true;
        return reply;
    }
    static ScriptedReply trickled(QByteArray body, int bytesPerSecond)
    {
        ScriptedReply reply = json(std::move(body));
        reply.bytesPerSecond = bytesPerSecond;
        return reply;
    }
};

// A real HTTP server on 127.0.0.1 at an ephemeral port for client tests: it records every
// request and answers from a script. Paths without a script get a 404 with an empty body.
class FixtureServer : public QAbstractHttpServer {
    Q_OBJECT

public:
    FixtureServer();
    ~FixtureServer() override;

    // "http://127.0.0.1:<port>"
    QUrl baseUrl() const { return m_baseUrl; }
    void script(const QString& path, ScriptedReply reply) { m_replies.insert(path, { std::move(reply) }); }
    // Answers the first request with the first reply, the next with the next, and every
    // request after the last with the last.
    void scriptSequence(const QString& path, QList<ScriptedReply> replies) { m_replies.insert(path, replies); }
    // A reply for the requests on `path` whose encoded query contains `queryPart`, ahead of
    // the path's own script: two periods can get two different answers.
    void script(const QString& path, const QByteArray& queryPart, ScriptedReply reply);
    const QList<RecordedRequest>& requests() const { return m_requests; }
    // Every request received has had its reply written, or dropped with its connection. A
    // test that expects nothing more from the client sends a last request that must come
    // after any stray one, and waits for this.
    bool idle() const { return m_finished == m_requests.size(); }

Q_SIGNALS:
    void requestFinished();

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

private:
    void answer(QHttpServerResponder& responder, const ScriptedReply& reply, QTcpSocket* socket);
    // Writes the reply on the socket itself, a few bytes at a time, which a responder cannot.
    void trickle(QTcpSocket* socket, const ScriptedReply& reply);
    void finish();
    ScriptedReply replyFor(const RecordedRequest& request);

    QUrl m_baseUrl;
    QHash<QString, QList<ScriptedReply>> m_replies;
    QList<std::tuple<QString, QByteArray, ScriptedReply>> m_queryReplies;
    int m_finished = 0;
    QList<RecordedRequest> m_requests;
    // Responders waiting for a delay, or forever.
    std::vector<std::unique_ptr<QHttpServerResponder>> m_pending;
};

} // namespace tessary::test
