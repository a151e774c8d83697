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
    // Hang up after the head and half of the announced body.
    bool cutOffHalfway = false;
    // Send the whole reply this many bytes a second (0: at once).
    int bytesPerSecond = 0;

    static ScriptedReply json(QByteArray body, int status = 200) { return ScriptedReply { status, std::move(body) }; }
    static ScriptedReply silent() { return ScriptedReply { 200, {}, {}, std::chrono::milliseconds(0), true }; }
    static ScriptedReply cutOff(QByteArray body)
    {
        ScriptedReply reply = json(std::move(body));
        reply.cutOffHalfway = true;
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
    void script(const QString& path, ScriptedReply reply) { m_replies.insert(path, std::move(reply)); }
    const QList<RecordedRequest>& requests() const { return m_requests; }

protected:
    bool handleRequest(const QHttpServerRequest& request, QTcpSocket* socket) override;
    void missingHandler(const QHttpServerRequest& request, QTcpSocket* socket) override;

private:
    static void answer(QHttpServerResponder& responder, const ScriptedReply& reply);
    // Writes the reply on the socket itself, for the deliveries a responder cannot make.
    static void answerRaw(QTcpSocket* socket, const ScriptedReply& reply);

    QUrl m_baseUrl;
    QHash<QString, ScriptedReply> m_replies;
    QList<RecordedRequest> m_requests;
    // Responders waiting for a delay, or forever.
    std::vector<std::unique_ptr<QHttpServerResponder>> m_pending;
};

} // namespace tessary::test
