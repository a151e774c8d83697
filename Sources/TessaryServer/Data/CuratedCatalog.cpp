#include "TessaryServer/Data/CuratedCatalog.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tessary::server {

QByteArray curatedCatalogDocument()
{
    static const QByteArray document = [] {
        QFile file(QStringLiteral(":/tessary/collections.json"));
        if (!file.open(QIODevice::ReadOnly))
            qFatal("the curated catalog resource is missing from this build");
        return file.readAll();
    }();
    return document;
}

const std::vector<CuratedCollection>& curatedCollections()
{
    static const std::vector<CuratedCollection> collections = [] {
        std::vector<CuratedCollection> result;
        const QJsonArray array
            = QJsonDocument::fromJson(curatedCatalogDocument()).object().value(u"collections").toArray();
        for (const QJsonValue& value : array) {
            const QJsonObject object = value.toObject();
            CuratedCollection collection { object.value(u"id").toString(), object.value(u"name").toString(),
                object.value(u"category").toString(), {} };
            for (const QJsonValue& ticker : object.value(u"tickers").toArray())
                collection.tickers.push_back(ticker.toString());
            result.push_back(std::move(collection));
        }
        return result;
    }();
    return collections;
}

} // namespace tessary::server
