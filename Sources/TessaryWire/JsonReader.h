#pragma once

// The one way JSON is read here, written once over a small node interface so that the Qt JSON
// tree and the faster simdjson tree read every document the same way (same results, same
// error paths). The rules: a required key must be present with the right type, an optional key
// may be missing or null, unknown keys are ignored, and the first failure is kept with the key
// path that broke ("series[3].performance[7]").
//
// A Node offers: kind(), number(), boolean(), string(), size(), member(const char*) ->
// optional<Node>, elements(f(index, node) -> bool) and members(f(QString key, node) -> bool).
//
// A record type is read by a `readFields(JsonReader<Node>&, const Node&, const JsonPath&, T&)`
// found next to the type; it checks the object and reads its keys with `required`/`optional`.

#include "Json.h"
#include "JsonPath.h"

#include <QString>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace tessary {

enum class JsonKind { null, boolean, number, string, array, object };

QString jsonKindName(JsonKind kind);

// An array of strings whose wrong element is reported at the array itself, with the element's
// index in the reason ("element 1: expected a string, found a number"): how the list and
// catalog files have always named a bad ticker.
struct StringArray {
    QStringList values;
};

template <class Node> class JsonReader {
public:
    DecodingError takeError() { return std::move(*m_error); }

    // Keeps the first failure only; always false, so a reader can `return fail(...)`.
    bool fail(const JsonPath& at, QString reason)
    {
        if (!m_error)
            m_error = DecodingError { at.text(), std::move(reason) };
        return false;
    }

    bool expect(const Node& node, const JsonPath& at, JsonKind kind)
    {
        if (node.kind() == kind)
            return true;
        return fail(at, mismatch(kind, node.kind()));
    }

    bool read(const Node& node, const JsonPath& at, QString& out)
    {
        if (!expect(node, at, JsonKind::string))
            return false;
        out = node.string();
        return true;
    }

    bool read(const Node& node, const JsonPath& at, bool& out)
    {
        if (!expect(node, at, JsonKind::boolean))
            return false;
        out = node.boolean();
        return true;
    }

    bool read(const Node& node, const JsonPath& at, double& out)
    {
        if (!expect(node, at, JsonKind::number))
            return false;
        out = node.number();
        if (!std::isfinite(out))
            return fail(at, QStringLiteral("the number is out of range"));
        return true;
    }

    bool read(const Node& node, const JsonPath& at, qint64& out)
    {
        double number = 0;
        if (!read(node, at, number))
            return false;
        constexpr double limit = 9007199254740992.0; // 2^53: beyond it doubles skip integers
        if (std::trunc(number) != number || std::abs(number) > limit)
            return fail(at, QStringLiteral("expected a whole number"));
        out = static_cast<qint64>(number);
        return true;
    }

    bool read(const Node& node, const JsonPath& at, int& out)
    {
        qint64 number = 0;
        if (!read(node, at, number))
            return false;
        if (number < std::numeric_limits<int>::min() || number > std::numeric_limits<int>::max())
            return fail(at, QStringLiteral("the number is out of range"));
        out = static_cast<int>(number);
        return true;
    }

    // A null element or key is an absent value.
    template <class T> bool read(const Node& node, const JsonPath& at, std::optional<T>& out)
    {
        if (node.kind() == JsonKind::null) {
            out.reset();
            return true;
        }
        T value {};
        if (!read(node, at, value))
            return false;
        out = std::move(value);
        return true;
    }

    template <class T> bool read(const Node& node, const JsonPath& at, std::vector<T>& out)
    {
        if (!expect(node, at, JsonKind::array))
            return false;
        out.clear();
        out.reserve(node.size());
        return node.elements([&](qsizetype i, const Node& element) {
            T value {};
            if (!read(element, at.element(i), value))
                return false;
            out.push_back(std::move(value));
            return true;
        });
    }

    bool read(const Node& node, const JsonPath& at, QStringList& out)
    {
        std::vector<QString> strings;
        if (!read(node, at, strings))
            return false;
        out = QStringList(std::make_move_iterator(strings.begin()), std::make_move_iterator(strings.end()));
        return true;
    }

    bool read(const Node& node, const JsonPath& at, StringArray& out)
    {
        if (!expect(node, at, JsonKind::array))
            return false;
        out.values.clear();
        out.values.reserve(node.size());
        return node.elements([&](qsizetype i, const Node& element) {
            if (element.kind() != JsonKind::string)
                return fail(
                    at, QStringLiteral("element %1: %2").arg(i).arg(mismatch(JsonKind::string, element.kind())));
            out.values.append(element.string());
            return true;
        });
    }

    // An object of number-or-null values, sorted by key with a repeated key's last value
    // standing. Qt's tree yields its keys that way and simdjson's in document order with every
    // repeat, so the members are put in that order before any is read: both paths then keep
    // the same values and fail at the same key.
    bool read(const Node& node, const JsonPath& at, std::vector<std::pair<QString, std::optional<double>>>& out)
    {
        if (!expect(node, at, JsonKind::object))
            return false;
        std::vector<std::pair<QString, Node>> members;
        node.members([&](const QString& key, const Node& value) {
            members.emplace_back(key, value);
            return true;
        });
        // Stable, so among equal keys the later one stays last and is the one kept.
        std::ranges::stable_sort(members, {}, &std::pair<QString, Node>::first);
        const auto repeats
            = std::ranges::unique(members.rbegin(), members.rend(), {}, &std::pair<QString, Node>::first);
        members.erase(members.begin(), repeats.begin().base());
        out.clear();
        out.reserve(members.size());
        for (const auto& [key, value] : members) {
            std::optional<double> number;
            const QByteArray keyBytes = key.toUtf8();
            if (!read(value, at.member(keyBytes.constData()), number))
                return false;
            out.emplace_back(key, number);
        }
        return true;
    }

    // Records, by their own `readFields`.
    template <class T> bool read(const Node& node, const JsonPath& at, T& out)
    {
        return readFields(*this, node, at, out);
    }

    template <class T> bool required(const Node& object, const JsonPath& at, const char* key, T& out)
    {
        const std::optional<Node> value = object.member(key);
        if (!value)
            return fail(at.member(key), QStringLiteral("required key is missing"));
        return read(*value, at.member(key), out);
    }

    template <class T> bool optional(const Node& object, const JsonPath& at, const char* key, std::optional<T>& out)
    {
        const std::optional<Node> value = object.member(key);
        if (!value) {
            out.reset();
            return true;
        }
        return read(*value, at.member(key), out);
    }

private:
    static QString mismatch(JsonKind expected, JsonKind found)
    {
        return QStringLiteral("expected %1, found %2").arg(jsonKindName(expected), jsonKindName(found));
    }

    std::optional<DecodingError> m_error;
};

// Reads a whole tree as T; the first failure, with its key path, is the error. `at` names
// where the tree sits in a larger document, when it does.
template <class T, class Node> Decoded<T> readJson(const Node& root, const JsonPath& at = {})
{
    JsonReader<Node> reader;
    T value {};
    if (!reader.read(root, at, value))
        return std::unexpected(reader.takeError());
    return value;
}

} // namespace tessary
