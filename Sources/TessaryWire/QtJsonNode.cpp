#include "QtJsonNode.h"

namespace tessary {

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

} // namespace tessary
