// Placeholder bodies so the module links while the real ones are written; this file goes away.
#include "TessaryServer/Data/Data.h"

namespace tessary::server {

namespace {
DataError pending()
{
    return DataError { QStringLiteral("the market store is not available yet") };
}
} // namespace

std::expected<std::unique_ptr<MarketDatabase>, DataError> MarketDatabase::open(const QString&)
{
    return std::unexpected(pending());
}
MarketDatabase::~MarketDatabase() = default;
const std::vector<TickerInfo>& MarketDatabase::universe() const
{
    return m_universe;
}
const TickerInfo* MarketDatabase::find(QStringView) const
{
    return nullptr;
}
std::shared_ptr<const DailyHistory> MarketDatabase::dailyBars(const QString&) const
{
    return std::make_shared<DailyHistory>();
}
std::shared_ptr<const IntradayHistory> MarketDatabase::intradayBars(const QString&) const
{
    return std::make_shared<IntradayHistory>();
}
std::optional<QDate> MarketDatabase::lastMarketDate() const
{
    return std::nullopt;
}
DataSource MarketDatabase::dataSource() const
{
    return DataSource::simulated;
}
std::optional<QString> MarketDatabase::metaValue(const QString&) const
{
    return std::nullopt;
}
std::optional<quint64> MarketDatabase::demoSeed() const
{
    return std::nullopt;
}
std::optional<QDate> MarketDatabase::lastDemoDate() const
{
    return std::nullopt;
}
qint64 MarketDatabase::dailyBarCount() const
{
    return 0;
}
std::expected<void, DataError> MarketDatabase::write(const std::function<std::expected<void, DataError>(Writer&)>&)
{
    return std::unexpected(pending());
}

QStringList ImportReport::lines() const
{
    return error ? QStringList { *error } : QStringList {};
}
ImportReport importPrices(MarketDatabase&, const QStringList&)
{
    ImportReport report;
    report.error = pending().message;
    return report;
}
ImportReport importUniverse(MarketDatabase&, const QString&)
{
    ImportReport report;
    report.error = pending().message;
    return report;
}

const std::vector<TickerInfo>& demoUniverse()
{
    static const std::vector<TickerInfo> none;
    return none;
}
std::expected<DemoReport, DataError> generateDemoMarket(MarketDatabase&, const DemoOptions&, const ProgressCallback&)
{
    return std::unexpected(pending());
}
std::expected<DemoReport, DataError> extendDemoMarket(MarketDatabase&, QDate, const ProgressCallback&)
{
    return std::unexpected(pending());
}
std::expected<DemoReport, DataError> prepareMarket(MarketDatabase&, bool, const ProgressCallback&)
{
    return std::unexpected(pending());
}

QByteArray curatedCatalogDocument()
{
    return QByteArrayLiteral(R"({"categories":[],"collections":[]})");
}
const std::vector<CuratedCollection>& curatedCollections()
{
    static const std::vector<CuratedCollection> none;
    return none;
}
RelatedResponse relatedTickers(
    const std::vector<TickerInfo>&, const std::vector<CuratedCollection>&, const QStringList&, int)
{
    return {};
}

bool isTradingDay(QDate date)
{
    return date.dayOfWeek() < 6;
}
std::optional<QString> closureReason(QDate)
{
    return std::nullopt;
}
QDate nextTradingDay(QDate date)
{
    do
        date = date.addDays(1);
    while (!isTradingDay(date));
    return date;
}
QDate previousTradingDay(QDate date)
{
    do
        date = date.addDays(-1);
    while (!isTradingDay(date));
    return date;
}
QDate tradingDayOnOrBefore(QDate date)
{
    return isTradingDay(date) ? date : previousTradingDay(date);
}
std::vector<QDate> tradingDays(QDate first, QDate last)
{
    std::vector<QDate> days;
    for (QDate d = first; d <= last; d = d.addDays(1))
        if (isTradingDay(d))
            days.push_back(d);
    return days;
}
QTime closingTime(QDate)
{
    return QTime(16, 0);
}
QDate lastCompletedSession(const QDateTime& now)
{
    return previousTradingDay(now.date());
}

} // namespace tessary::server
