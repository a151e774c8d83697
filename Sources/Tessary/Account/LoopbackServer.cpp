#include "LoopbackServer.h"

#include <QCoroSignal>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrl>
#include <QUrlQuery>

namespace tessary {

namespace {

const QString connectedTitle = QStringLiteral("You're connected");
const QString connectedMessage
    = QStringLiteral("Tessary for Mac is now syncing with your account. You can close this tab.");
const QString cancelledTitle = QStringLiteral("Sign-in cancelled");
const QString cancelledMessage = QStringLiteral("Nothing was connected. You can close this tab.");

const QByteArray pageStyle
    = "</title>\n"
      "<style>body{margin:0;min-height:100vh;display:grid;place-items:center;font-family:-apple-system,system-ui,"
      "sans-serif;background:#f8f9fb;color:#09090b}\n"
      "main{max-width:380px;padding:32px;text-align:center;background:#fff;border:1px solid #e4e4e7;border-radius:"
      "18px;box-shadow:0 16px 40px -16px rgba(9,9,11,.18)}\n"
      "h1{font-size:1.3rem;margin:0 0 8px}p{margin:0;color:#52525b;line-height:1.5}svg{display:block;margin:0 auto "
      "18px}</style></head>\n"
      "<body><main>";

// Three rising bars: a small decorative mark above the title.
const QByteArray pageIcon = R"(<svg width="44" height="36" viewBox="0 0 44 36" aria-hidden="true">)"
                            R"(<rect x="2" y="20" width="10" height="14" rx="2" fill="#94A3B8"/>)"
                            R"(<rect x="17" y="11" width="10" height="23" rx="2" fill="#3B5BDB"/>)"
                            R"(<rect x="32" y="2" width="10" height="32" rx="2" fill="#2B8A6E"/></svg>)";

QByteArray httpReply(const QByteArray& statusText, const QByteArray& body)
{
    return "HTTP/1.1 " + statusText + "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\nConnection: close\r\nCache-Control: no-store\r\n\r\n" + body;
}

} // namespace

LoopbackServer::LoopbackServer(QObject* parent)
    : QObject(parent)
{
}

LoopbackServer::~LoopbackServer()
{
    cancel();
}

std::expected<quint16, AccountError> LoopbackServer::start()
{
    m_listener = new QTcpServer(this);
    // Loopback only: nothing on the network can answer in the browser's place.
    if (!m_listener->listen(QHostAddress::LocalHost, 0))
        return std::unexpected(AccountError::transport(m_listener->errorString()));
    connect(m_listener, &QTcpServer::newConnection, this, &LoopbackServer::accept);
    return m_listener->serverPort();
}

void LoopbackServer::accept()
{
    while (QTcpSocket* socket = m_listener->nextPendingConnection()) {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        // The request line comes in the first chunk; what follows it does not matter here.
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { respond(socket); });
    }
}

QByteArray LoopbackServer::resultPage(bool connected)
{
    const QByteArray title = (connected ? connectedTitle : cancelledTitle).toUtf8();
    const QByteArray message = (connected ? connectedMessage : cancelledMessage).toUtf8();
    return "<!doctype html><html><head><meta charset=\"utf-8\"><title>" + title + pageStyle + pageIcon + "<h1>" + title
        + "</h1><p>" + message + "</p></main></body></html>";
}

QByteArray LoopbackServer::replyFor(const QByteArray& requestTarget, std::optional<CallbackItems>* callback)
{
    const QUrl url = QUrl(QStringLiteral("http://127.0.0.1")).resolved(QUrl(QString::fromUtf8(requestTarget)));
    if (url.path() != QStringLiteral("/callback"))
        return httpReply("404 Not Found", {});
    CallbackItems items;
    for (const auto& [name, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded))
        items.insert(name, value);
    if (callback)
        *callback = items;
    return httpReply("200 OK", resultPage(items.contains(QStringLiteral("code"))));
}

QByteArray LoopbackServer::replyToRequest(const QByteArray& request, std::optional<CallbackItems>* callback)
{
    const QByteArray line = request.left(request.indexOf('\n')).trimmed();
    const QList<QByteArray> words = line.split(' ');
    return replyFor(words.size() > 1 ? words[1] : QByteArray("/"), callback);
}

void LoopbackServer::respond(QTcpSocket* socket)
{
    if (socket->property("answered").toBool())
        return;
    socket->setProperty("answered", true);
    std::optional<CallbackItems> callback;
    socket->write(replyToRequest(socket->readAll(), &callback));
    // Handed over once the page is out: a sign-in that ends at once (the user denied) must
    // not leave the browser with half a page.
    if (callback) {
        connect(socket, &QTcpSocket::disconnected, this, [this, items = *callback] {
            if (!m_done)
                deliver(items);
        });
    }
    socket->disconnectFromHost();
}

void LoopbackServer::deliver(const std::expected<CallbackItems, AccountError>& result)
{
    m_done = true;
    if (m_waiting)
        Q_EMIT finished(result);
    else
        m_pending = result;
}

QCoro::Task<std::expected<CallbackItems, AccountError>> LoopbackServer::waitForCallback()
{
    if (m_pending) {
        auto result = std::move(*m_pending);
        m_pending.reset();
        co_return result;
    }
    if (m_done)
        co_return std::unexpected(AccountError::cancelled());
    m_waiting = true;
    const auto result = co_await qCoro(this, &LoopbackServer::finished);
    co_return result;
}

void LoopbackServer::cancel()
{
    if (m_listener)
        m_listener->close();
    if (!m_done)
        deliver(std::unexpected(AccountError::cancelled()));
}

} // namespace tessary
