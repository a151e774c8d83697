#include "JsonSyntax.h"

#include <string_view>
#include <vector>

namespace tessary {

namespace {

class Scanner {
public:
    explicit Scanner(QByteArrayView text)
        : m_text(text)
    {
    }

    std::optional<QString> check()
    {
        if (m_text.startsWith("\xEF\xBB\xBF"))
            m_at = 3;
        // Open arrays and objects, innermost last: a loop instead of recursion, so no depth
        // of nesting can exhaust the stack.
        std::vector<char> open;
        space();
        while (true) {
            if (!value(open))
                return m_error;
            // After a value: close what is done, then find where the next value starts.
            while (true) {
                space();
                if (open.empty()) {
                    if (m_at != m_text.size()) {
                        fail("text after the end of the document");
                        return m_error;
                    }
                    return std::nullopt;
                }
                const char closer = open.back() == '[' ? ']' : '}';
                if (peek() == closer) {
                    ++m_at;
                    open.pop_back();
                    continue;
                }
                if (peek() != ',') {
                    fail(closer == ']' ? "expected , or ]" : "expected , or }");
                    return m_error;
                }
                ++m_at;
                space();
                if (open.back() == '{' && !key())
                    return m_error;
                break;
            }
        }
    }

private:
    char peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    bool atEnd() const { return m_at >= m_text.size(); }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }

    bool fail(const char* what)
    {
        m_error = QStringLiteral("%1 at offset %2").arg(QLatin1StringView(what)).arg(m_at);
        return false;
    }

    void space()
    {
        while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r'))
            ++m_at;
    }

    // One value; an array or object is only opened here (its first member or element
    // follows), the caller's loop closes it.
    bool value(std::vector<char>& open)
    {
        while (true) {
            const char c = peek();
            if (c != '[' && c != '{')
                return scalar();
            ++m_at;
            space();
            if (peek() == (c == '[' ? ']' : '}')) {
                ++m_at;
                return true;
            }
            open.push_back(c);
            if (c == '{' && !key())
                return false;
        }
    }

    // `"name"` and the colon of an object member, leaving the scanner at its value.
    bool key()
    {
        if (peek() != '"')
            return fail("expected a quoted key");
        if (!string())
            return false;
        space();
        if (peek() != ':')
            return fail("expected : after a key");
        ++m_at;
        space();
        return true;
    }

    bool scalar()
    {
        const char c = peek();
        if (c == '"')
            return string();
        if (c == '-' || isDigit(c))
            return number();
        for (const QByteArrayView word : { QByteArrayView("true"), QByteArrayView("false"), QByteArrayView("null") }) {
            if (m_text.sliced(m_at).startsWith(word)) {
                m_at += word.size();
                return true;
            }
        }
        return fail("illegal value");
    }

    bool string()
    {
        ++m_at; // the opening quote
        while (true) {
            if (atEnd())
                return fail("unterminated string");
            const auto c = static_cast<unsigned char>(m_text[m_at]);
            if (c == '"') {
                ++m_at;
                return true;
            }
            if (c < 0x20)
                return fail("a control character inside a string");
            ++m_at;
            if (c == '\\' && !escape())
                return false;
        }
    }

    bool escape()
    {
        if (atEnd())
            return fail("unterminated string");
        const char c = peek();
        ++m_at;
        if (c == '"' || c == '\\' || c == '/' || c == 'b' || c == 'f' || c == 'n' || c == 'r' || c == 't')
            return true;
        if (c != 'u')
            return fail("an unknown escape");
        const auto unit = hex4();
        if (!unit)
            return fail("a malformed \\u escape");
        if (*unit >= 0xDC00 && *unit <= 0xDFFF)
            return fail("a lone surrogate escape");
        if (*unit < 0xD800 || *unit > 0xDBFF)
            return true;
        if (!m_text.sliced(m_at).startsWith("\\u"))
            return fail("a lone surrogate escape");
        m_at += 2;
        const auto low = hex4();
        if (!low || *low < 0xDC00 || *low > 0xDFFF)
            return fail("a lone surrogate escape");
        return true;
    }

    std::optional<unsigned> hex4()
    {
        if (m_text.size() - m_at < 4)
            return std::nullopt;
        unsigned unit = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = m_text[m_at + i];
            const int digit = isDigit(c) ? c - '0'
                : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                         : -1;
            if (digit < 0)
                return std::nullopt;
            unit = unit * 16 + static_cast<unsigned>(digit);
        }
        m_at += 4;
        return unit;
    }

    // One or more digits.
    bool digitRun()
    {
        if (!isDigit(peek()))
            return false;
        while (isDigit(peek()))
            ++m_at;
        return true;
    }

    bool number()
    {
        const bool negative = peek() == '-';
        if (negative)
            ++m_at;
        const qsizetype integerStart = m_at;
        if (peek() == '0')
            ++m_at;
        else if (!digitRun())
            return fail("a malformed number");
        const QByteArrayView integer = m_text.sliced(integerStart, m_at - integerStart);
        bool whole = true;
        if (peek() == '.') {
            ++m_at;
            if (!digitRun())
                return fail("a malformed number");
            whole = false;
        }
        if (peek() == 'e' || peek() == 'E') {
            ++m_at;
            if (peek() == '+' || peek() == '-')
                ++m_at;
            if (!digitRun())
                return fail("a malformed number");
            whole = false;
        }
        // Whole numbers are read as 64-bit integers by simdjson, which refuses larger ones;
        // Qt would round them to a double. Refused here so both paths agree.
        const QByteArrayView limit
            = negative ? QByteArrayView("9223372036854775808") : QByteArrayView("18446744073709551615");
        if (whole
            && (integer.size() > limit.size()
                || (integer.size() == limit.size()
                    && std::string_view(integer.data(), integer.size())
                        > std::string_view(limit.data(), limit.size()))))
            return fail("a whole number beyond 64 bits");
        return true;
    }

    QByteArrayView m_text;
    qsizetype m_at = 0;
    QString m_error;
};

} // namespace

std::optional<QString> jsonSyntaxError(QByteArrayView text)
{
    return Scanner(text).check();
}

} // namespace tessary
