#include "WireDecoding.h"

#include "FastWireDecoding.h"
#include "WireFields.h"

#include "TessaryWire/QtJsonNode.h"

namespace tessary {

namespace {

template <class T> Decoded<T> decodeObject(const QJsonObject& object)
{
    return readJson<T>(QtJsonNode(object));
}

template <class T> Decoded<T> decodeBody(const QByteArray& body)
{
    auto object = parseJsonObject(body);
    if (!object)
        return std::unexpected(object.error());
    return decodeObject<T>(*object);
}

} // namespace

Decoded<PricesResponse> decodePricesResponse(const QJsonObject& object)
{
    return decodeObject<PricesResponse>(object);
}

Decoded<TickersResponse> decodeTickersResponse(const QJsonObject& object)
{
    return decodeObject<TickersResponse>(object);
}

Decoded<RelatedResponse> decodeRelatedResponse(const QJsonObject& object)
{
    return decodeObject<RelatedResponse>(object);
}

Decoded<PricesResponse> decodePricesResponse(const QByteArray& body)
{
    if (FastWireDecoding::available())
        return FastWireDecoding::decodePricesResponse(body);
    return decodeBody<PricesResponse>(body);
}

Decoded<TickersResponse> decodeTickersResponse(const QByteArray& body)
{
    if (FastWireDecoding::available())
        return FastWireDecoding::decodeTickersResponse(body);
    return decodeBody<TickersResponse>(body);
}

Decoded<RelatedResponse> decodeRelatedResponse(const QByteArray& body)
{
    return decodeBody<RelatedResponse>(body);
}

std::optional<QString> errorMessage(const QByteArray& body)
{
    const auto object = parseJsonObject(body);
    if (!object)
        return std::nullopt;
    for (auto it = object->constBegin(); it != object->constEnd(); ++it) {
        if (!it->isString())
            return std::nullopt;
    }
    const auto message = object->constFind(QLatin1StringView("error"));
    if (message == object->constEnd())
        return std::nullopt;
    return message->toString();
}

} // namespace tessary
