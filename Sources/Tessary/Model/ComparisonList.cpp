#include "ComparisonList.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <chrono>

namespace tessary {

QStringList starterTickers()
{
    return {QStringLiteral("AAPL"), QStringLiteral("MSFT"), QStringLiteral("NVDA"), QStringLiteral("AMZN")};
}

double currentTimeMilliseconds()
{
    // Microsecond resolution is what the platform clock offers; the fraction is kept so two
    // edits within one millisecond still order.
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<double>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()) / 1000.0;
}

QString uuidText(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> parseUuid(QStringView text)
{
    static const QRegularExpression form(
        QStringLiteral("^[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}$"));
    if (!form.match(text).hasMatch())
        return std::nullopt;
    return QUuid::fromString(text);
}

ComparisonList ComparisonList::create(QString name, QStringList tickers, QString benchmark, Timeframe preset,
                                      std::optional<QUuid> id, double now)
{
    ComparisonList list;
    list.id = id.value_or(QUuid::createUuid());
    list.name = std::move(name);
    list.tickers = std::move(tickers);
    list.benchmark = std::move(benchmark);
    list.preset = preset;
    list.createdAt = now;
    list.lastModifiedAt = now;
    list.lastAccessedAt = now;
    return list;
}

void ComparisonList::setPeriod(const ListPeriod& period)
{
    preset = period.preset;
    scenario = period.scenario;
    rangeStart = period.rangeStart;
    rangeEnd = period.rangeEnd;
}

Decoded<ComparisonList> ComparisonList::fromJson(const QJsonObject& object, const QString& path)
{
    JsonFields fields(object, path);
    const auto idText = fields.required<QString>(QLatin1StringView("id"));
    ComparisonList list;
    list.name = fields.required<QString>(QLatin1StringView("name"));
    list.tickers = fields.required<QStringList>(QLatin1StringView("tickers"));
    list.benchmark = fields.optional<QString>(QLatin1StringView("benchmark")).value_or(QString::fromLatin1(defaultBenchmark));
    list.preset = Timeframes::fromStoredValue(fields.optional<QString>(QLatin1StringView("preset")).value_or(QString()));
    list.scenario = fields.optional<QString>(QLatin1StringView("scenario"));
    list.rangeStart = fields.optional<QString>(QLatin1StringView("rangeStart"));
    list.rangeEnd = fields.optional<QString>(QLatin1StringView("rangeEnd"));
    list.createdAt = fields.optional<double>(QLatin1StringView("createdAt")).value_or(0);
    list.lastModifiedAt = fields.optional<double>(QLatin1StringView("lastModifiedAt")).value_or(list.createdAt);
    list.lastAccessedAt = fields.optional<double>(QLatin1StringView("lastAccessedAt")).value_or(list.lastModifiedAt);
    if (fields.failed())
        return std::unexpected(fields.error());

    const auto id = parseUuid(idText);
    if (!id)
        return std::unexpected(DecodingError{fields.pathOf(QLatin1StringView("id")), QStringLiteral("not a UUID")});
    list.id = *id;
    return list;
}

QByteArray ComparisonList::toJson() const
{
    OrderedJsonWriter writer;
    writer.add(u"id", uuidText(id))
        .add(u"name", name)
        .add(u"tickers", QJsonArray::fromStringList(tickers))
        .add(u"benchmark", benchmark)
        .add(u"preset", Timeframes::rawValue(preset));
    if (scenario)
        writer.add(u"scenario", *scenario);
    if (rangeStart)
        writer.add(u"rangeStart", *rangeStart);
    if (rangeEnd)
        writer.add(u"rangeEnd", *rangeEnd);
    writer.add(u"createdAt", createdAt).add(u"lastModifiedAt", lastModifiedAt).add(u"lastAccessedAt", lastAccessedAt);
    return writer.finish();
}

QJsonObject ComparisonList::toJsonObject() const
{
    return QJsonDocument::fromJson(toJson()).object();
}

Decoded<std::vector<ComparisonList>> ComparisonList::listFromJson(const QJsonArray& array, const QString& path)
{
    std::vector<ComparisonList> lists;
    lists.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QString elementPath = QStringLiteral("%1[%2]").arg(path).arg(i);
        if (!array.at(i).isObject())
            return std::unexpected(DecodingError{elementPath, QStringLiteral("expected an object, found %1").arg(jsonTypeName(array.at(i)))});
        auto list = fromJson(array.at(i).toObject(), elementPath);
        if (!list)
            return std::unexpected(list.error());
        lists.push_back(std::move(*list));
    }
    return lists;
}

QByteArray ComparisonList::listToJson(const std::vector<ComparisonList>& lists)
{
    QList<QByteArray> encoded;
    encoded.reserve(static_cast<qsizetype>(lists.size()));
    for (const auto& list : lists)
        encoded.append(list.toJson());
    return joinJsonArray(encoded);
}

size_t qHash(const ComparisonList& list, size_t seed)
{
    return qHashMulti(seed, list.id, list.name, list.tickers, list.benchmark, list.period(), list.createdAt,
                      list.lastModifiedAt, list.lastAccessedAt);
}

} // namespace tessary
