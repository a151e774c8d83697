#include "MemoryMarket.h"

#include "TessaryWire/MarketTime.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace tessary::server::test {

void MemoryMarket::addSymbol(const TickerInfo& info, DailyHistory daily, IntradayHistory intraday)
{
    const auto position = std::lower_bound(m_universe->begin(), m_universe->end(), info.symbol,
        [](const TickerInfo& known, const QString& symbol) { return known.symbol < symbol; });
    m_universe->insert(position, info);
    m_daily.insert(info.symbol, std::make_shared<const DailyHistory>(std::move(daily)));
    m_intraday.insert(info.symbol, std::make_shared<const IntradayHistory>(std::move(intraday)));
}

std::optional<TickerInfo> MemoryMarket::find(QStringView symbol) const
{
    const auto position = std::lower_bound(m_universe->begin(), m_universe->end(), symbol,
        [](const TickerInfo& known, QStringView wanted) { return known.symbol < wanted; });
    if (position == m_universe->end() || position->symbol != symbol)
        return std::nullopt;
    return *position;
}

std::shared_ptr<const DailyHistory> MemoryMarket::dailyBars(const QString& symbol) const
{
    static const auto none = std::make_shared<const DailyHistory>();
    return m_daily.value(symbol, none);
}

std::shared_ptr<const IntradayHistory> MemoryMarket::intradayBars(const QString& symbol) const
{
    static const auto none = std::make_shared<const IntradayHistory>();
    return m_intraday.value(symbol, none);
}

std::optional<QDate> MemoryMarket::lastMarketDate() const
{
    std::optional<QDate> last;
    for (const auto& bars : m_daily) {
        if (!bars->empty() && (!last || bars->back().date > *last))
            last = bars->back().date;
    }
    return last;
}

std::expected<std::unique_ptr<MemoryMarket>, DataError> MemoryMarket::fromDailyCsvDirectory(const QString& directory)
{
    auto market = std::make_unique<MemoryMarket>();
    const QDir folder(directory);
    for (const QString& name : folder.entryList({ QStringLiteral("*.csv") }, QDir::Files, QDir::Name)) {
        QFile file(folder.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            return std::unexpected(DataError { QStringLiteral("cannot read ") + file.fileName() });
        DailyHistory bars;
        file.readLine(); // header
        while (!file.atEnd()) {
            const QList<QByteArray> fields = file.readLine().trimmed().split(',');
            if (fields.size() < 3)
                continue;
            const auto date = MarketTime::parseDate(QString::fromLatin1(fields[0]));
            if (!date)
                return std::unexpected(DataError { QStringLiteral("bad date in ") + file.fileName() });
            bars.push_back(DailyBar { .date = *date, .close = fields[1].toDouble(), .adjClose = fields[2].toDouble() });
        }
        const QString symbol = name.chopped(4);
        TickerInfo info;
        info.symbol = symbol;
        info.name = symbol + QStringLiteral(" Inc.");
        info.marketCap = 1e9 + static_cast<double>(market->m_universe->size());
        market->addSymbol(info, std::move(bars));
    }
    return market;
}

DailyHistory dailyBarsFromText(const QString& text)
{
    DailyHistory bars;
    for (const QString& piece : text.split(u',', Qt::SkipEmptyParts)) {
        const QStringList fields = piece.split(u' ', Qt::SkipEmptyParts);
        const double close = fields.value(1).toDouble();
        bars.push_back(DailyBar { .date = *MarketTime::parseDate(fields.value(0)),
            .close = close,
            .adjClose = fields.size() > 2 ? fields[2].toDouble() : close });
    }
    return bars;
}

} // namespace tessary::server::test
