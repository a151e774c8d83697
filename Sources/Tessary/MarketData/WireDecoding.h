#pragma once

#include "TessaryWire/WireRecords.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace tessary {

// Decoders of the service's bodies. Required keys and types are strict and fail the whole
// body with the key path that broke ("series[3].performance[7]"); optional keys may be
// missing or null; unknown keys are ignored. The prices and tickers bodies are large, so
// they are parsed with simdjson when this build has it (see FastWireDecoding.h).
Decoded<PricesResponse> decodePricesResponse(const QByteArray& body);
Decoded<TickersResponse> decodeTickersResponse(const QByteArray& body);
Decoded<RelatedResponse> decodeRelatedResponse(const QByteArray& body);

// The same rules over an already parsed Qt JSON object, for documents read through Qt.
Decoded<PricesResponse> decodePricesResponse(const QJsonObject& object);
Decoded<TickersResponse> decodeTickersResponse(const QJsonObject& object);
Decoded<RelatedResponse> decodeRelatedResponse(const QJsonObject& object);

// The message of an error body: the "error" value of a JSON object whose values are all
// strings. Anything else has no message, which is not itself a failure.
std::optional<QString> errorMessage(const QByteArray& body);

} // namespace tessary
