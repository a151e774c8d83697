// Placeholder bodies so the module links while the real ones are written; this file goes away.
#include "TessaryServer/Data/Data.h"

namespace tessary::server {

namespace {
DataError pending()
{
    return DataError { QStringLiteral("the market store is not available yet") };
}
} // namespace

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

} // namespace tessary::server
