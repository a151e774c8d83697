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

template <class T> using Decoded = std::expected<T, DecodingError>;

// Parses a whole document. Malformed text, invalid UTF-8 and an empty body are decoding
// errors, never partial results.
Decoded<QJsonObject> parseJsonObject(const QByteArray& bytes);
Decoded<QJsonArray> parseJsonArray(const QByteArray& bytes);

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
