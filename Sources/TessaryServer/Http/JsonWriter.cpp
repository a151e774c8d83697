#include "JsonWriter.h"

#include <QString>

#include <charconv>
#include <cmath>
#include <cstring>

namespace tessary::server {

namespace {

// The longest number text: a sign, 17 digits, a point and an exponent.
constexpr qsizetype longestNumber = 32;

constexpr double powersOfTen[] = { 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
    1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22 };
constexpr double negativePowersOfTen[] = { 1e0, 1e-1, 1e-2, 1e-3, 1e-4, 1e-5, 1e-6, 1e-7, 1e-8, 1e-9, 1e-10 };

// 10^exponent <= magnitude < 10^(exponent + 1), for 1e-10 <= magnitude < 1e16.
int decimalExponent(double magnitude)
{
    int exponent = 0;
    if (magnitude >= 1) {
        while (exponent < 15 && magnitude >= powersOfTen[exponent + 1])
            ++exponent;
        return exponent;
    }
    exponent = -1;
    while (exponent > -10 && magnitude < negativePowersOfTen[-exponent])
        --exponent;
    return exponent;
}

// Writes `value` rounded to `decimals` places in plain decimal notation, trailing zeros
// dropped, through integer formatting of the scaled value. Needs |value| * 10^decimals below
// 10^17 and decimals up to 22.
char* writeDecimals(char* out, double value, int decimals)
{
    const double magnitude = std::abs(value);
    const auto scaledValue = static_cast<qint64>(magnitude * powersOfTen[std::max(decimals, 0)] + 0.5);
    if (scaledValue == 0) {
        *out = '0';
        return out + 1;
    }
    if (value < 0)
        *out++ = '-';
    if (decimals <= 0)
        return std::to_chars(out, out + longestNumber, scaledValue).ptr;

    char scaled[24];
    char* end = std::to_chars(scaled, scaled + sizeof scaled, scaledValue).ptr;
    while (decimals > 0 && end[-1] == '0') {
        --end;
        --decimals;
    }
    const auto length = static_cast<int>(end - scaled);
    if (decimals == 0) {
        std::memcpy(out, scaled, static_cast<std::size_t>(length));
        return out + length;
    }
    if (length > decimals) {
        const int whole = length - decimals;
        std::memcpy(out, scaled, static_cast<std::size_t>(whole));
        out += whole;
        *out++ = '.';
        std::memcpy(out, scaled + whole, static_cast<std::size_t>(decimals));
        return out + decimals;
    }
    *out++ = '0';
    *out++ = '.';
    for (int i = length; i < decimals; ++i)
        *out++ = '0';
    std::memcpy(out, scaled, static_cast<std::size_t>(length));
    return out + length;
}

// Writes `value` rounded to `digits` significant digits in plain decimal notation. A prices
// reply carries half a million such numbers and the general-purpose formatting costs three
// times as much, so the common magnitudes go through integer formatting of the scaled value;
// very small or large ones (and digits above 15) fall back to std::to_chars.
char* writeRounded(char* out, double value, int digits)
{
    if (value == 0) {
        *out = '0';
        return out + 1;
    }
    const double magnitude = std::abs(value);
    if (digits > 15 || !(magnitude >= 1e-9 && magnitude < 1e15))
        return std::to_chars(out, out + longestNumber, value, std::chars_format::general, digits).ptr;
    return writeDecimals(out, value, digits - 1 - decimalExponent(magnitude));
}

// A return r is drawn and read as the growth factor 1 + r: the chart places it on either
// scale by that factor, and the readout shows it to a tenth of a percent. The factor is the
// ratio of two adjusted closes, which travel with `digits` significant digits, so it carries no
// more than that; digits of r beyond it (a return of 0.0012345678 written in full) only cost
// bytes. At `digits` = 8 the factor keeps a relative error under 5e-8. Every line starts at 0,
// so the chart's range spans at least 0.01 and reaches both 0 and r, and a point moves by under
// 1/50 of a pixel on a plot 1,200 device pixels tall, linear or log; a shown percentage changes
// only where the exact return lies within 1e-7 of a rounding boundary, the same odds the
// closes' own eight digits have. Factors below 0.001 draw at 0.001 and need no finer steps.
char* writeReturn(char* out, double value, int digits)
{
    const double growth = std::abs(1.0 + value);
    if (!(growth < 1e7))
        return writeRounded(out, value, digits);
    return writeDecimals(out, value, digits - 1 - (growth >= 1e-3 ? decimalExponent(growth) : -3));
}

} // namespace

JsonWriter::JsonWriter(qsizetype reserve)
{
    m_out.resize(std::max<qsizetype>(reserve, 256));
}

char* JsonWriter::reserve(qsizetype count)
{
    if (m_size + count > m_out.size())
        m_out.resize(std::max(m_out.size() * 2, m_size + count));
    return m_out.data() + m_size;
}

void JsonWriter::put(std::string_view text)
{
    const auto length = static_cast<qsizetype>(text.size());
    std::memcpy(reserve(length), text.data(), text.size());
    m_size += length;
}

void JsonWriter::separate()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_needsComma.empty()) {
        if (m_needsComma.back())
            put(',');
        m_needsComma.back() = true;
    }
}

