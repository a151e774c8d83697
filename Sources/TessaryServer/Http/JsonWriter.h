#pragma once

#include <QByteArray>
#include <QStringView>

#include <optional>
#include <span>
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
    // Whole arrays in one go: the bulk of a prices reply.
    JsonWriter& integerArray(std::span<const qint64> values);
    JsonWriter& numberArray(std::span<const std::optional<double>> values, int significantDigits);
    // Returns (0.12 for +12%) to the precision of their growth factor 1 + r at
    // `significantDigits`: the digits the chart and the readout can show, and no more.
    JsonWriter& returnArray(std::span<const std::optional<double>> values, int significantDigits);

    // Bytes written so far: where the next one goes.
    qsizetype size() const { return m_size; }
    // A value written before, at [begin, end), once more.
    JsonWriter& repeat(qsizetype begin, qsizetype end);
    QByteArray take();

private:
    void separate();
    // Makes room for `count` more bytes and returns where they go.
    char* reserve(qsizetype count);
    void put(char c)
    {
        *reserve(1) = c;
        ++m_size;
    }
    void put(std::string_view text);
    void appendNumber(double value, int significantDigits);
    void appendOptionalNumber(const std::optional<double>& value, int significantDigits);

    // Written bytes are m_out[0, m_size); the rest is room to grow into.
    QByteArray m_out;
    qsizetype m_size = 0;
    // One entry per open container: whether the next element needs a comma before it.
    std::vector<bool> m_needsComma;
    bool m_afterKey = false;
};

} // namespace tessary::server
