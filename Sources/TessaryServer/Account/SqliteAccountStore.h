#pragma once

#include "AccountStore.h"

#include <functional>
#include <memory>
#include <mutex>

struct sqlite3;

namespace tessary::server {

// Accounts in the server's SQLite store file, on their own connection beside the market's.
// Each call is one statement (or one transaction), so `tessary-server account …` may change
// accounts while a server process on the same file serves them.
class SqliteAccountStore final : public AccountStore {
public:
    static std::expected<std::unique_ptr<SqliteAccountStore>, DataError> open(const QString& directory);
    // A store that lives as long as the object: for a server whose market is held in memory.
    static std::expected<std::unique_ptr<SqliteAccountStore>, DataError> openInMemory();
    ~SqliteAccountStore() override;
    SqliteAccountStore(const SqliteAccountStore&) = delete;
    SqliteAccountStore& operator=(const SqliteAccountStore&) = delete;

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
    explicit SqliteAccountStore(sqlite3* connection);
    // Runs one statement binding `texts` to ?1, ?2, …; returns how many rows it changed.
    std::expected<int, DataError> change(const char* sql, const QStringList& texts);
    // The account row `sql` selects with `key` as ?1 (and `second`, when given, as ?2).
    std::expected<std::optional<AccountRecord>, DataError> account(
        const char* sql, const QString& key, std::optional<qint64> second = std::nullopt) const;
    // Runs `work` in a write transaction: committed when it succeeds, rolled back otherwise.
    template <typename T>
    std::expected<T, DataError> inTransaction(const std::function<std::expected<T, DataError>()>& work);
    std::expected<std::optional<SettingsVersion>, DataError> newestSettings(qint64 accountId) const;
    std::expected<void, DataError> insertSettings(qint64 accountId, const SettingsVersion& settings);
    // The newest version, after storing `initial` as version 1 when there is none; call
    // inside a write transaction.
    std::expected<SettingsVersion, DataError> latestSettings(
        qint64 accountId, const QByteArray& initial, const QDateTime& now);

    sqlite3* m_connection = nullptr;
    mutable std::recursive_mutex m_mutex;
    QByteArray m_formSecret;
};

} // namespace tessary::server
