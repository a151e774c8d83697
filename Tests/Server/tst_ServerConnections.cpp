#include "MemoryMarket.h"
#include "TessaryServer/Http/ServerEngine.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTest>

#include <memory>
#include <vector>

using namespace tessary::server;

namespace {

// An exchange over a raw socket: what the server answered and whether it then hung up.
struct RawReply {
    QByteArray statusLine;
    QByteArray body;
    bool closed = false;
};

// How many whole responses `received` holds (each framed by its Content-Length).
int completeResponses(const QByteArray& received)
{
    int count = 0;
    qsizetype at = 0;
    for (;;) {
        const qsizetype headEnd = received.indexOf("\r\n\r\n", at);
        if (headEnd < 0)
            return count;
        const QByteArray head = received.mid(at, headEnd - at).toLower();
        const qsizetype field = head.indexOf("content-length:");
        const qsizetype length
            = field < 0 ? 0 : head.mid(field + 15, head.indexOf("\r\n", field) - field - 15).trimmed().toLongLong();
        if (received.size() < headEnd + 4 + length)
            return count;
        at = headEnd + 4 + length;
        ++count;
    }
}

} // namespace

class ServerConnectionTests : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void refusedBeforeTheBodyIsRead_data();
    void refusedBeforeTheBodyIsRead();
    void bodyWithinTheLimitReachesTheHandler();
    void idleConnectionsDoNotLockOthersOut();

private:
    // Sends `request` on a new connection and reads until `responses` answers are in or the
    // server hangs up; then waits up to `hangUp` for it to close the connection.
    RawReply exchange(const QByteArray& request, int responses = 1, int hangUp = 0);

    ConnectionLimits m_limits {
        .largestBody = 64 * 1024, .largestHead = 4 * 1024, .timeout = std::chrono::seconds(2), .connections = 100
    };
    std::unique_ptr<ServerEngine> m_engine;
    quint16 m_port = 0;
};

void ServerConnectionTests::initTestCase()
{
    ServerOptions options;
    options.limits = m_limits;
    options.openMarket = [](const MarketProgress&) -> std::expected<std::unique_ptr<MarketReader>, DataError> {
        auto market = std::make_unique<test::MemoryMarket>();
        market->addSymbol(tessary::TickerInfo { .symbol = QStringLiteral("AAPL"), .name = QStringLiteral("Apple") },
            test::dailyBarsFromText(QStringLiteral("2024-01-02 10, 2024-01-03 11")));
        return std::unique_ptr<MarketReader>(std::move(market));
    };
    m_engine = std::make_unique<ServerEngine>();
    QSignalSpy started(m_engine.get(), &ServerEngine::started);
    m_engine->start(options);
    QVERIFY(started.wait(10'000));
    m_port = static_cast<quint16>(m_engine->url()->port());
}

void ServerConnectionTests::cleanupTestCase()
{
    m_engine->stop();
}

RawReply ServerConnectionTests::exchange(const QByteArray& request, int responses, int hangUp)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, m_port);
    if (!socket.waitForConnected(5000))
        return {};
    socket.write(request);
    QByteArray received;
    while (completeResponses(received) < responses && socket.waitForReadyRead(5000))
        received += socket.readAll();
    if (socket.state() != QAbstractSocket::UnconnectedState)
        socket.waitForDisconnected(hangUp);
    const qsizetype bodyAt = received.indexOf("\r\n\r\n");
    return RawReply { received.left(received.indexOf("\r\n")), bodyAt < 0 ? QByteArray() : received.mid(bodyAt + 4),
        socket.state() == QAbstractSocket::UnconnectedState };
}

void ServerConnectionTests::refusedBeforeTheBodyIsRead_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("statusLine");

    // Only the start of each announced body is sent: the answer must come without the rest.
    const QByteArray put = "PUT /account HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    QTest::newRow("body over the limit") << put + "Content-Length: 65537\r\n\r\n{\"x\":"
                                         << QByteArray("HTTP/1.1 413 Payload Too Large");
    QTest::newRow("chunked body") << put + "Transfer-Encoding: chunked\r\n\r\n10\r\n"
                                  << QByteArray("HTTP/1.1 411 Length Required");
    QTest::newRow("length not a number") << put + "Content-Length: 12abc\r\n\r\n"
                                         << QByteArray("HTTP/1.1 400 Bad Request");
    QTest::newRow("two different lengths")
        << put + "Content-Length: 2\r\nContent-Length: 3\r\n\r\n{}" << QByteArray("HTTP/1.1 400 Bad Request");
    QTest::newRow("head over the limit") << put + "X-Filler: " + QByteArray(5000, 'a')
                                         << QByteArray("HTTP/1.1 431 Request Header Fields Too Large");
}

void ServerConnectionTests::refusedBeforeTheBodyIsRead()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, statusLine);
    const RawReply reply = exchange(request, 1, 1000);
    QCOMPARE(reply.statusLine, statusLine);
    QVERIFY2(QJsonDocument::fromJson(reply.body)[u"error"].isString(), reply.body.constData());
    QVERIFY(reply.closed);
    // The server goes on answering everyone else.
    QCOMPARE(exchange("GET /tickers HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n").statusLine,
        QByteArray("HTTP/1.1 200 OK"));
}

void ServerConnectionTests::bodyWithinTheLimitReachesTheHandler()
{
    // A body just under the limit, then a second request on the same connection: the framing
    // is followed across both, and the handler (not the guard) answers the first.
    const QByteArray body(m_limits.largestBody, 'x');
    const RawReply reply = exchange(
        "POST /device/token HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + QByteArray::number(body.size())
            + "\r\n\r\n" + body + "GET /tickers HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n",
        2);
    QCOMPARE(reply.statusLine, QByteArray("HTTP/1.1 400 Bad Request"));
    QVERIFY2(reply.body.contains("HTTP/1.1 200 OK"), reply.body.left(300).constData());
}

void ServerConnectionTests::idleConnectionsDoNotLockOthersOut()
{
    // Five times the connection limit, half silent and half stuck in the middle of a head.
    std::vector<std::unique_ptr<QTcpSocket>> idle;
    // In batches the listen backlog holds, so that the server accepts every one of them.
    for (int i = 0; i < 500; i += 25) {
        for (int j = i; j < i + 25; ++j) {
            idle.push_back(std::make_unique<QTcpSocket>());
            idle.back()->connectToHost(QHostAddress::LocalHost, m_port);
        }
        for (int j = i; j < i + 25; ++j) {
            QVERIFY(idle[j]->waitForConnected(5000));
            if (j % 2 == 1)
                idle[j]->write("GET /tickers HTTP/1.1\r\nHost: 127.0.0.1\r\n");
        }
    }
    const RawReply answered = exchange("GET /tickers HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
    QCOMPARE(answered.statusLine, QByteArray("HTTP/1.1 200 OK"));
    QVERIFY(QJsonDocument::fromJson(answered.body).isObject());
    // And none of them is kept past the time-out.
    QTRY_VERIFY_WITH_TIMEOUT(
        std::ranges::all_of(
            idle, [](const auto& socket) { return socket->state() == QAbstractSocket::UnconnectedState; }),
        20'000);
}

QTEST_GUILESS_MAIN(ServerConnectionTests)
#include "tst_ServerConnections.moc"
