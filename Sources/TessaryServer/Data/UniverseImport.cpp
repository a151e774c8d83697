#include "TessaryServer/Data/Import.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <vector>

#include "TessaryServer/Data/CsvText.h"
#include "TessaryServer/Data/MarketDatabase.h"

namespace tessary::server {

namespace {

enum class Field { symbol, name, sector, industry, exchange, type, etfFlag, fundFlag, marketCap };

// Header names seen in the usual constituent lists and screener exports, by header key.
std::optional<Field> fieldOf(const QString& key)
{
    static const QHash<QString, Field> names {
        { QStringLiteral("symbol"), Field::symbol },
        { QStringLiteral("ticker"), Field::symbol },
        { QStringLiteral("tickersymbol"), Field::symbol },
        { QStringLiteral("name"), Field::name },
        { QStringLiteral("security"), Field::name },
        { QStringLiteral("company"), Field::name },
        { QStringLiteral("companyname"), Field::name },
        { QStringLiteral("securityname"), Field::name },
        { QStringLiteral("sector"), Field::sector },
        { QStringLiteral("gicssector"), Field::sector },
        { QStringLiteral("industry"), Field::industry },
        { QStringLiteral("gicssubindustry"), Field::industry },
        { QStringLiteral("subindustry"), Field::industry },
        { QStringLiteral("exchange"), Field::exchange },
        { QStringLiteral("listingexchange"), Field::exchange },
        { QStringLiteral("type"), Field::type },
        { QStringLiteral("assettype"), Field::type },
        { QStringLiteral("securitytype"), Field::type },
        { QStringLiteral("etf"), Field::etfFlag },
        { QStringLiteral("isetf"), Field::etfFlag },
        { QStringLiteral("fund"), Field::fundFlag },
        { QStringLiteral("isfund"), Field::fundFlag },
        { QStringLiteral("mutualfund"), Field::fundFlag },
        { QStringLiteral("marketcap"), Field::marketCap },
        { QStringLiteral("marketcapitalization"), Field::marketCap },
        { QStringLiteral("mktcap"), Field::marketCap },
    };
    const auto found = names.constFind(key);
    return found == names.cend() ? std::nullopt : std::optional(*found);
}

std::optional<bool> parseFlag(const QString& text)
{
    const QString key = headerKey(text);
    if (key == u"y" || key == u"yes" || key == u"true" || key == u"1")
        return true;
    if (key.isEmpty() || key == u"n" || key == u"no" || key == u"false" || key == u"0")
        return false;
    return std::nullopt;
}

std::optional<QString> nonEmpty(const QString& text)
{
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

} // namespace

ImportResult importUniverse(MarketDatabase& database, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::unexpected(
            ImportError { QStringLiteral("%1: cannot read: %2").arg(path, file.errorString()), {}, {} });
    return importUniverse(database, file, QFileInfo(path).fileName());
}

ImportResult importUniverse(MarketDatabase& database, QIODevice& device, const QString& name)
{
    ImportReport report;
    CsvReader reader(&device);
    const QString& headerLine = reader.headerLine();
    std::vector<std::pair<qsizetype, Field>> columns;
    const QStringList& header = reader.header();
    bool hasSymbol = false;
    for (qsizetype i = 0; i < header.size(); ++i) {
        const auto field = fieldOf(headerKey(header[i]));
        // The first column of a kind wins ("Symbol" before a later "Ticker").
        if (!field || std::ranges::any_of(columns, [&](const auto& c) { return c.second == *field; }))
            continue;
        columns.emplace_back(i, *field);
        hasSymbol = hasSymbol || *field == Field::symbol;
    }
    if (!hasSymbol) {
        return std::unexpected(ImportError::after(report,
            QStringLiteral("%1: unknown layout (header \"%2\"); expected a Symbol or Ticker column")
                .arg(name, headerLine.trimmed().left(120))));
    }

    std::vector<TickerInfo> infos;
    QSet<QString> seen;
    while (reader.next()) {
        const QStringList& fields = reader.fields();
        TickerInfo info;
        QStringList trouble;
        for (const auto& [index, field] : columns) {
            const QString value = index < fields.size() ? fields[index] : QString();
            switch (field) {
            case Field::symbol:
                info.symbol = value.toUpper();
                break;
            case Field::name:
                info.name = value;
                break;
            case Field::sector:
                info.sector = nonEmpty(value);
                break;
            case Field::industry:
                info.industry = nonEmpty(value);
                break;
            case Field::exchange:
                info.exchange = nonEmpty(value);
                break;
            case Field::type: {
                const QString key = headerKey(value);
                info.isEtf = info.isEtf || key == u"etf" || key == u"etn";
                info.isFund = info.isFund || key.contains(u"fund");
                break;
            }
            case Field::etfFlag:
            case Field::fundFlag: {
                bool& target = field == Field::etfFlag ? info.isEtf : info.isFund;
                if (const auto flag = parseFlag(value))
                    target = target || *flag;
                else
                    trouble.push_back(QStringLiteral("unreadable flag \"%1\"").arg(value));
                break;
            }
            case Field::marketCap:
                if (value.isEmpty() || value == u"-" || value.compare(u"n/a", Qt::CaseInsensitive) == 0)
                    break;
                if (const auto cap = parseNumber(value, true); cap && *cap >= 0)
                    info.marketCap = *cap;
                else
                    trouble.push_back(QStringLiteral("unreadable market cap \"%1\"").arg(value));
                break;
            }
        }
        if (info.symbol.isEmpty())
            trouble.push_front(QStringLiteral("no symbol"));
        else if (seen.contains(info.symbol))
            trouble.push_front(QStringLiteral("%1 listed twice").arg(info.symbol));
        if (!trouble.isEmpty()) {
            report.problems.push_back(
                QStringLiteral("%1:%2: %3, skipped").arg(name).arg(reader.lineNumber()).arg(trouble.join(u"; ")));
            ++report.skippedRows;
            continue;
        }
        seen.insert(info.symbol);
        infos.push_back(std::move(info));
    }
    if (infos.empty())
        return std::unexpected(ImportError::after(report, QStringLiteral("%1: no usable rows").arg(name)));
    auto written = database.write([&](MarketDatabase::Writer& writer) -> std::expected<void, DataError> {
        for (const TickerInfo& info : infos)
            if (auto done = writer.upsertSymbol(info); !done)
                return done;
        return {};
    });
    if (!written)
        return std::unexpected(ImportError::after(report, written.error().description()));
    report.files = 1;
    report.symbols = static_cast<int>(infos.size());
    report.rows = std::ssize(infos);
    return report;
}

} // namespace tessary::server
