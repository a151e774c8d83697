#include "FeaturedCatalog.h"

namespace tessary {

namespace {

template <class Record, class DecodeOne>
std::vector<Record> decodeArray(JsonFields& fields, QLatin1StringView key, DecodeOne decodeOne)
{
    const QJsonArray array = fields.required<QJsonArray>(key);
    std::vector<Record> records;
    records.reserve(array.size());
    for (qsizetype i = 0; i < array.size() && !fields.failed(); ++i) {
        const QString path = QStringLiteral("%1[%2]").arg(fields.pathOf(key)).arg(i);
        if (!array.at(i).isObject()) {
            fields.fail(path, QStringLiteral("expected an object, found %1").arg(jsonTypeName(array.at(i))));
            break;
        }
        JsonFields element(array.at(i).toObject(), path);
        Record record = decodeOne(element);
        if (element.failed())
            fields.fail(element.error().path, element.error().reason);
        else
            records.push_back(std::move(record));
    }
    return records;
}

FeaturedCatalog::Category decodeCategory(JsonFields& fields)
{
    return {fields.required<QString>(QLatin1StringView("id")), fields.required<QString>(QLatin1StringView("label")),
            fields.optional<int>(QLatin1StringView("order"))};
}

FeaturedCatalog::Collection decodeCollection(JsonFields& fields)
{
    FeaturedCatalog::Collection collection;
    collection.id = fields.required<QString>(QLatin1StringView("id"));
    collection.name = fields.required<QString>(QLatin1StringView("name"));
    collection.description = fields.optional<QString>(QLatin1StringView("description"));
    collection.category = fields.optional<QString>(QLatin1StringView("category"));
    collection.emoji = fields.optional<QString>(QLatin1StringView("emoji"));
    collection.tickers = fields.required<QStringList>(QLatin1StringView("tickers"));
    collection.displayOrder = fields.optional<int>(QLatin1StringView("displayOrder"));
    return collection;
}

} // namespace

Decoded<FeaturedCatalog> FeaturedCatalog::fromJson(const QByteArray& document)
{
    auto object = parseJsonObject(document);
    if (!object)
        return std::unexpected(object.error());
    JsonFields fields(*object, {});
    FeaturedCatalog catalog;
    catalog.categories = decodeArray<Category>(fields, QLatin1StringView("categories"), decodeCategory);
    catalog.collections = decodeArray<Collection>(fields, QLatin1StringView("collections"), decodeCollection);
    if (fields.failed())
        return std::unexpected(fields.error());
    return catalog;
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
