#include "AccountServer.h"

#include "Tessary/Account/Pkce.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QTest>
#include <QUrlQuery>

namespace tessary::test {

namespace {

struct Answer {
    int status = 0;
    QByteArray body;
    QByteArray location;
};

Answer send(QNetworkAccessManager& network, const QByteArray& method, const QUrl& url, const QByteArray& body = {},
    const QByteArray& type = {})
{
    QNetworkRequest request(url);
    if (!type.isEmpty())
        request.setHeader(QNetworkRequest::ContentTypeHeader, type);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    QNetworkReply* reply = network.sendCustomRequest(request, method, body);
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    Answer answer { reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply->readAll(),
        reply->rawHeader("Location") };
    reply->deleteLater();
    return answer;
}

} // namespace

AccountServer::AccountServer(QString executable, const QString& universe)
    : m_executable(std::move(executable))
{
    if (!universe.isEmpty()) {
        QProcess import;
        import.start(m_executable,
            { QStringLiteral("import"), QStringLiteral("universe"), QStringLiteral("--data-dir"), m_data.path(),
                universe });
        import.waitForFinished(60'000);
    }
    QProcess add;
    add.start(m_executable,
        { QStringLiteral("account"), QStringLiteral("add"), QString::fromLatin1(email), QStringLiteral("--data-dir"),
            m_data.path() });
    add.write(QByteArray(password) + '\n' + password + '\n');
    add.closeWriteChannel();
    add.waitForFinished(60'000);
    start();
}

AccountServer::~AccountServer()
{
    stop();
}

bool AccountServer::start()
{
    const QString port = m_url.isValid() ? QString::number(m_url.port()) : QStringLiteral("0");
    m_process.start(m_executable,
        { QStringLiteral("serve"), QStringLiteral("--no-demo"), QStringLiteral("--port"), port,
            QStringLiteral("--data-dir"), m_data.path() });
    if (!m_process.waitForStarted(10'000))
        return false;
    for (int i = 0; i < 300 && !m_process.canReadLine(); ++i)
        m_process.waitForReadyRead(100);
    const auto match = QRegularExpression(QStringLiteral("listening on (http://127\\.0\\.0\\.1:\\d+)"))
                           .match(QString::fromUtf8(m_process.readLine()));
    if (match.hasMatch())
        m_url = QUrl(match.captured(1));
    return match.hasMatch();
}

void AccountServer::stop()
{
    m_process.kill();
    m_process.waitForFinished(10'000);
}

QString AccountServer::signIn()
{
    QNetworkAccessManager network;
    const QString verifier = Pkce::makeVerifier();
    QUrl page = m_url.resolved(QUrl(QStringLiteral("/connect/mac")));
    const QList<std::pair<QString, QString>> link { { QStringLiteral("challenge"), Pkce::challenge(verifier) },
        { QStringLiteral("state"), QStringLiteral("test") }, { QStringLiteral("port"), QStringLiteral("9") },
        { QStringLiteral("name"), QStringLiteral("Test") } };
    QUrlQuery query;
    query.setQueryItems(link);
    page.setQuery(query);
    const QString form = QRegularExpression(QStringLiteral("name=\"form\" value=\"([^\"]*)\""))
                             .match(QString::fromUtf8(send(network, "GET", page).body))
                             .captured(1);
    QUrlQuery fields = query;
    for (const auto& [name, value] : { std::pair { "form", form }, { "email", QString::fromLatin1(email) },
             { "password", QString::fromLatin1(password) }, { "decision", QStringLiteral("approve") } })
        fields.addQueryItem(QString::fromLatin1(name), value);
    const Answer approved = send(network, "POST", page.adjusted(QUrl::RemoveQuery),
        fields.query(QUrl::FullyEncoded).toUtf8(), "application/x-www-form-urlencoded");
    const QString code = QUrlQuery(QUrl(QString::fromLatin1(approved.location))).queryItemValue(QStringLiteral("code"));
    const QByteArray exchange
        = QJsonDocument(QJsonObject { { QStringLiteral("code"), code }, { QStringLiteral("verifier"), verifier } })
              .toJson();
    const Answer issued
        = send(network, "POST", m_url.resolved(QUrl(QStringLiteral("/device/token"))), exchange, "application/json");
    return QJsonDocument::fromJson(issued.body).object().value(QLatin1StringView("token")).toString();
}

QString AccountServer::account(const QStringList& arguments)
{
    QProcess process;
    process.start(m_executable,
        QStringList { QStringLiteral("account") } + arguments
            + QStringList { QStringLiteral("--data-dir"), m_data.path() });
    process.waitForFinished(30'000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace tessary::test
