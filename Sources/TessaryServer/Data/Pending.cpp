// Placeholder bodies so the module links while the real ones are written; this file goes away.
#include "TessaryServer/Data/Data.h"

namespace tessary::server {

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
