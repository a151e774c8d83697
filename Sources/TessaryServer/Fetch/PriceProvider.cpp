#include "PriceProvider.h"

#include <QBuffer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrlQuery>

#include <algorithm>

#include "TessaryServer/Data/CsvText.h"
#include "TessaryServer/Data/Import.h"

namespace tessary::server {

namespace {

const QString dailyCsvName = QStringLiteral("stooq");
const QString keyedJsonName = QStringLiteral("tiingo");
const QString templateName = QStringLiteral("url-template");
const QString keyedJsonTokenVariable = QStringLiteral("TESSARY_TIINGO_TOKEN");
// Asked for when the whole history is wanted: older than any listing these providers have.
const QDate historyStart(1970, 1, 2);

struct Layout {
    QString name;
    QStringList columns; // header keys the layout must have
};

const std::vector<Layout>& layouts()
{
    static const std::vector<Layout> all {
        { QStringLiteral("date-close"),
            { QStringLiteral("date"), QStringLiteral("close"), QStringLiteral("adjustedclose") } },
        { QStringLiteral("ohlcv"),
            { QStringLiteral("date"), QStringLiteral("open"), QStringLiteral("high"), QStringLiteral("low"),
                QStringLiteral("close"), QStringLiteral("adjclose"), QStringLiteral("volume") } },
        { QStringLiteral("timestamp"),
            { QStringLiteral("timestamp"), QStringLiteral("open"), QStringLiteral("high"), QStringLiteral("low"),
                QStringLiteral("close"), QStringLiteral("adjustedclose"), QStringLiteral("volume") } },
    };
    return all;
}

QString firstLine(const QByteArray& body)
{
    const auto end = body.indexOf('\n');
    return QString::fromUtf8(end < 0 ? body : body.left(end)).trimmed().left(160);
}

// A CSV answer read by the price importer's own rules. A provider's file is all or nothing:
// a row the importer would skip means the answer was cut short or garbled.
std::expected<std::vector<DailyBar>, QString> readCsv(const PriceQuery& query, const QByteArray& body)
{
    // A header and nothing else is an empty history.
    if (body.trimmed().count('\n') == 0 && body.contains(','))
        return std::vector<DailyBar> {};
    QBuffer buffer;
    buffer.setData(body);
    buffer.open(QIODevice::ReadOnly | QIODevice::Text);
    ImportReport report;
    auto bars = readPriceCsv(buffer, query.symbol, query.symbol, report);
    if (!bars)
        return std::unexpected(bars.error().reason);
    if (!report.problems.isEmpty())
        return std::unexpected(QStringLiteral("unreadable answer (%1)").arg(report.problems.front()));
    return std::move(*bars);
}

QString isoDate(QDate date)
{
    return date.toString(Qt::ISODate);
}

// A keyless CSV service: Date,Open,High,Low,Close,Volume, closes already adjusted for splits
// and dividends, "No data" for a symbol it does not know or a range without sessions.
PriceProvider dailyCsvProvider(const QString& base)
{
    PriceProvider provider;
    provider.name = dailyCsvName;
    provider.request = [base](const PriceQuery& query) {
        QUrl url = joinedUrl(base, QStringLiteral("/q/d/l/"));
        QUrlQuery items;
        QString symbol = query.symbol.toLower();
        symbol.replace(u'.', u'-');
        items.addQueryItem(QStringLiteral("s"), symbol + QStringLiteral(".us"));
        items.addQueryItem(QStringLiteral("i"), QStringLiteral("d"));
        items.addQueryItem(QStringLiteral("d1"), query.start.value_or(historyStart).toString(u"yyyyMMdd"));
        items.addQueryItem(QStringLiteral("d2"), query.end.toString(u"yyyyMMdd"));
        url.setQuery(items);
        return QNetworkRequest(url);
    };
    provider.read
        = [](const PriceQuery& query, const HttpAnswer& answer) -> std::expected<std::vector<DailyBar>, QString> {
        if (answer.status != 200)
            return std::unexpected(QStringLiteral("HTTP %1: %2").arg(answer.status).arg(firstLine(answer.body)));
        const QString first = firstLine(answer.body);
        if (first.compare(u"No data", Qt::CaseInsensitive) == 0)
            return std::vector<DailyBar> {};
        if (!first.contains(u','))
            return std::unexpected(QStringLiteral("the provider said \"%1\"").arg(first));
        return readCsv(query, answer.body);
    };
    return provider;
}

// A keyed JSON service: an array of {date, close, adjClose, divCash, splitFactor, …}; errors
// are {"detail": "…"} with a 4xx status. The key travels in a header, so it is in no URL.
PriceProvider keyedJsonProvider(const QString& base, const QByteArray& key)
{
    PriceProvider provider;
    provider.name = keyedJsonName;
    provider.request = [base, key](const PriceQuery& query) {
        QString symbol = query.symbol;
        symbol.replace(u'.', u'-');
        QUrl url = joinedUrl(
            base, QStringLiteral("/tiingo/daily/%1/prices").arg(QString::fromLatin1(QUrl::toPercentEncoding(symbol))));
        QUrlQuery items;
        items.addQueryItem(QStringLiteral("startDate"), isoDate(query.start.value_or(historyStart)));
        items.addQueryItem(QStringLiteral("endDate"), isoDate(query.end));
        items.addQueryItem(QStringLiteral("format"), QStringLiteral("json"));
        url.setQuery(items);
        QNetworkRequest request(url);
        request.setRawHeader("Authorization", "Token " + key);
        return request;
    };
    provider.read = [](const PriceQuery&, const HttpAnswer& answer) -> std::expected<std::vector<DailyBar>, QString> {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(answer.body, &error);
        if (answer.status != 200) {
            const QString detail = document.object().value(u"detail").toString();
            return std::unexpected(QStringLiteral("HTTP %1: %2")
                                       .arg(answer.status)
                                       .arg(detail.isEmpty() ? firstLine(answer.body) : detail.left(160)));
        }
        if (error.error != QJsonParseError::NoError)
            return std::unexpected(
                QStringLiteral("unreadable answer (%1 at byte %2)").arg(error.errorString()).arg(error.offset));
        if (!document.isArray())
            return std::unexpected(QStringLiteral("unreadable answer (not a list of prices)"));
        std::vector<DailyBar> bars;
        for (const QJsonValue& value : document.array()) {
            const QJsonObject row = value.toObject();
            const QDate date = QDate::fromString(row.value(u"date").toString().left(10), Qt::ISODate);
            const double close = row.value(u"close").toDouble();
            const double adjusted = row.value(u"adjClose").toDouble();
            if (!date.isValid() || !(close > 0) || !(adjusted > 0))
                return std::unexpected(QStringLiteral("unreadable answer (row %1)").arg(bars.size() + 1));
            bars.push_back(DailyBar { date, close, adjusted });
        }
        std::ranges::stable_sort(bars, {}, &DailyBar::date);
        return bars;
    };
    return provider;
}

// Any service that answers CSV: the user's URL with {symbol}, {start} and {end} filled in,
// read in the named layout.
PriceProvider templateProvider(const QString& pattern, const Layout& layout)
{
    PriceProvider provider;
    // What the app shows as the source: the service's host says more than "url-template".
    const QString host = QUrl(QString(pattern).replace(u'{', u'_').replace(u'}', u'_')).host();
    provider.name = host.isEmpty() ? templateName : host;
    provider.request = [pattern](const PriceQuery& query) {
        QString url = pattern;
        url.replace(QStringLiteral("{symbol}"), QString::fromLatin1(QUrl::toPercentEncoding(query.symbol)));
        url.replace(QStringLiteral("{start}"), isoDate(query.start.value_or(historyStart)));
        url.replace(QStringLiteral("{end}"), isoDate(query.end));
        return QNetworkRequest(QUrl(url));
    };
    provider.read
        = [layout](const PriceQuery& query, const HttpAnswer& answer) -> std::expected<std::vector<DailyBar>, QString> {
        if (answer.status != 200)
            return std::unexpected(QStringLiteral("HTTP %1: %2").arg(answer.status).arg(firstLine(answer.body)));
        QStringList keys;
        for (const QString& name : splitCsvLine(firstLine(answer.body)))
            keys.push_back(headerKey(name));
        if (!std::ranges::all_of(layout.columns, [&keys](const QString& column) { return keys.contains(column); }))
            return std::unexpected(QStringLiteral("the answer is not in the %1 layout (header \"%2\")")
                                       .arg(layout.name, firstLine(answer.body)));
        return readCsv(query, answer.body);
    };
    return provider;
}

std::expected<QByteArray, QString> readKey(const ProviderSettings& settings)
{
    QByteArray key;
    if (!settings.keyFile.isEmpty()) {
        QFile file(settings.keyFile);
        if (!file.open(QIODevice::ReadOnly))
            return std::unexpected(
                QStringLiteral("cannot read the key file %1: %2").arg(settings.keyFile, file.errorString()));
        key = file.readLine().trimmed();
    } else {
        key = qgetenv(keyedJsonTokenVariable.toLatin1().constData()).trimmed();
    }
    if (key.isEmpty())
        return std::unexpected(QStringLiteral("%1 needs an API key in %2 or in a file named with --key-file")
                                   .arg(settings.name, keyedJsonTokenVariable));
    return key;
}

} // namespace

QUrl joinedUrl(QString base, const QString& path)
{
    while (base.endsWith(u'/'))
        base.chop(1);
    return QUrl(base + path);
}

QStringList priceProviderNames()
{
    return { dailyCsvName, keyedJsonName, templateName };
}

QStringList priceLayoutNames()
{
    QStringList names;
    for (const Layout& layout : layouts())
        names.push_back(layout.name);
    return names;
}

std::expected<PriceProvider, QString> makePriceProvider(const ProviderSettings& settings)
{
    if (settings.name == dailyCsvName)
        return dailyCsvProvider(settings.baseUrl.isEmpty() ? QStringLiteral("https://stooq.com") : settings.baseUrl);
    if (settings.name == keyedJsonName) {
        const auto key = readKey(settings);
        if (!key)
            return std::unexpected(key.error());
        return keyedJsonProvider(
            settings.baseUrl.isEmpty() ? QStringLiteral("https://api.tiingo.com") : settings.baseUrl, *key);
    }
    if (settings.name == templateName) {
        if (!settings.urlTemplate.contains(QStringLiteral("{symbol}")))
            return std::unexpected(QStringLiteral("url-template needs --url-template with a {symbol} placeholder"));
        const auto layout = std::ranges::find(layouts(), settings.layout, &Layout::name);
        if (layout == layouts().end())
            return std::unexpected(
                QStringLiteral("url-template needs --layout %1").arg(priceLayoutNames().join(QStringLiteral(", "))));
        return templateProvider(settings.urlTemplate, *layout);
    }
    return std::unexpected(QStringLiteral("unknown provider \"%1\" (%2)")
                               .arg(settings.name, priceProviderNames().join(QStringLiteral(", "))));
}

} // namespace tessary::server
