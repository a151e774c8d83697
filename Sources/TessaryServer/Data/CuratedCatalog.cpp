#include "TessaryServer/Data/CuratedCatalog.h"

#include <QFile>

#include "TessaryWire/QtJsonNode.h"

namespace tessary::server {

bool readFields(JsonReader<QtJsonNode>& reader, const QtJsonNode& node, const JsonPath& at, CuratedCollection& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "id", out.id)
        && reader.required(node, at, "name", out.name) && reader.required(node, at, "category", out.category)
        && reader.required(node, at, "tickers", out.tickers);
}

namespace {

// The part of the document the server reads itself; the rest is only served.
struct CuratedDocument {
    std::vector<CuratedCollection> collections;
};

bool readFields(JsonReader<QtJsonNode>& reader, const QtJsonNode& node, const JsonPath& at, CuratedDocument& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "collections", out.collections);
}

} // namespace

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
        const auto object = parseJsonObject(curatedCatalogDocument());
        auto document = object ? readJson<CuratedDocument>(QtJsonNode(*object)) : std::unexpected(object.error());
        // The document is compiled in and checked by the tests; a broken one is a broken build.
        if (!document)
            qFatal("the curated catalog resource does not read: %s", qPrintable(document.error().description()));
        return std::move(document->collections);
    }();
    return collections;
}

} // namespace tessary::server
