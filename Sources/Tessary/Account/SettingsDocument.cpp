#include "SettingsDocument.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QJsonArray>

namespace tessary {

namespace {

const QString untitledName = QStringLiteral("Untitled List");
const QLatin1StringView setsKey { "comparisonSets" };
const QLatin1StringView activeKey { "activeSetId" };
const QLatin1StringView updatedKey { "updatedAt" };

QJsonValue optionalText(const std::optional<QString>& text)
{
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

std::optional<QString> textOf(const QJsonValue& value)
{
    return value.isString() && !value.toString().isEmpty() ? std::optional(value.toString()) : std::nullopt;
}

// Milliseconds since 1970, from a number or from the web front end's ISO text.
double timeOf(const QJsonValue& value, double fallback)
{
    if (value.isDouble())
        return value.toDouble();
    if (value.isString()) {
        const QDateTime time = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
        if (time.isValid())
            return static_cast<double>(time.toMSecsSinceEpoch());
    }
    return fallback;
}

// The period fields of a set. A scenario keeps its id in `importantPeriod`; a custom range has
// only `start` (and `end`).
void writePeriod(QJsonObject& set, const ComparisonList& list)
{
    set.insert(QStringLiteral("preset"), Timeframes::rawValue(list.preset));
    set.insert(QStringLiteral("importantPeriod"), optionalText(list.scenario));
    set.insert(QStringLiteral("start"), optionalText(list.rangeStart));
    set.insert(QStringLiteral("end"), optionalText(list.rangeEnd));
}

QJsonArray symbols(const QStringList& tickers)
{
    return QJsonArray::fromStringList(tickers);
}

} // namespace

SettingsDocument::SettingsDocument(QJsonObject object)
    : m_object(std::move(object))
{
    lists();
}

QJsonObject SettingsDocument::defaultSetSettings()
{
    return QJsonObject {
        { QStringLiteral("preset"), QStringLiteral("1Y") },
        { QStringLiteral("start"), QJsonValue::Null },
        { QStringLiteral("end"), QJsonValue::Null },
        { QStringLiteral("importantPeriod"), QJsonValue::Null },
        { QStringLiteral("topPerformersLimit"), 25 },
        { QStringLiteral("selectedMetrics"),
            QJsonArray { QStringLiteral("market_cap"), QStringLiteral("range"), QStringLiteral("trend_ath_atl"),
                QStringLiteral("volatility"), QStringLiteral("sharpe"), QStringLiteral("drawdown"),
                QStringLiteral("spy_correlation"), QStringLiteral("ath_trend_return"), QStringLiteral("loss_profile"),
                QStringLiteral("recommended_allocation"), QStringLiteral("path_efficiency"),
                QStringLiteral("efficient_return") } },
        { QStringLiteral("selectedPresetReturns"),
            QJsonArray { QStringLiteral("1D"), QStringLiteral("1W"), QStringLiteral("1M"), QStringLiteral("6M"),
                QStringLiteral("1Y"), QStringLiteral("3Y"), QStringLiteral("5Y"), QStringLiteral("10Y") } },
        { QStringLiteral("rankHeatmapAveragePeriods"), QJsonValue::Null },
        { QStringLiteral("pinnedColumns"), QJsonArray {} },
        { QStringLiteral("baseline"), QJsonValue::Null },
        { QStringLiteral("benchmark"), QStringLiteral("SPY") },
        { QStringLiteral("rebaseTicker"), QJsonValue::Null },
        { QStringLiteral("legendStates"), QJsonObject {} },
        { QStringLiteral("chartView"), QStringLiteral("line") },
        { QStringLiteral("scatterYMetric"), QStringLiteral("net_return") },
        { QStringLiteral("scatterXMetric"), QStringLiteral("trend_ath_atl") },
        { QStringLiteral("scatterReferenceLines"), QStringLiteral("median") },
        { QStringLiteral("scatterYScale"), QStringLiteral("linear") },
        { QStringLiteral("scatterXScale"), QStringLiteral("linear") },
        { QStringLiteral("scatterLegendSort"), QStringLiteral("x") },
        { QStringLiteral("multiPeriodYMode"), QStringLiteral("returns") },
        { QStringLiteral("multiPeriodPeriodScope"), QStringLiteral("all") },
        { QStringLiteral("multiPeriodYScale"), QStringLiteral("scaled") },
        { QStringLiteral("multiPeriodLogScale"), false },
    };
}

QUuid SettingsDocument::localId(const QString& setId)
{
    const QStringView bare = setId.startsWith(setIdPrefix) ? QStringView(setId).mid(setIdPrefix.size()) : setId;
    if (const auto uuid = parseUuid(bare))
        return *uuid;
    QByteArray digest = QCryptographicHash::hash(setId.toUtf8(), QCryptographicHash::Sha256).left(16);
    // Marked as a name-based UUID so it cannot be taken for a random one.
    digest[6] = static_cast<char>((digest[6] & 0x0F) | 0x50);
    digest[8] = static_cast<char>((digest[8] & 0x3F) | 0x80);
    return QUuid::fromRfc4122(digest);
}

QString SettingsDocument::remoteId(const QUuid& listId) const
{
    return m_remoteIds.value(listId, setIdPrefix + listId.toString(QUuid::WithoutBraces).toLower());
}

std::vector<ComparisonList> SettingsDocument::lists()
{
    m_remoteIds.clear();
    std::vector<ComparisonList> lists;
    for (const QJsonValue& value : m_object.value(setsKey).toArray()) {
        const QJsonObject set = value.toObject();
        const QString setId = set.value(QLatin1StringView("id")).toVariant().toString();
        if (setId.isEmpty())
            continue;
        ComparisonList list;
        list.id = localId(setId);
        if (m_remoteIds.contains(list.id))
            continue; // the same set twice: the first one stands
        m_remoteIds.insert(list.id, setId);
        list.name = textOf(set.value(QLatin1StringView("name"))).value_or(untitledName);
        for (const QJsonValue& ticker : set.value(QLatin1StringView("selectedTickers")).toArray()) {
            if (const QString symbol = ticker.toString().trimmed().toUpper();
                !symbol.isEmpty() && !list.tickers.contains(symbol))
                list.tickers.append(symbol);
        }
        list.benchmark = textOf(set.value(QLatin1StringView("benchmark")))
                             .value_or(QString::fromLatin1(defaultBenchmark))
                             .toUpper();
        list.preset = Timeframes::fromStoredValue(set.value(QLatin1StringView("preset")).toString());
        list.scenario = textOf(set.value(QLatin1StringView("importantPeriod")));
        list.rangeStart = textOf(set.value(QLatin1StringView("start")));
        list.rangeEnd = textOf(set.value(QLatin1StringView("end")));
        list.createdAt = timeOf(set.value(QLatin1StringView("createdAt")), 0);
        list.lastModifiedAt = timeOf(set.value(QLatin1StringView("lastModifiedAt")), list.createdAt);
        list.lastAccessedAt = timeOf(set.value(QLatin1StringView("lastAccessedAt")), list.lastModifiedAt);
        lists.push_back(std::move(list));
    }
    return lists;
}

qsizetype SettingsDocument::indexOf(const QUuid& listId) const
{
    const QString setId = remoteId(listId);
    const QJsonArray sets = m_object.value(setsKey).toArray();
    for (qsizetype i = 0; i < sets.size(); ++i) {
        if (sets.at(i).toObject().value(QLatin1StringView("id")).toVariant().toString() == setId)
            return i;
    }
    return -1;
}

void SettingsDocument::apply(const ListEdit& edit, double now)
{
    const ComparisonList& list = edit.list;
    QJsonArray sets = m_object.value(setsKey).toArray();
    const qsizetype index = indexOf(list.id);
    if (edit.kind == ListEdit::Kind::create) {
        if (index >= 0)
            return; // already there: the edit was sent before and came back with the document
        QJsonObject set = defaultSetSettings();
        const QString setId = remoteId(list.id);
        set.insert(QStringLiteral("id"), setId);
        set.insert(QStringLiteral("name"), list.name);
        set.insert(QStringLiteral("selectedTickers"), symbols(list.tickers));
        set.insert(QStringLiteral("benchmark"), list.benchmark);
        writePeriod(set, list);
        set.insert(QStringLiteral("createdAt"), list.createdAt);
        set.insert(QStringLiteral("lastModifiedAt"), list.lastModifiedAt);
        set.insert(QStringLiteral("lastAccessedAt"), list.lastAccessedAt);
        sets.append(set);
        m_remoteIds.insert(list.id, setId);
        m_object.insert(activeKey, setId);
    } else {
        // An edit of a set deleted elsewhere meanwhile has nothing left to change.
        if (index < 0)
            return;
        if (edit.kind == ListEdit::Kind::remove) {
            if (m_object.value(activeKey).toVariant().toString() == remoteId(list.id))
                m_object.insert(activeKey, QJsonValue::Null);
            sets.removeAt(index);
            m_remoteIds.remove(list.id);
        } else {
            QJsonObject set = sets.at(index).toObject();
            switch (edit.kind) {
            case ListEdit::Kind::rename:
                set.insert(QStringLiteral("name"), list.name);
                break;
            case ListEdit::Kind::setTickers:
                set.insert(QStringLiteral("selectedTickers"), symbols(list.tickers));
                break;
            case ListEdit::Kind::setPreset:
            case ListEdit::Kind::setScenario:
                writePeriod(set, list);
                break;
            case ListEdit::Kind::setBenchmark:
                set.insert(QStringLiteral("benchmark"), list.benchmark);
                break;
            case ListEdit::Kind::touch:
                set.insert(QStringLiteral("lastAccessedAt"), list.lastAccessedAt);
                m_object.insert(activeKey, remoteId(list.id));
                break;
            case ListEdit::Kind::create:
            case ListEdit::Kind::remove:
                break;
            }
            if (edit.kind != ListEdit::Kind::touch)
                set.insert(QStringLiteral("lastModifiedAt"), list.lastModifiedAt);
            sets.replace(index, set);
        }
    }
    m_object.insert(setsKey, sets);
    m_object.insert(updatedKey, now);
}

std::optional<QString> versionFromETag(const QByteArray& header)
{
    if (header.isNull())
        return std::nullopt;
    QByteArray value = header.trimmed();
    if (value.startsWith("W/"))
        value = value.mid(2);
    value.replace('"', QByteArray());
    return QString::fromUtf8(value);
}

} // namespace tessary
