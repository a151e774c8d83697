#include "WireDecoding.h"

#include "FastWireDecoding.h"
#include "QtJsonNode.h"

namespace tessary {

QString jsonKindName(JsonKind kind)
{
    switch (kind) {
    case JsonKind::null:
        return QStringLiteral("null");
    case JsonKind::boolean:
        return QStringLiteral("a boolean");
    case JsonKind::number:
        return QStringLiteral("a number");
    case JsonKind::string:
        return QStringLiteral("a string");
    case JsonKind::array:
        return QStringLiteral("an array");
    case JsonKind::object:
        return QStringLiteral("an object");
    }
    return QStringLiteral("nothing");
}

JsonKind QtJsonNode::kind() const
{
    switch (m_value.type()) {
    case QJsonValue::Bool:
        return JsonKind::boolean;
    case QJsonValue::Double:
        return JsonKind::number;
    case QJsonValue::String:
        return JsonKind::string;
    case QJsonValue::Array:
        return JsonKind::array;
    case QJsonValue::Object:
        return JsonKind::object;
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return JsonKind::null;
}

std::optional<QtJsonNode> QtJsonNode::member(const char* key) const
{
    const QJsonObject object = m_value.toObject();
    const auto it = object.constFind(QLatin1StringView(key));
    if (it == object.constEnd())
        return std::nullopt;
    return QtJsonNode(*it);
}

namespace {

template <class T> Decoded<T> decodeObject(const QJsonObject& object)
{
    return readWire<T>(QtJsonNode(object));
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
