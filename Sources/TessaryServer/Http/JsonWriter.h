#pragma once

#include <QByteArray>
#include <QStringView>

#include <optional>
#include <string_view>
#include <vector>

namespace tessary::server {

// Streams JSON text into one buffer. The prices reply holds hundreds of thousands of numbers,
// so this writes them straight into bytes instead of building a QJsonDocument first. Commas
// are placed automatically; keys must be plain ASCII.
class JsonWriter {
public:
    // Significant digits for numbers a chart only draws; metrics keep every digit.
    static constexpr int chartDigits = 8;

    explicit JsonWriter(qsizetype reserve = 0);

    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();
    JsonWriter& key(std::string_view name);

    JsonWriter& string(QStringView text);
    // The shortest text that reads back as the same double; null when not finite.
    JsonWriter& number(double value);
    // Rounded to `significantDigits`; null when not finite.
    JsonWriter& number(double value, int significantDigits);
    JsonWriter& integer(qint64 value);
    JsonWriter& boolean(bool value);
    JsonWriter& null();
    JsonWriter& optionalNumber(const std::optional<double>& value, int significantDigits = 0);
    JsonWriter& optionalString(const std::optional<QString>& value);

    QByteArray take();

private:
    void separate();
    void appendNumber(double value, int significantDigits);

    QByteArray m_out;
    // One entry per open container: whether the next element needs a comma before it.
    std::vector<bool> m_needsComma;
    bool m_afterKey = false;
};

} // namespace tessary::server
