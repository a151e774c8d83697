#include "FastWireDecoding.h"

#include "WireFields.h"

#include "TessaryWire/QtJsonNode.h"

#if TESSARY_HAVE_SIMDJSON
#include <simdjson.h>
#endif

namespace tessary::FastWireDecoding {

#if TESSARY_HAVE_SIMDJSON

namespace {

// The reader's view of a simdjson DOM element.
class SimdJsonNode {
public:
    explicit SimdJsonNode(simdjson::dom::element element)
        : m_element(element)
    {
    }

    JsonKind kind() const
    {
        switch (m_element.type()) {
        case simdjson::dom::element_type::ARRAY:
            return JsonKind::array;
        case simdjson::dom::element_type::OBJECT:
            return JsonKind::object;
        case simdjson::dom::element_type::INT64:
        case simdjson::dom::element_type::UINT64:
        case simdjson::dom::element_type::DOUBLE:
            return JsonKind::number;
        case simdjson::dom::element_type::STRING:
            return JsonKind::string;
        case simdjson::dom::element_type::BOOL:
            return JsonKind::boolean;
        case simdjson::dom::element_type::NULL_VALUE:
            break;
        }
        return JsonKind::null;
    }

    // Callers check kind() first, so the conversions below cannot fail.
    double number() const { return m_element.get_double().value_unsafe(); }
    bool boolean() const { return m_element.get_bool().value_unsafe(); }
    QString string() const
    {
        const std::string_view text = m_element.get_string().value_unsafe();
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }
    qsizetype size() const { return static_cast<qsizetype>(m_element.get_array().value_unsafe().size()); }

    std::optional<SimdJsonNode> member(const char* key) const
    {
        simdjson::dom::object object;
        if (m_element.get_object().get(object) != simdjson::SUCCESS)
            return std::nullopt;
        // A key given twice reads as its last value, as in Qt's tree; simdjson's own lookup
        // would stop at the first, and the two paths would then read different records.
        const std::string_view wanted(key);
        std::optional<SimdJsonNode> found;
        for (const simdjson::dom::key_value_pair pair : object) {
            if (pair.key == wanted)
                found = SimdJsonNode(pair.value);
        }
        return found;
    }

    template <class F> bool elements(F&& visit) const
    {
        // Held in a local: a range-for over the temporary result would iterate a dead value.
        simdjson::dom::array array;
        if (m_element.get_array().get(array) != simdjson::SUCCESS)
            return false;
        qsizetype i = 0;
        for (const simdjson::dom::element element : array) {
            if (!visit(i++, SimdJsonNode(element)))
                return false;
        }
        return true;
    }

    template <class F> bool members(F&& visit) const
    {
        simdjson::dom::object object;
        if (m_element.get_object().get(object) != simdjson::SUCCESS)
            return false;
        for (const simdjson::dom::key_value_pair pair : object) {
            const QString key = QString::fromUtf8(pair.key.data(), static_cast<qsizetype>(pair.key.size()));
            if (!visit(key, SimdJsonNode(pair.value)))
                return false;
        }
        return true;
    }

private:
    simdjson::dom::element m_element;
};

QString parseFailure(simdjson::error_code code)
{
    switch (code) {
    case simdjson::EMPTY:
        return QStringLiteral("the body is empty");
    case simdjson::UTF8_ERROR:
        return QStringLiteral("the body is not valid UTF-8");
    case simdjson::DEPTH_ERROR:
        return QStringLiteral("too deeply nested document");
    case simdjson::NUMBER_ERROR:
        return QStringLiteral("a number is malformed or out of range");
    case simdjson::CAPACITY:
        return QStringLiteral("the body is too large");
    default:
        break;
    }
    return QStringLiteral("the body is not valid JSON");
}

// Bodies up to this size reuse one parser per thread, which keeps its buffers between them
// instead of reallocating for every small reply. A full list's prices get a parser of their
// own: its buffers run to about twelve times the body, tens of megabytes the thread would
// otherwise keep resident for good, while allocating them afresh costs a few milliseconds.
constexpr qsizetype largestReusedBody = 1024 * 1024;

simdjson::dom::parser& threadParser()
{
    thread_local simdjson::dom::parser parser;
    return parser;
}

Decoded<simdjson::dom::element> parseBody(simdjson::dom::parser& parser, const QByteArray& body)
{
    if (body.trimmed().isEmpty())
        return std::unexpected(DecodingError { {}, parseFailure(simdjson::EMPTY) });
    // A leading byte-order mark is skipped, as Qt's parser does.
    const qsizetype start = body.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    simdjson::dom::element root;
    const auto code = parser.parse(body.constData() + start, static_cast<std::size_t>(body.size() - start)).get(root);
    if (code != simdjson::SUCCESS)
        return std::unexpected(DecodingError { {}, parseFailure(code) });
    return root;
}

// Calls `use` with the body's root element, or returns why the body is not JSON.
template <class Use> auto withParsedBody(const QByteArray& body, Use use) -> decltype(use(simdjson::dom::element()))
{
    std::optional<simdjson::dom::parser> own;
    simdjson::dom::parser& parser = body.size() > largestReusedBody ? own.emplace() : threadParser();
    const auto root = parseBody(parser, body);
    if (!root)
        return std::unexpected(root.error());
    return use(*root);
}

template <class T> Decoded<T> decodeBody(const QByteArray& body)
{
    return withParsedBody(body, [](simdjson::dom::element root) { return readJson<T>(SimdJsonNode(root)); });
}

} // namespace

bool available()
{
    return true;
}

std::optional<DecodingError> checkSyntax(const QByteArray& body)
{
    const Decoded<bool> parsed = withParsedBody(body, [](simdjson::dom::element) { return Decoded<bool>(true); });
    return parsed ? std::nullopt : std::optional(parsed.error());
}

#else

namespace {

template <class T> Decoded<T> decodeBody(const QByteArray& body)
{
    auto object = parseJsonObject(body);
    if (!object)
        return std::unexpected(object.error());
    return readJson<T>(QtJsonNode(*object));
}

} // namespace

bool available()
{
    return false;
}

std::optional<DecodingError> checkSyntax(const QByteArray& body)
{
    if (parseJsonObject(body) || parseJsonArray(body))
        return std::nullopt;
    return parseJsonObject(body).error();
}

#endif

Decoded<PricesResponse> decodePricesResponse(const QByteArray& body)
{
    return decodeBody<PricesResponse>(body);
}

Decoded<TickersResponse> decodeTickersResponse(const QByteArray& body)
{
    return decodeBody<TickersResponse>(body);
}

} // namespace tessary::FastWireDecoding
