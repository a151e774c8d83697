#pragma once

#include <QString>

namespace tessary {

// A key path built on the stack while a body is walked ("series[3].performance[7]"). It is
// only turned into text when something fails, so a 100,000-value body pays nothing for it.
struct JsonPath {
    const JsonPath* parent = nullptr;
    const char* key = nullptr;
    qsizetype index = -1;
    // The path of the root in a larger document ("lists[2]"), when it is part of one.
    const QString* root = nullptr;

    // The caller keeps `path` alive while the path and its children are in use.
    static JsonPath within(const QString& path) { return JsonPath { nullptr, nullptr, -1, &path }; }
    JsonPath member(const char* name) const { return JsonPath { this, name, -1, nullptr }; }
    JsonPath element(qsizetype i) const { return JsonPath { this, nullptr, i, nullptr }; }
    QString text() const;
};

} // namespace tessary
