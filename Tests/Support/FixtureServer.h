#pragma once

#include <QAbstractHttpServer>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <memory>
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

    static ScriptedReply json(QByteArray body, int status = 200) { return ScriptedReply { status, std::move(body) }; }
    static ScriptedReply silent() { return ScriptedReply { 200, {}, {}, std::chrono::milliseconds(0), true }; }
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
    const QList<RecordedRequest>& requests() const { return m_requests; }

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

private:
    static void answer(QHttpServerResponder& responder, const ScriptedReply& reply, QTcpSocket* socket);

    QUrl m_baseUrl;
    QHash<QString, QList<ScriptedReply>> m_replies;
    QList<RecordedRequest> m_requests;
    // Responders waiting for a delay, or forever.
    std::vector<std::unique_ptr<QHttpServerResponder>> m_pending;
};

} // namespace tessary::test
