#pragma once

#include "TessaryServer/Account/AccountStore.h"

#include <memory>
#include <mutex>

namespace tessary::server {

class PgConnection;
class PgPool;

// Accounts in PostgreSQL, shared by every server process on the database. Each rule that
// must hold across processes is one statement: a code is taken by the DELETE that returns it,
// a settings write is the UPDATE of the account's current version that names the version it
// was based on.
class PostgresAccountStore final : public AccountStore {
public:
    explicit PostgresAccountStore(std::shared_ptr<PgPool> pool);

    std::expected<bool, DataError> addAccount(
        const QString& email, const QString& passwordHash, const QDateTime& now) override;
    std::expected<std::optional<AccountRecord>, DataError> findAccount(const QString& email) const override;
    std::expected<QStringList, DataError> emails() const override;
    std::expected<bool, DataError> removeAccount(const QString& email) override;
    std::expected<bool, DataError> replacePassword(const QString& email, const QString& passwordHash) override;
    std::expected<void, DataError> addCode(
        const QString& digest, const CodeGrant& grant, const QDateTime& now) override;
    std::expected<std::optional<CodeGrant>, DataError> takeCode(const QString& digest) override;
    std::expected<void, DataError> addToken(const QString& digest, qint64 accountId, const QDateTime& now) override;
    std::expected<std::optional<AccountRecord>, DataError> accountForToken(const QString& digest) const override;
    std::expected<bool, DataError> removeToken(const QString& digest) override;
    std::expected<SettingsVersion, DataError> currentSettings(
        qint64 accountId, const QByteArray& initial, const QDateTime& now) override;
    std::expected<SettingsWrite, DataError> writeSettings(qint64 accountId, std::optional<qint64> basedOn,
        const QByteArray& document, const QByteArray& initial, const QDateTime& now, int kept) override;
    std::expected<QList<SettingsVersion>, DataError> settingsHistory(qint64 accountId) const override;
    std::expected<void, DataError> addSession(
        const QString& digest, qint64 accountId, const QDateTime& expiresAt, const QDateTime& now) override;
    std::expected<std::optional<AccountRecord>, DataError> accountForSession(
        const QString& digest, const QDateTime& now) const override;
    std::expected<void, DataError> removeSession(const QString& digest) override;
    std::expected<QByteArray, DataError> formSecret() override;
    std::expected<void, DataError> ping() const override;

private:
    // Runs one statement on a leased connection; how many rows it changed.
    std::expected<qint64, DataError> change(const char* sql, const class PgParams& params) const;
    std::expected<std::optional<AccountRecord>, DataError> account(const char* sql, const PgParams& params) const;
    // Stores `initial` as version 1 unless the account has a version already.
    std::expected<void, DataError> ensureSettings(qint64 accountId, const QByteArray& initial, const QDateTime& now);
    std::expected<std::optional<SettingsVersion>, DataError> newestSettings(qint64 accountId) const;

    std::shared_ptr<PgPool> m_pool;
    std::mutex m_secretMutex;
    QByteArray m_formSecret;
};

} // namespace tessary::server
