#include "ReferenceData.h"

#include "Tessary/MarketData/ReplyBounds.h"
#include "Tessary/Shell/AtomicFile.h"
#include "Tessary/Shell/NetworkReply.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>

#include <memory>

namespace tessary {

namespace {

const QString catalogPath = QStringLiteral("data/collections.json");

// The catalog's version sits beside it, so the next start can revalidate instead of download.
QString tagFile(const QString& catalogFile)
{
    return catalogFile + QStringLiteral(".etag");
}

} // namespace

ReferenceData::ReferenceData(QString catalogFile, QObject* parent)
    : QObject(parent)
    , m_catalogFile(std::move(catalogFile))
{
    if (const auto bytes = readWholeFile(m_catalogFile)) {
        if (auto catalog = FeaturedCatalog::fromJson(*bytes)) {
            m_catalog = std::move(*catalog);
            m_catalogTag = readWholeFile(tagFile(m_catalogFile)).value_or(QByteArray()).trimmed();
        }
    }
}

bool ReferenceData::acceptCatalogDocument(const QByteArray& document, const QByteArray& etag)
{
    auto catalog = FeaturedCatalog::fromJson(document);
    if (!catalog)
        return false;
    // Only a cache: without it the next start waits for the network, nothing is lost.
    if (auto written = writeFileAtomically(m_catalogFile, document); !written)
        qWarning("%s", qPrintable(written.error().description()));
    // A tag that could not be kept only costs the next start a full download.
    m_catalogTag = etag;
    if (auto written = writeFileAtomically(tagFile(m_catalogFile), etag); !written)
        qWarning("%s", qPrintable(written.error().description()));
    if (*catalog != m_catalog) {
        m_catalog = std::move(*catalog);
        Q_EMIT catalogChanged();
    }
    return true;
}

void ReferenceData::setUniverse(std::vector<TickerInfo> infos)
{
    m_universe = TickerUniverse(std::move(infos));
    Q_EMIT universeChanged();
}

QCoro::Task<> ReferenceData::loadUniverse(APIClient client)
{
    QPointer<ReferenceData> self(this);
    auto universe = co_await client.tickers();
    if (!self)
        co_return;
    if (!universe) {
        qWarning("The ticker universe could not be loaded: %s", qPrintable(universe.error().description()));
        co_return;
    }
    setUniverse(std::move(*universe));
}

QCoro::Task<> ReferenceData::loadCatalog(QNetworkAccessManager* network, QUrl web)
{
    QPointer<ReferenceData> self(this);
    QNetworkRequest request(urlBelow(web, catalogPath));
    request.setHeader(QNetworkRequest::UserAgentHeader, QString(APIClient::userAgent));
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::PreferNetwork);
    request.setTransferTimeout(static_cast<int>(APIClient::defaultTimeout.count()));
    if (!m_catalogTag.isEmpty())
        request.setRawHeader("If-None-Match", m_catalogTag);
    const OwnedReply reply(network->get(request));
    // A catalog trickling in or without end is given up; the one held stays.
    new ReplyBounds(reply.get(), APIClient::defaultTimeout, APIClient::largestBody);
    if (!co_await reply.finished() || !self)
        co_return;
    // A 304 confirms the catalog held; anything else but a document keeps it too.
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() == QNetworkReply::NoError && status >= 200 && status <= 299)
        acceptCatalogDocument(reply->readAll(), reply->rawHeader("ETag"));
}

} // namespace tessary
