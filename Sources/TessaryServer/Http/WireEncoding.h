#pragma once

#include "HttpExchange.h"
#include "TessaryServer/MarketReader.h"
#include "TessaryWire/WireRecords.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace tessary::server {

// JSON bodies of the market-data endpoints, keyed exactly as the app decodes them. Optional
// fields are left out when absent; inside `performance`, `adjClose` and `preset_returns` a
// missing point is written as null so positions keep their meaning.
struct EncodedPrices {
    QByteArray body;
    // The performance and adjClose arrays: digits that do not repeat (see HttpResponse).
    ByteRanges literalRanges;
};
EncodedPrices encodePricesResponse(const PricesResponse& response);
QByteArray encodeTickersResponse(const TickersResponse& response);
QByteArray encodeRelatedResponse(const RelatedResponse& response);
// {"error": "…"}
QByteArray encodeErrorBody(const QString& message);

// The universe as parallel columns, one entry per symbol in its order.
TickersResponse tickersResponse(const std::vector<TickerInfo>& universe, DataSource source);

} // namespace tessary::server
