#include "SignInGate.h"

namespace tessary::server {

namespace {

std::unexpected<SignInGate::Refusal> refused(const AccountError& error, int status)
{
    return std::unexpected(SignInGate::Refusal { error, status, std::nullopt });
}

} // namespace

SignInGate::SignInGate(Accounts& accounts)
    : m_accounts(accounts)
{
}

std::expected<AccountRecord, SignInGate::Refusal> SignInGate::signIn(
    const QString& email, const QString& password, const QString& clientAddress, bool signup)
{
    const QDateTime now = m_accounts.now();
    const QString emailKey = QStringLiteral("email:") + Accounts::normalisedEmail(email).value_or(email);
    const QString addressKey = QStringLiteral("address:") + clientAddress;

    const auto until = std::max(m_throttle.refusedUntil(emailKey, now), m_throttle.refusedUntil(addressKey, now));
    if (until) {
        return std::unexpected(
            Refusal { AccountError { AccountError::Kind::throttled, {} }, 429, now.secsTo(*until) + 1 });
    }
    if (signup) {
        if (const auto added = m_accounts.add(email, password); !added)
            return refused(added.error(), added.error().kind == AccountError::Kind::failure ? 503 : 400);
    }
    const auto account = m_accounts.signIn(email, password);
    if (account) {
        m_throttle.forget(emailKey);
        return *account;
    }
    if (account.error().kind != AccountError::Kind::wrongCredentials)
        return refused(account.error(), 503);
    m_throttle.recordFailure(emailKey, now);
    m_throttle.recordFailure(addressKey, now);
    return refused(account.error(), 403);
}

} // namespace tessary::server
