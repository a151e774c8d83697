#pragma once

#include "Accounts.h"
#include "SignInThrottle.h"

#include <optional>

namespace tessary::server {

// The e-mail and password check behind every sign-in form of the server (the connect page,
// the lists page), with one throttle for all of them: guesses on one form count on the others.
class SignInGate {
public:
    struct Refusal {
        AccountError error;
        int status = 403; // 403 wrong credentials, 429 throttled, 400 sign-up refused, 503 failure
        std::optional<qint64> retryAfterSeconds; // with 429
    };

    explicit SignInGate(Accounts& accounts);

    // With `signup`, the account is created first.
    std::expected<AccountRecord, Refusal> signIn(
        const QString& email, const QString& password, const QString& clientAddress, bool signup = false);

private:
    Accounts& m_accounts;
    SignInThrottle m_throttle;
};

} // namespace tessary::server
