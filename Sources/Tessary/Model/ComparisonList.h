#pragma once

#include "ListPeriod.h"
#include "TessaryWire/Timeframe.h"

#include "TessaryWire/Json.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>
#include <vector>

namespace tessary {

inline constexpr auto defaultBenchmark = "SPY";
inline constexpr int maxTickersPerList = 200;

// What a new user's first list holds.
QStringList starterTickers();

// Milliseconds since 1970 as a double with its fraction: the unit of list timestamps.
double currentTimeMilliseconds();

// Lists are identified by UUID; this is the upper-case, brace-less text used in JSON and in
// sidebar keys.
QString uuidText(const QUuid& id);
// Accepts only the 36-character 8-4-4-4-12 form.
std::optional<QUuid> parseUuid(QStringView text);

// A named set of tickers, the benchmark they are measured against and the period the list
// was last viewed over. One JSON form serves the local file and the account document.
struct ComparisonList {
    QUuid id;
    QString name;
    QStringList tickers;
    QString benchmark = QString::fromLatin1(defaultBenchmark);
    Timeframe preset = defaultTimeframe;
    std::optional<QString> scenario;
    std::optional<QString> rangeStart;
    std::optional<QString> rangeEnd;
    double createdAt = 0;
    double lastModifiedAt = 0;
    double lastAccessedAt = 0;

    friend bool operator==(const ComparisonList&, const ComparisonList&) = default;

    // A new list: a fresh id unless one is given, no range, all three timestamps `now`.
    static ComparisonList create(QString name, QStringList tickers,
        QString benchmark = QString::fromLatin1(defaultBenchmark), Timeframe preset = defaultTimeframe,
        std::optional<QUuid> id = std::nullopt, double now = currentTimeMilliseconds());

    ListPeriod period() const { return ListPeriod { preset, scenario, rangeStart, rangeEnd }; }
    void setPeriod(const ListPeriod& period);

    // Only id, name and tickers are required; the rest cascade to defaults (a missing
    // lastModifiedAt is createdAt, a missing lastAccessedAt is lastModifiedAt).
    static Decoded<ComparisonList> fromJson(const QJsonObject& object, const QString& path = {});
    // Keys in field order; absent range keys are left out rather than written as null.
    QByteArray toJson() const;
    QJsonObject toJsonObject() const;

    static Decoded<std::vector<ComparisonList>> listFromJson(const QJsonArray& array, const QString& path = {});
    static QByteArray listToJson(const std::vector<ComparisonList>& lists);
};

size_t qHash(const ComparisonList& list, size_t seed = 0);

} // namespace tessary
