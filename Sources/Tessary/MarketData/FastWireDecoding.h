#pragma once

#include "TessaryWire/WireRecords.h"

#include <QByteArray>

namespace tessary::FastWireDecoding {

// Whether this build parses the big bodies with simdjson. Without it the Qt parser is used
// and these functions fall back to it; either way the rules and error paths are the same.
bool available();

Decoded<PricesResponse> decodePricesResponse(const QByteArray& body);
Decoded<TickersResponse> decodeTickersResponse(const QByteArray& body);

} // namespace tessary::FastWireDecoding
