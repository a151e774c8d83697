#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>

#include <chrono>
#include <optional>

namespace tessary::server {

// Slows down password guessing without holding up the server: after a few failed sign-ins a
// key (an e-mail address, a client address) is refused for a while, and each further failure
// doubles the wait. A key that has not failed for `memory` starts afresh. Refusals are answered
// at once; nothing sleeps.
class SignInThrottle {
public:
    static constexpr int freeFailures = 5;
    static constexpr std::chrono::seconds firstWait { 30 };
    static constexpr std::chrono::minutes longestWait { 15 };
    static constexpr std::chrono::hours memory { 1 };

    // When the key may try again, or nothing when it may try now.
    std::optional<QDateTime> refusedUntil(const QString& key, const QDateTime& now) const;
    void recordFailure(const QString& key, const QDateTime& now);
    void forget(const QString& key);

private:
    struct Failures {
        int count = 0;
        QDateTime last;
    };
    std::optional<QDateTime> waitEnd(const Failures& failures) const;

    QHash<QString, Failures> m_failures;
};

} // namespace tessary::server
