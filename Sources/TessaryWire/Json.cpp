#include "Json.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QStringDecoder>

#include <cmath>
#include <limits>

namespace tessary {

QString DecodingError::description() const
{
    if (path.isEmpty())
        return QStringLiteral("The data couldn’t be read: %1.").arg(reason);
    return QStringLiteral("The data couldn’t be read at “%1”: %2.").arg(path, reason);
}

namespace {

Decoded<QJsonDocument> parseDocument(const QByteArray& bytes)
{
    if (bytes.trimmed().isEmpty())
        return std::unexpected(DecodingError{{}, QStringLiteral("the body is empty")});
    // QJsonDocument replaces invalid UTF-8 silently; we would rather refuse the body than
    // show a mangled company name.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    (void)utf8.decode(bytes);
    if (utf8.hasError())
        return std::unexpected(DecodingError{{}, QStringLiteral("the body is not valid UTF-8")});
    QJsonParseError error{};
    auto document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return std::unexpected(DecodingError{
            {}, QStringLiteral("%1 at offset %2").arg(error.errorString()).arg(error.offset)});
    return document;
}

} // namespace

Decoded<QJsonObject> parseJsonObject(const QByteArray& bytes)
{
    auto document = parseDocument(bytes);
    if (!document)
        return std::unexpected(document.error());
    if (!document->isObject())
        return std::unexpected(DecodingError{{}, QStringLiteral("expected an object at the top level")});
    return document->object();
}

Decoded<QJsonArray> parseJsonArray(const QByteArray& bytes)
{
    auto document = parseDocument(bytes);
    if (!document)
        return std::unexpected(document.error());
    if (!document->isArray())
        return std::unexpected(DecodingError{{}, QStringLiteral("expected an array at the top level")});
    return document->array();
}

QString jsonTypeName(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Null: return QStringLiteral("null");
    case QJsonValue::Bool: return QStringLiteral("a boolean");
    case QJsonValue::Double: return QStringLiteral("a number");
    case QJsonValue::String: return QStringLiteral("a string");
    case QJsonValue::Array: return QStringLiteral("an array");
    case QJsonValue::Object: return QStringLiteral("an object");
    case QJsonValue::Undefined: break;
    }
    return QStringLiteral("nothing");
}

namespace {

QString expected(const char* what, const QJsonValue& value)
{
    return QStringLiteral("expected %1, found %2").arg(QLatin1StringView(what), jsonTypeName(value));
}

} // namespace

template <>
std::expected<QString, QString> fromJsonValue<QString>(const QJsonValue& value)
{
    if (!value.isString())
        return std::unexpected(expected("a string", value));
    return value.toString();
}

template <>
std::expected<double, QString> fromJsonValue<double>(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::unexpected(expected("a number", value));
    const double number = value.toDouble();
    if (!std::isfinite(number))
        return std::unexpected(QStringLiteral("the number is out of range"));
    return number;
}

template <>
std::expected<qint64, QString> fromJsonValue<qint64>(const QJsonValue& value)
{
    auto number = fromJsonValue<double>(value);
    if (!number)
        return std::unexpected(number.error());
    constexpr double limit = 9007199254740992.0; // 2^53: beyond it doubles skip integers
    if (std::trunc(*number) != *number || std::abs(*number) > limit)
        return std::unexpected(QStringLiteral("expected a whole number"));
    return static_cast<qint64>(*number);
}

template <>
std::expected<int, QString> fromJsonValue<int>(const QJsonValue& value)
{
    auto number = fromJsonValue<qint64>(value);
    if (!number)
        return std::unexpected(number.error());
    if (*number < std::numeric_limits<int>::min() || *number > std::numeric_limits<int>::max())
        return std::unexpected(QStringLiteral("the number is out of range"));
    return static_cast<int>(*number);
}

template <>
std::expected<bool, QString> fromJsonValue<bool>(const QJsonValue& value)
{
    if (!value.isBool())
        return std::unexpected(expected("a boolean", value));
    return value.toBool();
}

template <>
std::expected<QJsonObject, QString> fromJsonValue<QJsonObject>(const QJsonValue& value)
{
    if (!value.isObject())
        return std::unexpected(expected("an object", value));
    return value.toObject();
}

template <>
std::expected<QJsonArray, QString> fromJsonValue<QJsonArray>(const QJsonValue& value)
{
    if (!value.isArray())
        return std::unexpected(expected("an array", value));
    return value.toArray();
}

template <>
std::expected<QStringList, QString> fromJsonValue<QStringList>(const QJsonValue& value)
{
    if (!value.isArray())
        return std::unexpected(expected("an array", value));
    const QJsonArray array = value.toArray();
    QStringList strings;
    strings.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QJsonValue element = array.at(i);
        if (!element.isString())
            return std::unexpected(QStringLiteral("element %1: %2").arg(i).arg(expected("a string", element)));
        strings.append(element.toString());
    }
    return strings;
}

JsonFields::JsonFields(const QJsonObject& object, QString path)
    : m_object(object)
    , m_path(std::move(path))
{
}

QString JsonFields::pathOf(QLatin1StringView key) const
{
    return m_path.isEmpty() ? QString(key) : m_path + u'.' + key;
}

void JsonFields::fail(QString path, QString reason)
{
    if (!m_error)
        m_error = DecodingError{std::move(path), std::move(reason)};
}

QByteArray encodeJsonValue(const QJsonValue& value)
{
    // QJsonDocument only writes arrays and objects; wrapping the value in a one-element array
    // reuses its escaping and number formatting exactly.
    QByteArray wrapped = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return wrapped.mid(1, wrapped.size() - 2);
}

OrderedJsonWriter& OrderedJsonWriter::add(QStringView key, const QJsonValue& value)
{
    return addRaw(key, encodeJsonValue(value));
}

OrderedJsonWriter& OrderedJsonWriter::addRaw(QStringView key, const QByteArray& json)
{
    if (!m_body.isEmpty())
        m_body += ',';
    m_body += encodeJsonValue(key.toString());
    m_body += ':';
    m_body += json;
    return *this;
}

QByteArray OrderedJsonWriter::finish() const
{
    return '{' + m_body + '}';
}

QByteArray joinJsonArray(const QList<QByteArray>& encodedElements)
{
    return '[' + encodedElements.join(',') + ']';
}

} // namespace tessary
