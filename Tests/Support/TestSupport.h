#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

namespace tessary::test {

// The folder of real market data beside the repository, or nothing when this checkout has
// none (tests that need it skip with a message instead of failing).
std::optional<QString> sharedDataDirectory();

// A fixed instant written as "yyyy-MM-ddTHH:mm:ssZ", for tests that pass "now" explicitly.
QDateTime utcInstant(const char* isoText);

} // namespace tessary::test

// Skips the current test function when the shared market data is not present.
#define TESSARY_REQUIRE_SHARED_DATA(variable)                                                        \
    const auto variable##Optional = ::tessary::test::sharedDataDirectory();                          \
    if (!variable##Optional)                                                                         \
        QSKIP("../shared/data is not present in this checkout");                                     \
    const QString variable = *variable##Optional
