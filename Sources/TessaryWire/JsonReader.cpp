#include "JsonReader.h"

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

} // namespace tessary
