#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace tessary::server {

struct CuratedCollection {
    QString id;
    QString name;
    QString category;
    QStringList tickers;
};

// The curated catalog document served at /data/collections.json, as shipped.
QByteArray curatedCatalogDocument();
// Its collections, in document order.
const std::vector<CuratedCollection>& curatedCollections();

} // namespace tessary::server
