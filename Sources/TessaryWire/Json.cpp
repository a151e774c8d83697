#include "Json.h"

#include "JsonSyntax.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QStringDecoder>

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
        return std::unexpected(DecodingError { {}, QStringLiteral("the body is empty") });
    // QJsonDocument replaces invalid UTF-8 silently; we would rather refuse the body than
    // show a mangled company name.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    (void)utf8.decode(bytes);
    if (utf8.hasError())
        return std::unexpected(DecodingError { {}, QStringLiteral("the body is not valid UTF-8") });
    if (auto syntax = jsonSyntaxError(bytes))
        return std::unexpected(DecodingError { {}, std::move(*syntax) });
    QJsonParseError error {};
    auto document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return std::unexpected(
            DecodingError { {}, QStringLiteral("%1 at offset %2").arg(error.errorString()).arg(error.offset) });
    return document;
}

} // namespace

Decoded<QJsonObject> parseJsonObject(const QByteArray& bytes)
{
    auto document = parseDocument(bytes);
    if (!document)
        return std::unexpected(document.error());
    if (!document->isObject())
        return std::unexpected(DecodingError { {}, QStringLiteral("expected an object at the top level") });
    return document->object();
}

Decoded<QJsonArray> parseJsonArray(const QByteArray& bytes)
{
    auto document = parseDocument(bytes);
    if (!document)
        return std::unexpected(document.error());
    if (!document->isArray())
        return std::unexpected(DecodingError { {}, QStringLiteral("expected an array at the top level") });
    return document->array();
}

QByteArray encodeJsonValue(const QJsonValue& value)
{
    // QJsonDocument only writes arrays and objects; wrapping the value in a one-element array
    // reuses its escaping and number formatting exactly.
    QByteArray wrapped = QJsonDocument(QJsonArray { value }).toJson(QJsonDocument::Compact);
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
