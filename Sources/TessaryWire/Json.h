#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <expected>
#include <optional>
#include <utility>

namespace tessary {

// Why a JSON document or record could not be read. `path` names where it went wrong
// ("lists[3].tickers[0]") so a bad response can be traced to the key that broke it.
struct DecodingError {
    QString path;
    QString reason;

    QString description() const;
    friend bool operator==(const DecodingError&, const DecodingError&) = default;
};

template <class T>
using Decoded = std::expected<T, DecodingError>;

// Parses a whole document. Malformed text, invalid UTF-8 and an empty body are decoding
// errors, never partial results.
Decoded<QJsonObject> parseJsonObject(const QByteArray& bytes);
Decoded<QJsonArray> parseJsonArray(const QByteArray& bytes);

QString jsonTypeName(const QJsonValue& value);

// Converts one JSON value to T, or says why it cannot. Supported T: QString, double, qint64,
// int, bool, QStringList, QJsonObject, QJsonArray.
template <class T>
std::expected<T, QString> fromJsonValue(const QJsonValue& value);
template <> std::expected<QString, QString> fromJsonValue<QString>(const QJsonValue&);
template <> std::expected<double, QString> fromJsonValue<double>(const QJsonValue&);
template <> std::expected<qint64, QString> fromJsonValue<qint64>(const QJsonValue&);
template <> std::expected<int, QString> fromJsonValue<int>(const QJsonValue&);
template <> std::expected<bool, QString> fromJsonValue<bool>(const QJsonValue&);
template <> std::expected<QStringList, QString> fromJsonValue<QStringList>(const QJsonValue&);
template <> std::expected<QJsonObject, QString> fromJsonValue<QJsonObject>(const QJsonValue&);
template <> std::expected<QJsonArray, QString> fromJsonValue<QJsonArray>(const QJsonValue&);

// Reads the fields of one JSON object with the lenient rules every record of ours follows:
// a required key must be present with the right type, an optional key may be missing or
// null, unknown keys are ignored. The first failure is kept (with its key path) and later
// reads return empty values, so a decoder reads all its fields and checks `error()` once.
class JsonFields {
public:
    JsonFields(const QJsonObject& object, QString path);

    template <class T>
    T required(QLatin1StringView key);

    template <class T>
    std::optional<T> optional(QLatin1StringView key);

    bool failed() const { return m_error.has_value(); }
    const DecodingError& error() const { return *m_error; }
    QString pathOf(QLatin1StringView key) const;
    void fail(QString path, QString reason);

private:
    template <class T>
    std::optional<T> convert(const QJsonValue& value, QLatin1StringView key);

    QJsonObject m_object;
    QString m_path;
    std::optional<DecodingError> m_error;
};

template <class T>
T JsonFields::required(QLatin1StringView key)
{
    if (m_error)
        return T{};
    const auto it = m_object.constFind(key);
    if (it == m_object.constEnd()) {
        fail(pathOf(key), QStringLiteral("required key is missing"));
        return T{};
    }
    return convert<T>(*it, key).value_or(T{});
}

template <class T>
std::optional<T> JsonFields::optional(QLatin1StringView key)
{
    if (m_error)
        return std::nullopt;
    const auto it = m_object.constFind(key);
    if (it == m_object.constEnd() || it->isNull())
        return std::nullopt;
    return convert<T>(*it, key);
}

template <class T>
std::optional<T> JsonFields::convert(const QJsonValue& value, QLatin1StringView key)
{
    auto converted = fromJsonValue<T>(value);
    if (!converted) {
        fail(pathOf(key), converted.error());
        return std::nullopt;
    }
    return std::move(*converted);
}

// Writes a JSON object with its keys in the order they are added (QJsonObject sorts them),
// for files a person may open and for records whose key order is part of their form.
class OrderedJsonWriter {
public:
    OrderedJsonWriter& add(QStringView key, const QJsonValue& value);
    // Adds an already encoded JSON value (an object or array written by another writer).
    OrderedJsonWriter& addRaw(QStringView key, const QByteArray& json);
    QByteArray finish() const;

private:
    QByteArray m_body;
};

QByteArray encodeJsonValue(const QJsonValue& value);
QByteArray joinJsonArray(const QList<QByteArray>& encodedElements);

} // namespace tessary
