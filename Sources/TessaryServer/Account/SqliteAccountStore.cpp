#include "SqliteAccountStore.h"

#include <sqlite3.h>

#include "Secrets.h"
#include "TessaryServer/Data/Statement.h"
#include "TessaryServer/Data/StoreFile.h"

namespace tessary::server {

namespace {

constexpr auto formSecretName = "connect-form";

std::unexpected<DataError> unexpected(const DataError& error)
{
    return std::unexpected(error);
}

} // namespace

std::expected<std::unique_ptr<SqliteAccountStore>, DataError> SqliteAccountStore::open(const QString& directory)
{
    auto connection = openStoreFile(directory);
    if (!connection)
        return unexpected(connection.error());
    return std::unique_ptr<SqliteAccountStore>(new SqliteAccountStore(*connection));
}

std::expected<std::unique_ptr<SqliteAccountStore>, DataError> SqliteAccountStore::openInMemory()
{
    auto connection = openStoreInMemory();
    if (!connection)
        return unexpected(connection.error());
    return std::unique_ptr<SqliteAccountStore>(new SqliteAccountStore(*connection));
}

SqliteAccountStore::SqliteAccountStore(sqlite3* connection)
    : m_connection(connection)
{
}

SqliteAccountStore::~SqliteAccountStore()
{
    sqlite3_close(m_connection);
}

template <typename T>
std::expected<T, DataError> SqliteAccountStore::inTransaction(const std::function<std::expected<T, DataError>()>& work)
{
    std::lock_guard lock(m_mutex);
    // IMMEDIATE takes the write lock at once: another process's writer waits for this one
    // instead of both reading the same state and one failing at its first write.
    if (auto begun = execute(m_connection, "BEGIN IMMEDIATE"); !begun)
        return unexpected(begun.error());
    auto result = work();
    if (result) {
        if (auto committed = execute(m_connection, "COMMIT"); !committed)
            result = unexpected(committed.error());
    }
    if (!result)
        execute(m_connection, "ROLLBACK");
    return result;
}

std::expected<int, DataError> SqliteAccountStore::change(const char* sql, const QStringList& texts)
{
    std::lock_guard lock(m_mutex);
    auto statement = Statement::prepare(m_connection, sql);
    if (!statement)
        return unexpected(statement.error());
    for (int index = 0; index < texts.size(); ++index)
        statement->bind(index + 1, texts[index]);
    if (auto done = statement->run(); !done)
        return unexpected(done.error());
    return sqlite3_changes(m_connection);
}

std::expected<std::optional<AccountRecord>, DataError> SqliteAccountStore::account(
    const char* sql, const QString& key, std::optional<qint64> second) const
{
    std::lock_guard lock(m_mutex);
    auto query = Statement::prepare(m_connection, sql);
    if (!query)
        return unexpected(query.error());
    query->bind(1, key);
    if (second)
        query->bind(2, *second);
    if (!query->next()) {
        if (const auto error = query->error())
            return unexpected(*error);
        return std::nullopt;
    }
    return AccountRecord { query->integer(0), query->text(1), query->text(2) };
}

std::expected<bool, DataError> SqliteAccountStore::addAccount(
    const QString& email, const QString& passwordHash, const QDateTime& now)
{
    std::lock_guard lock(m_mutex);
    auto statement = Statement::prepare(m_connection,
        "INSERT INTO accounts (email, password_hash, created_at) VALUES (?, ?, ?) ON CONFLICT (email) DO NOTHING");
    if (!statement)
        return unexpected(statement.error());
    statement->bind(1, email);
    statement->bind(2, passwordHash);
    statement->bind(3, now.toMSecsSinceEpoch());
    if (auto done = statement->run(); !done)
        return unexpected(done.error());
    return sqlite3_changes(m_connection) == 1;
}

std::expected<std::optional<AccountRecord>, DataError> SqliteAccountStore::findAccount(const QString& email) const
{
    return account("SELECT id, email, password_hash FROM accounts WHERE email = ?", email);
}

std::expected<QStringList, DataError> SqliteAccountStore::emails() const
{
    std::lock_guard lock(m_mutex);
    auto query = Statement::prepare(m_connection, "SELECT email FROM accounts ORDER BY email");
    if (!query)
        return unexpected(query.error());
    QStringList emails;
    while (query->next())
        emails.append(query->text(0));
    if (const auto error = query->error())
        return unexpected(*error);
    return emails;
}

std::expected<bool, DataError> SqliteAccountStore::removeAccount(const QString& email)
{
    const auto removed = change("DELETE FROM accounts WHERE email = ?1", { email });
    if (!removed)
        return unexpected(removed.error());
    return *removed == 1;
}

std::expected<bool, DataError> SqliteAccountStore::replacePassword(const QString& email, const QString& passwordHash)
{
    return inTransaction<bool>([&]() -> std::expected<bool, DataError> {
        const auto updated = change("UPDATE accounts SET password_hash = ?2 WHERE email = ?1", { email, passwordHash });
        if (!updated)
            return unexpected(updated.error());
        if (*updated == 0)
            return false;
        for (const char* sql :
            { "DELETE FROM account_tokens WHERE account_id = (SELECT id FROM accounts WHERE email = ?1)",
                "DELETE FROM web_sessions WHERE account_id = (SELECT id FROM accounts WHERE email = ?1)" }) {
            if (const auto revoked = change(sql, { email }); !revoked)
                return unexpected(revoked.error());
        }
        return true;
    });
}

std::expected<void, DataError> SqliteAccountStore::addCode(
    const QString& digest, const CodeGrant& grant, const QDateTime& now)
{
    std::lock_guard lock(m_mutex);
    if (auto swept
        = change("DELETE FROM account_codes WHERE expires_at < ?1", { QString::number(now.toMSecsSinceEpoch()) });
        !swept)
        return unexpected(swept.error());
    auto insert = Statement::prepare(
        m_connection, "INSERT INTO account_codes (code_hash, account_id, challenge, expires_at) VALUES (?, ?, ?, ?)");
    if (!insert)
        return unexpected(insert.error());
    insert->bind(1, digest);
    insert->bind(2, grant.accountId);
    insert->bind(3, grant.challenge);
    insert->bind(4, grant.expiresAt.toMSecsSinceEpoch());
    return insert->run();
}

std::expected<std::optional<CodeGrant>, DataError> SqliteAccountStore::takeCode(const QString& digest)
{
    std::lock_guard lock(m_mutex);
    // One statement finds and deletes the code, so of two processes redeeming the same code
    // at once only one gets it.
    auto taken = Statement::prepare(
        m_connection, "DELETE FROM account_codes WHERE code_hash = ? RETURNING account_id, challenge, expires_at");
    if (!taken)
        return unexpected(taken.error());
    taken->bind(1, digest);
    if (!taken->next()) {
        if (const auto error = taken->error())
            return unexpected(*error);
        return std::nullopt;
    }
    CodeGrant grant { taken->integer(0), taken->text(1), QDateTime::fromMSecsSinceEpoch(taken->integer(2), Qt::UTC) };
    // Stepping to the end commits the deletion.
    while (taken->next()) { }
    if (const auto error = taken->error())
        return unexpected(*error);
    return grant;
}

std::expected<void, DataError> SqliteAccountStore::addToken(
    const QString& digest, qint64 accountId, const QDateTime& now)
{
    std::lock_guard lock(m_mutex);
    auto insert = Statement::prepare(
        m_connection, "INSERT INTO account_tokens (token_hash, account_id, created_at) VALUES (?, ?, ?)");
    if (!insert)
        return unexpected(insert.error());
    insert->bind(1, digest);
    insert->bind(2, accountId);
    insert->bind(3, now.toMSecsSinceEpoch());
    return insert->run();
}

std::expected<std::optional<AccountRecord>, DataError> SqliteAccountStore::accountForToken(const QString& digest) const
{
    return account("SELECT accounts.id, accounts.email, accounts.password_hash FROM account_tokens "
                   "JOIN accounts ON accounts.id = account_tokens.account_id WHERE account_tokens.token_hash = ?",
        digest);
}

std::expected<bool, DataError> SqliteAccountStore::removeToken(const QString& digest)
{
    const auto removed = change("DELETE FROM account_tokens WHERE token_hash = ?1", { digest });
    if (!removed)
        return unexpected(removed.error());
    return *removed == 1;
}

std::expected<std::optional<SettingsVersion>, DataError> SqliteAccountStore::newestSettings(qint64 accountId) const
{
    std::lock_guard lock(m_mutex);
    auto query = Statement::prepare(m_connection,
        "SELECT version, saved_at, document FROM account_settings WHERE account_id = ? ORDER BY version DESC LIMIT 1");
    if (!query)
        return unexpected(query.error());
    query->bind(1, accountId);
    if (!query->next()) {
        if (const auto error = query->error())
            return unexpected(*error);
        return std::nullopt;
    }
    return SettingsVersion { query->integer(0), QDateTime::fromMSecsSinceEpoch(query->integer(1), Qt::UTC),
        query->bytes(2) };
}

std::expected<void, DataError> SqliteAccountStore::insertSettings(qint64 accountId, const SettingsVersion& settings)
{
    auto insert = Statement::prepare(
        m_connection, "INSERT INTO account_settings (account_id, version, saved_at, document) VALUES (?, ?, ?, ?)");
    if (!insert)
        return unexpected(insert.error());
    insert->bind(1, accountId);
    insert->bind(2, settings.version);
    insert->bind(3, settings.savedAt.toMSecsSinceEpoch());
    insert->bindBytes(4, settings.document);
    return insert->run();
}

std::expected<SettingsVersion, DataError> SqliteAccountStore::latestSettings(
    qint64 accountId, const QByteArray& initial, const QDateTime& now)
{
    const auto newest = newestSettings(accountId);
    if (!newest)
        return unexpected(newest.error());
    if (*newest)
        return **newest;
    const SettingsVersion first { 1, now, initial };
    if (auto inserted = insertSettings(accountId, first); !inserted)
        return unexpected(inserted.error());
    return first;
}

std::expected<SettingsVersion, DataError> SqliteAccountStore::currentSettings(
    qint64 accountId, const QByteArray& initial, const QDateTime& now)
{
    // Reading needs no write lock; only an account's very first read stores its first version.
    const auto newest = newestSettings(accountId);
    if (!newest)
        return unexpected(newest.error());
    if (*newest)
        return **newest;
    return inTransaction<SettingsVersion>([&] { return latestSettings(accountId, initial, now); });
}

std::expected<SettingsWrite, DataError> SqliteAccountStore::writeSettings(qint64 accountId,
    std::optional<qint64> basedOn, const QByteArray& document, const QByteArray& initial, const QDateTime& now,
    int kept)
{
    return inTransaction<SettingsWrite>([&]() -> std::expected<SettingsWrite, DataError> {
        const auto latest = latestSettings(accountId, initial, now);
        if (!latest)
            return unexpected(latest.error());
        if (basedOn && *basedOn != latest->version)
            return SettingsWrite { false, *latest };
        const SettingsVersion next { latest->version + 1, now, document };
        if (auto inserted = insertSettings(accountId, next); !inserted)
            return unexpected(inserted.error());
        // Versions are numbered without gaps, so this keeps exactly the newest `kept`.
        auto prune
            = Statement::prepare(m_connection, "DELETE FROM account_settings WHERE account_id = ? AND version <= ?");
        if (!prune)
            return unexpected(prune.error());
        prune->bind(1, accountId);
        prune->bind(2, next.version - kept);
        if (auto pruned = prune->run(); !pruned)
            return unexpected(pruned.error());
        return SettingsWrite { true, next };
    });
}

std::expected<QList<SettingsVersion>, DataError> SqliteAccountStore::settingsHistory(qint64 accountId) const
{
    std::lock_guard lock(m_mutex);
    auto query = Statement::prepare(m_connection,
        "SELECT version, saved_at, document FROM account_settings WHERE account_id = ? ORDER BY version DESC");
    if (!query)
        return unexpected(query.error());
    query->bind(1, accountId);
    QList<SettingsVersion> versions;
    while (query->next()) {
        versions.append(SettingsVersion {
            query->integer(0), QDateTime::fromMSecsSinceEpoch(query->integer(1), Qt::UTC), query->bytes(2) });
    }
    if (const auto error = query->error())
        return unexpected(*error);
    return versions;
}

std::expected<void, DataError> SqliteAccountStore::addSession(
    const QString& digest, qint64 accountId, const QDateTime& expiresAt, const QDateTime& now)
{
    std::lock_guard lock(m_mutex);
    if (auto swept
        = change("DELETE FROM web_sessions WHERE expires_at <= ?1", { QString::number(now.toMSecsSinceEpoch()) });
        !swept)
        return unexpected(swept.error());
    auto insert = Statement::prepare(
        m_connection, "INSERT INTO web_sessions (session_hash, account_id, expires_at) VALUES (?, ?, ?)");
    if (!insert)
        return unexpected(insert.error());
    insert->bind(1, digest);
    insert->bind(2, accountId);
    insert->bind(3, expiresAt.toMSecsSinceEpoch());
    return insert->run();
}

std::expected<std::optional<AccountRecord>, DataError> SqliteAccountStore::accountForSession(
    const QString& digest, const QDateTime& now) const
{
    return account("SELECT accounts.id, accounts.email, accounts.password_hash FROM web_sessions "
                   "JOIN accounts ON accounts.id = web_sessions.account_id "
                   "WHERE web_sessions.session_hash = ?1 AND web_sessions.expires_at > ?2",
        digest, now.toMSecsSinceEpoch());
}

std::expected<void, DataError> SqliteAccountStore::removeSession(const QString& digest)
{
    if (const auto removed = change("DELETE FROM web_sessions WHERE session_hash = ?1", { digest }); !removed)
        return unexpected(removed.error());
    return {};
}

std::expected<QByteArray, DataError> SqliteAccountStore::formSecret()
{
    std::lock_guard lock(m_mutex);
    if (!m_formSecret.isEmpty())
        return m_formSecret;
    // Whichever process comes first makes the secret; the others read that one.
    const QString name = QString::fromLatin1(formSecretName);
    if (auto made = change("INSERT INTO server_secrets (name, value) VALUES (?1, ?2) ON CONFLICT (name) DO NOTHING",
            { name, newSecret() });
        !made)
        return unexpected(made.error());
    auto query = Statement::prepare(m_connection, "SELECT value FROM server_secrets WHERE name = ?");
    if (!query)
        return unexpected(query.error());
    query->bind(1, name);
    if (!query->next())
        return unexpected(query->error().value_or(DataError { QStringLiteral("the form secret is missing") }));
    m_formSecret = QByteArray::fromBase64(query->text(0).toLatin1(), QByteArray::Base64UrlEncoding);
    return m_formSecret;
}

std::expected<void, DataError> SqliteAccountStore::ping() const
{
    std::lock_guard lock(m_mutex);
    auto query = Statement::prepare(m_connection, "SELECT 1");
    if (!query)
        return unexpected(query.error());
    query->next();
    if (const auto error = query->error())
        return unexpected(*error);
    return {};
}

} // namespace tessary::server
