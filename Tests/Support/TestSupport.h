#pragma once

#include <QDateTime>
#include <QString>

#include <expected>
#include <optional>

namespace tessary::test {

// The folder of real market data beside the repository, or nothing when this checkout has
// none (tests that need it skip with a message instead of failing).
std::optional<QString> sharedDataDirectory();

// A fixed instant written as "yyyy-MM-ddTHH:mm:ssZ", for tests that pass "now" explicitly.
QDateTime utcInstant(const char* isoText);

// The error text of a result, or nothing when it succeeded. QVERIFY2 builds its message even
// when the check passes, so the message must be safe to compute on success.
template <class T, class E> QString failureText(const std::expected<T, E>& result)
{
    return result ? QString() : result.error().description();
}

template <class T> QString failureText(const std::optional<T>& result)
{
    return result ? failureText(*result) : QStringLiteral("it did not finish");
}

} // namespace tessary::test

// Skips the current test function when the shared market data is not present.
#define TESSARY_REQUIRE_SHARED_DATA(variable)                                                                          \
    const auto variable##Optional = ::tessary::test::sharedDataDirectory();                                            \
    if (!variable##Optional)                                                                                           \
        QSKIP("../shared/data is not present in this checkout");                                                       \
    const QString variable = *variable##Optional
