#include "FeaturedCatalog.h"

#include "TessaryWire/QtJsonNode.h"

namespace tessary {

bool readFields(
    JsonReader<QtJsonNode>& reader, const QtJsonNode& node, const JsonPath& at, FeaturedCatalog::Category& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "id", out.id)
        && reader.required(node, at, "label", out.label) && reader.optional(node, at, "order", out.order);
}

bool readFields(
    JsonReader<QtJsonNode>& reader, const QtJsonNode& node, const JsonPath& at, FeaturedCatalog::Collection& out)
{
    StringArray tickers;
    if (!reader.expect(node, at, JsonKind::object) || !reader.required(node, at, "id", out.id)
        || !reader.required(node, at, "name", out.name) || !reader.optional(node, at, "description", out.description)
        || !reader.optional(node, at, "category", out.category) || !reader.optional(node, at, "emoji", out.emoji)
        || !reader.required(node, at, "tickers", tickers)
        || !reader.optional(node, at, "displayOrder", out.displayOrder))
        return false;
    out.tickers = std::move(tickers.values);
    return true;
}

bool readFields(JsonReader<QtJsonNode>& reader, const QtJsonNode& node, const JsonPath& at, FeaturedCatalog& out)
{
    return reader.expect(node, at, JsonKind::object) && reader.required(node, at, "categories", out.categories)
        && reader.required(node, at, "collections", out.collections);
}

Decoded<FeaturedCatalog> FeaturedCatalog::fromJson(const QByteArray& document)
{
    auto object = parseJsonObject(document);
    if (!object)
        return std::unexpected(object.error());
    return readJson<FeaturedCatalog>(QtJsonNode(*object));
}

const FeaturedCatalog::Collection* FeaturedCatalog::collection(QStringView id) const
{
    for (const auto& candidate : collections) {
        if (candidate.id == id)
            return &candidate;
    }
    return nullptr;
}

const FeaturedCatalog::Category* FeaturedCatalog::category(QStringView id) const
{
    for (const auto& candidate : categories) {
        if (candidate.id == id)
            return &candidate;
    }
    return nullptr;
}

} // namespace tessary
