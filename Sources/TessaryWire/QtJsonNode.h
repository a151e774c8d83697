#pragma once

#include "JsonReader.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>

#include <optional>

namespace tessary {

// The reader's view of a Qt JSON value.
class QtJsonNode {
public:
    explicit QtJsonNode(QJsonValue value)
        : m_value(std::move(value))
    {
    }

    JsonKind kind() const;
    double number() const { return m_value.toDouble(); }
    bool boolean() const { return m_value.toBool(); }
    QString string() const { return m_value.toString(); }
    qsizetype size() const { return m_value.toArray().size(); }
    std::optional<QtJsonNode> member(const char* key) const;

    template <class F> bool elements(F&& visit) const
    {
        const QJsonArray array = m_value.toArray();
        for (qsizetype i = 0; i < array.size(); ++i) {
            if (!visit(i, QtJsonNode(array.at(i))))
                return false;
        }
        return true;
    }

    // Qt keeps an object's keys sorted, so this is key order rather than document order.
    template <class F> bool members(F&& visit) const
    {
        const QJsonObject object = m_value.toObject();
        for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
            if (!visit(it.key(), QtJsonNode(it.value())))
                return false;
        }
        return true;
    }

private:
    QJsonValue m_value;
};

} // namespace tessary
