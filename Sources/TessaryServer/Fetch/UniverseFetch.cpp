#include "UniverseFetch.h"

#include <QBuffer>

#include "TessaryServer/Data/CsvText.h"

namespace tessary::server {

namespace {

const QString listingsName = QStringLiteral("us-listings");
// One file for the symbols listed on one exchange, one for those listed on all the others.
const QStringList listingFiles { QStringLiteral("nasdaqlisted.txt"), QStringLiteral("otherlisted.txt") };

// The one-letter exchange codes of the other-listed file.
QString exchangeName(const QString& code)
{
    static const QHash<QString, QString> names { { QStringLiteral("A"), QStringLiteral("NYSE American") },
        { QStringLiteral("N"), QStringLiteral("NYSE") }, { QStringLiteral("P"), QStringLiteral("NYSE Arca") },
        { QStringLiteral("Z"), QStringLiteral("Cboe BZX") }, { QStringLiteral("V"), QStringLiteral("IEX") } };
    return names.value(code, code);
}

QString csvField(QString text)
{
    text.replace(u'"', QStringLiteral("\"\""));
    return u'"' + text + u'"';
}

} // namespace

QStringList universeProviderNames()
{
    return { listingsName };
}

std::expected<QByteArray, QString> listingsAsCsv(const QList<QByteArray>& files)
{
    QByteArray csv = "Symbol,Name,Exchange,ETF\n";
    for (const QByteArray& file : files) {
        const QList<QByteArray> lines = file.split('\n');
        const QStringList header = QString::fromUtf8(lines.value(0)).trimmed().split(u'|');
        qsizetype symbol = -1;
        qsizetype name = -1;
        qsizetype exchange = -1;
        qsizetype etf = -1;
        qsizetype test = -1;
        for (qsizetype i = 0; i < header.size(); ++i) {
            const QString key = headerKey(header[i]);
            if (key == u"symbol" || key == u"actsymbol")
                symbol = i;
            else if (key == u"securityname")
                name = i;
            else if (key == u"exchange")
                exchange = i;
            else if (key == u"etf")
                etf = i;
            else if (key == u"testissue")
                test = i;
        }
        if (symbol < 0 || name < 0 || etf < 0)
            return std::unexpected(
                QStringLiteral("not a listing file (header \"%1\")").arg(header.join(u'|').left(120)));
        bool complete = false;
        for (qsizetype l = 1; l < lines.size(); ++l) {
            const QString line = QString::fromUtf8(lines[l]).trimmed();
            // The last line says when the file was made; without it the file was cut short.
            if (line.startsWith(u"File Creation Time")) {
                complete = true;
                break;
            }
            if (line.isEmpty())
                continue;
            const QStringList fields = line.split(u'|');
            if (test >= 0 && fields.value(test) == u"Y")
                continue;
            const QString place = exchange < 0 ? QStringLiteral("NASDAQ") : exchangeName(fields.value(exchange));
            csv += (QStringList { csvField(fields.value(symbol)), csvField(fields.value(name)), csvField(place),
                        csvField(fields.value(etf)) }
                        .join(u',')
                + u'\n')
                       .toUtf8();
        }
        if (!complete)
            return std::unexpected(QStringLiteral("the listing file ends early (no \"File Creation Time\" line)"));
    }
    return csv;
}

ImportResult fetchUniverse(MarketDatabase& database, const ProviderSettings& settings)
{
    const auto failure = [](const QString& reason) { return std::unexpected(ImportError { reason, {}, {} }); };
    if (settings.name != listingsName)
        return failure(QStringLiteral("unknown universe provider \"%1\" (%2)")
                           .arg(settings.name, universeProviderNames().join(QStringLiteral(", "))));
    const QString base
        = settings.baseUrl.isEmpty() ? QStringLiteral("https://www.nasdaqtrader.com/dynamic/SymDir") : settings.baseUrl;
    ProviderClient client(settings.policy);
    QList<QByteArray> files;
    for (const QString& name : listingFiles) {
        const auto answer = client.get(QNetworkRequest(joinedUrl(base, u'/' + name)));
        if (!answer)
            return failure(QStringLiteral("%1: %2").arg(name, answer.error()));
        if (answer->status != 200)
            return failure(QStringLiteral("%1: HTTP %2").arg(name).arg(answer->status));
        files.push_back(answer->body);
    }
    const auto csv = listingsAsCsv(files);
    if (!csv)
        return failure(csv.error());
    QBuffer buffer;
    buffer.setData(*csv);
    buffer.open(QIODevice::ReadOnly | QIODevice::Text);
    return importUniverse(database, buffer, listingsName);
}

} // namespace tessary::server
