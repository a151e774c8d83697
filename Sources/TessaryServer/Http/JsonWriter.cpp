#include "JsonWriter.h"

#include <QString>

#include <charconv>
#include <cmath>

namespace tessary::server {

JsonWriter::JsonWriter(qsizetype reserve)
{
    if (reserve > 0)
        m_out.reserve(reserve);
}

void JsonWriter::separate()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_needsComma.empty()) {
        if (m_needsComma.back())
            m_out += ',';
        m_needsComma.back() = true;
    }
}

JsonWriter& JsonWriter::beginObject()
{
    separate();
    m_out += '{';
    m_needsComma.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::endObject()
{
    m_out += '}';
    m_needsComma.pop_back();
    return *this;
}

JsonWriter& JsonWriter::beginArray()
{
    separate();
    m_out += '[';
    m_needsComma.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::endArray()
{
    m_out += ']';
    m_needsComma.pop_back();
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name)
{
    separate();
    m_out += '"';
    m_out.append(name.data(), static_cast<qsizetype>(name.size()));
    m_out += "\":";
    m_afterKey = true;
    return *this;
}

JsonWriter& JsonWriter::string(QStringView text)
{
    separate();
    m_out += '"';
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        switch (c) {
        case '"':
            m_out += "\\\"";
            break;
        case '\\':
            m_out += "\\\\";
            break;
        case '\n':
            m_out += "\\n";
            break;
        case '\r':
            m_out += "\\r";
            break;
        case '\t':
            m_out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                static constexpr char hex[] = "0123456789abcdef";
                m_out += "\\u00";
                m_out += hex[(c >> 4) & 0xf];
                m_out += hex[c & 0xf];
            } else {
                m_out += c;
            }
        }
    }
    m_out += '"';
    return *this;
}

void JsonWriter::appendNumber(double value, int significantDigits)
{
    char buffer[32];
    const auto result = significantDigits > 0
        ? std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, significantDigits)
        : std::to_chars(buffer, buffer + sizeof buffer, value);
    m_out.append(buffer, result.ptr - buffer);
}

JsonWriter& JsonWriter::number(double value)
{
    return number(value, 0);
}

JsonWriter& JsonWriter::number(double value, int significantDigits)
{
    if (!std::isfinite(value))
        return null();
    separate();
    appendNumber(value, significantDigits);
    return *this;
}

JsonWriter& JsonWriter::integer(qint64 value)
{
    separate();
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    m_out.append(buffer, result.ptr - buffer);
    return *this;
}

JsonWriter& JsonWriter::boolean(bool value)
{
    separate();
    m_out += value ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::null()
{
    separate();
    m_out += "null";
    return *this;
}

JsonWriter& JsonWriter::optionalNumber(const std::optional<double>& value, int significantDigits)
{
    return value ? number(*value, significantDigits) : null();
}

JsonWriter& JsonWriter::optionalString(const std::optional<QString>& value)
{
    return value ? string(*value) : null();
}

QByteArray JsonWriter::take()
{
    return std::move(m_out);
}

} // namespace tessary::server
