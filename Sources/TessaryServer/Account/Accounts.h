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
    static constexpr int keptSettingsVersions = 50;
    static constexpr std::chrono::days sessionLifetime { 7 };

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

    // The account's settings document: a new account's has no lists.
    std::expected<SettingsVersion, AccountError> settings(qint64 accountId);
    // Stores `document` (a JSON object, kept byte for byte) as the next version when the
    // current one is `basedOn`, any when nothing; when it is not, nothing is written and the
    // result carries the standing version.
    std::expected<SettingsWrite, AccountError> replaceSettings(
        qint64 accountId, std::optional<qint64> basedOn, const QByteArray& document);
    // The kept versions, newest first.
    std::expected<QList<SettingsVersion>, AccountError> settingsHistory(const QString& email);
    // Puts a kept version back as a new version: a client that saw a later one gets a
    // conflict on its next write and takes the restored document.
    std::expected<SettingsVersion, AccountError> restoreSettings(const QString& email, qint64 version);

    // A browser session of the lists page, for `sessionLifetime`.
    std::expected<QString, AccountError> openSession(qint64 accountId);
    std::expected<AccountRecord, AccountError> accountForSession(const QString& session) const;
    std::expected<void, AccountError> closeSession(const QString& session);

    std::expected<QByteArray, AccountError> formSecret();
    QDateTime now() const { return m_clock(); }

private:
    std::expected<AccountRecord, AccountError> existing(const QString& email) const;
    QByteArray initialSettings() const;

    std::unique_ptr<AccountStore> m_store;
    Clock m_clock;
};

} // namespace tessary::server
