#pragma once

#include "TessaryWire/WireRecords.h"

#include <QByteArray>

#include <optional>

namespace tessary::FastWireDecoding {

// Whether this build parses the big bodies with simdjson. Without it the Qt parser is used
// and these functions fall back to it; either way the rules and error paths are the same.
bool available();

Decoded<PricesResponse> decodePricesResponse(const QByteArray& body);
Decoded<TickersResponse> decodeTickersResponse(const QByteArray& body);

// Parses a whole document of any shape without reading a record from it: the syntax check
// of this path on its own, so the parsers can be held to the public JSON test cases and to
// each other.
std::optional<DecodingError> checkSyntax(const QByteArray& body);

} // namespace tessary::FastWireDecoding
