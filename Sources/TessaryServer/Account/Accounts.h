#pragma once

#include "AccountError.h"
#include "AccountStore.h"

#include <QDateTime>

#include <chrono>
#include <expected>
#include <functional>
#include <memory>

namespace tessary::server {

// The account rules over a store: addresses normalised and checked, passwords hashed and
// verified, one-time codes issued and redeemed against their PKCE challenge, bearer tokens
// issued, looked up and revoked. Secrets go out once and are stored only as digests.
class Accounts {
public:
    using Clock = std::function<QDateTime()>;
    static constexpr std::chrono::minutes codeLifetime { 5 };

    explicit Accounts(std::unique_ptr<AccountStore> store, Clock clock = &QDateTime::currentDateTimeUtc);

    // Trimmed and lower-cased, or `invalidEmail`.
    static std::expected<QString, AccountError> normalisedEmail(const QString& email);
    static std::expected<void, AccountError> checkPassword(const QString& password);

    std::expected<void, AccountError> add(const QString& email, const QString& password);
    std::expected<bool, AccountError> exists(const QString& email) const;
    std::expected<QStringList, AccountError> emails() const;
    std::expected<void, AccountError> remove(const QString& email);
    // Also signs out every device of the account.
    std::expected<void, AccountError> resetPassword(const QString& email, const QString& password);

    // The account the address and password belong to; `wrongCredentials` for an unknown
    // address as for a wrong password, after the same amount of work.
    std::expected<AccountRecord, AccountError> signIn(const QString& email, const QString& password) const;

    // A one-time code for the account, valid for `codeLifetime`, bound to the challenge.
    std::expected<QString, AccountError> issueCode(qint64 accountId, const QString& challenge);
    // Spends the code whatever the outcome; a new bearer token when the verifier matches.
    std::expected<QString, AccountError> redeemCode(const QString& code, const QString& verifier);

    std::expected<AccountRecord, AccountError> accountForToken(const QString& token) const;
    std::expected<void, AccountError> revokeToken(const QString& token);

    std::expected<QByteArray, AccountError> formSecret();
    QDateTime now() const { return m_clock(); }

private:
    std::unique_ptr<AccountStore> m_store;
    Clock m_clock;
};

} // namespace tessary::server
