#pragma once

#include <QString>

namespace tessary {

// A key path built on the stack while a body is walked ("series[3].performance[7]"). It is
// only turned into text when something fails, so a 100,000-value body pays nothing for it.
struct JsonPath {
    const JsonPath* parent = nullptr;
    const char* key = nullptr;
    qsizetype index = -1;

    JsonPath member(const char* name) const { return JsonPath { this, name, -1 }; }
    JsonPath element(qsizetype i) const { return JsonPath { this, nullptr, i }; }
    QString text() const;
};

} // namespace tessary
