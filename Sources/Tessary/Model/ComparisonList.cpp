#include "ComparisonList.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRegularExpression>

#include <chrono>

#include "TessaryWire/QtJsonNode.h"

namespace tessary {

QStringList starterTickers()
{
    return { QStringLiteral("AAPL"), QStringLiteral("MSFT"), QStringLiteral("NVDA"), QStringLiteral("AMZN") };
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

ComparisonList ComparisonList::create(
    QString name, QStringList tickers, QString benchmark, Timeframe preset, std::optional<QUuid> id, double now)
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

bool readFields(JsonReader<QtJsonNode>& reader, const QtJsonNode& node, const JsonPath& at, ComparisonList& out)
{
    QString id;
    StringArray tickers;
    std::optional<QString> benchmark;
    std::optional<QString> preset;
    std::optional<double> createdAt;
    std::optional<double> lastModifiedAt;
    std::optional<double> lastAccessedAt;
    if (!reader.expect(node, at, JsonKind::object) || !reader.required(node, at, "id", id)
        || !reader.required(node, at, "name", out.name) || !reader.required(node, at, "tickers", tickers)
        || !reader.optional(node, at, "benchmark", benchmark) || !reader.optional(node, at, "preset", preset)
        || !reader.optional(node, at, "scenario", out.scenario)
        || !reader.optional(node, at, "rangeStart", out.rangeStart)
        || !reader.optional(node, at, "rangeEnd", out.rangeEnd) || !reader.optional(node, at, "createdAt", createdAt)
        || !reader.optional(node, at, "lastModifiedAt", lastModifiedAt)
        || !reader.optional(node, at, "lastAccessedAt", lastAccessedAt))
        return false;
    const auto uuid = parseUuid(id);
    if (!uuid)
        return reader.fail(at.member("id"), QStringLiteral("not a UUID"));
    out.id = *uuid;
    out.tickers = std::move(tickers.values);
    out.benchmark = benchmark.value_or(QString::fromLatin1(defaultBenchmark));
    out.preset = Timeframes::fromStoredValue(preset.value_or(QString()));
    out.createdAt = createdAt.value_or(0);
    out.lastModifiedAt = lastModifiedAt.value_or(out.createdAt);
    out.lastAccessedAt = lastAccessedAt.value_or(out.lastModifiedAt);
    return true;
}

Decoded<ComparisonList> ComparisonList::fromJson(const QJsonObject& object, const QString& path)
{
    return readJson<ComparisonList>(QtJsonNode(object), JsonPath::within(path));
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
    return readJson<std::vector<ComparisonList>>(QtJsonNode(array), JsonPath::within(path));
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