JsonWriter& JsonWriter::beginObject()
{
    separate();
    put('{');
    m_needsComma.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::endObject()
{
    put('}');
    m_needsComma.pop_back();
    return *this;
}

JsonWriter& JsonWriter::beginArray()
{
    separate();
    put('[');
    m_needsComma.push_back(false);
    return *this;
}

JsonWriter& JsonWriter::endArray()
{
    put(']');
    m_needsComma.pop_back();
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name)
{
    separate();
    put('"');
    put(name);
    put("\":");
    m_afterKey = true;
    return *this;
}

JsonWriter& JsonWriter::string(QStringView text)
{
    separate();
    put('"');
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        switch (c) {
        case '"':
            put("\\\"");
            break;
        case '\\':
            put("\\\\");
            break;
        case '\n':
            put("\\n");
            break;
        case '\r':
            put("\\r");
            break;
        case '\t':
            put("\\t");
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                static constexpr char hex[] = "0123456789abcdef";
                put("\\u00");
                put(hex[(c >> 4) & 0xf]);
                put(hex[c & 0xf]);
            } else {
                put(c);
            }
        }
    }
    put('"');
    return *this;
}

void JsonWriter::appendNumber(double value, int significantDigits)
{
    char* out = reserve(longestNumber);
    char* end = significantDigits > 0 ? writeRounded(out, value, significantDigits)
                                      : std::to_chars(out, out + longestNumber, value).ptr;
    m_size += end - out;
}

void JsonWriter::appendOptionalNumber(const std::optional<double>& value, int significantDigits)
{
    if (value && std::isfinite(*value))
        appendNumber(*value, significantDigits);
    else
        put("null");
}

JsonWriter& JsonWriter::number(double value)
{
    return number(value, 0);
}

JsonWriter& JsonWriter::number(double value, int significantDigits)
{
    separate();
    appendOptionalNumber(value, significantDigits);
    return *this;
}

JsonWriter& JsonWriter::integer(qint64 value)
{
    separate();
    char* out = reserve(longestNumber);
    m_size += std::to_chars(out, out + longestNumber, value).ptr - out;
    return *this;
}

JsonWriter& JsonWriter::boolean(bool value)
{
    separate();
    put(value ? std::string_view("true") : std::string_view("false"));
    return *this;
}

JsonWriter& JsonWriter::null()
{
    separate();
    put("null");
    return *this;
}

JsonWriter& JsonWriter::optionalNumber(const std::optional<double>& value, int significantDigits)
{
    separate();
    appendOptionalNumber(value, significantDigits);
    return *this;
}

JsonWriter& JsonWriter::optionalString(const std::optional<QString>& value)
{
    return value ? string(*value) : null();
}

JsonWriter& JsonWriter::repeat(qsizetype begin, qsizetype end)
{
    separate();
    const qsizetype length = end - begin;
    // Room first: growing moves the bytes being copied.
    char* out = reserve(length);
    std::memcpy(out, m_out.constData() + begin, static_cast<std::size_t>(length));
    m_size += length;
    return *this;
}

JsonWriter& JsonWriter::integerArray(std::span<const qint64> values)
{
    beginArray();
    for (std::size_t i = 0; i < values.size(); ++i) {
        char* out = reserve(longestNumber + 1);
        char* end = out;
        if (i > 0)
            *end++ = ',';
        end = std::to_chars(end, out + longestNumber + 1, values[i]).ptr;
        m_size += end - out;
    }
    return endArray();
}

JsonWriter& JsonWriter::numberArray(std::span<const std::optional<double>> values, int significantDigits)
{
    beginArray();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            put(',');
        appendOptionalNumber(values[i], significantDigits);
    }
    return endArray();
}

JsonWriter& JsonWriter::returnArray(std::span<const std::optional<double>> values, int significantDigits)
{
    beginArray();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i > 0)
            put(',');
        if (values[i] && std::isfinite(*values[i])) {
            char* out = reserve(longestNumber);
            m_size += writeReturn(out, *values[i], significantDigits) - out;
        } else {
            put("null");
        }
    }
    return endArray();
}

QByteArray JsonWriter::take()
{
    m_out.truncate(m_size);
    m_size = 0;
    return std::move(m_out);
}

} // namespace tessary::server
