#pragma once

#include "TickerUniverse.h"

#include "Tessary/MarketData/APIClient.h"
#include "Tessary/Model/FeaturedCatalog.h"

#include <QCoroTask>
#include <QObject>
#include <QUrl>

class QNetworkAccessManager;

namespace tessary {

// What every list is picked from: the curated catalog (kept on disk between runs, so the
// sidebar has it before the network answers) and the universe of known symbols.
class ReferenceData : public QObject {
    Q_OBJECT

public:
    // Reads the catalog cached in `catalogFile`; one that does not decode is ignored.
    explicit ReferenceData(QString catalogFile, QObject* parent = nullptr);

    const FeaturedCatalog& catalog() const { return m_catalog; }
    // A downloaded catalog document: decoded, it replaces the catalog and is kept on disk; a
    // document that does not decode changes nothing.
    bool acceptCatalogDocument(const QByteArray& document, const QByteArray& etag = {});

    const TickerUniverse& universe() const { return m_universe; }
    void setUniverse(std::vector<TickerInfo> infos);

    // Background downloads; a failure keeps what there is.
    QCoro::Task<> loadUniverse(APIClient client);
    QCoro::Task<> loadCatalog(QNetworkAccessManager* network, QUrl web);

Q_SIGNALS:
    void catalogChanged();
    void universeChanged();

private:
    QString m_catalogFile;
    FeaturedCatalog m_catalog;
    // The catalog's version, sent back so an unchanged one costs a 304 and no body.
    QByteArray m_catalogTag;
    TickerUniverse m_universe;
};

} // namespace tessary
