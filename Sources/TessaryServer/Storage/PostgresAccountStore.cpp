#include "PostgresAccountStore.h"

#include "PgPool.h"
#include "TessaryServer/Account/Secrets.h"

namespace tessary::server {

namespace {

constexpr auto formSecretName = "connect-form";

std::unexpected<DataError> unexpected(const DataError& error)
{
    return std::unexpected(error);
}

QDateTime instant(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

SettingsVersion settingsAt(const PgResult& rows, int row)
{
    return SettingsVersion { rows.integer(row, 0), instant(rows.integer(row, 1)), rows.bytes(row, 2) };
}

} // namespace

PostgresAccountStore::PostgresAccountStore(std::shared_ptr<PgPool> pool)
    : m_pool(std::move(pool))
{
}

std::expected<qint64, DataError> PostgresAccountStore::change(const char* sql, const PgParams& params) const
{
    const auto done = m_pool->lease()->query(sql, params);
    if (!done)
        return unexpected(done.error());
    return done->affected();
}

std::expected<std::optional<AccountRecord>, DataError> PostgresAccountStore::account(
    const char* sql, const PgParams& params) const
{
    const auto rows = m_pool->lease()->query(sql, params);
    if (!rows)
        return unexpected(rows.error());
    if (rows->rows() == 0)
        return std::nullopt;
    return AccountRecord { rows->integer(0, 0), rows->text(0, 1), rows->text(0, 2) };
}

std::expected<bool, DataError> PostgresAccountStore::addAccount(
    const QString& email, const QString& passwordHash, const QDateTime& now)
{
    const auto added = change("INSERT INTO accounts (email, password_hash, created_at) VALUES ($1, $2, $3) "
                              "ON CONFLICT (email) DO NOTHING",
        PgParams().add(email).add(passwordHash).add(now.toMSecsSinceEpoch()));
    if (!added)
        return unexpected(added.error());
    return *added == 1;
}

std::expected<std::optional<AccountRecord>, DataError> PostgresAccountStore::findAccount(const QString& email) const
{
    return account("SELECT id, email, password_hash FROM accounts WHERE email = $1", PgParams().add(email));
}

std::expected<QStringList, DataError> PostgresAccountStore::emails() const
{
    const auto rows = m_pool->lease()->query("SELECT email FROM accounts ORDER BY email");
    if (!rows)
        return unexpected(rows.error());
    QStringList emails;
    for (int row = 0; row < rows->rows(); ++row)
        emails.append(rows->text(row, 0));
    return emails;
}

std::expected<bool, DataError> PostgresAccountStore::removeAccount(const QString& email)
{
    const auto removed = change("DELETE FROM accounts WHERE email = $1", PgParams().add(email));
    if (!removed)
        return unexpected(removed.error());
    return *removed == 1;
}

std::expected<bool, DataError> PostgresAccountStore::replacePassword(const QString& email, const QString& passwordHash)
{
    return m_pool->inTransaction<bool>([&](PgConnection& connection) -> std::expected<bool, DataError> {
        const auto updated = connection.query("UPDATE accounts SET password_hash = $2 WHERE email = $1 RETURNING id",
            PgParams().add(email).add(passwordHash));
        if (!updated)
            return unexpected(updated.error());
        if (updated->rows() == 0)
            return false;
        const qint64 id = updated->integer(0, 0);
        for (const char* sql :
            { "DELETE FROM account_tokens WHERE account_id = $1", "DELETE FROM web_sessions WHERE account_id = $1" }) {
            if (const auto revoked = connection.query(sql, PgParams().add(id)); !revoked)
                return unexpected(revoked.error());
        }
        return true;
    });
}

std::expected<void, DataError> PostgresAccountStore::addCode(
    const QString& digest, const CodeGrant& grant, const QDateTime& now)
{
    if (const auto swept
        = change("DELETE FROM account_codes WHERE expires_at < $1", PgParams().add(now.toMSecsSinceEpoch()));
        !swept)
        return unexpected(swept.error());
    const auto added
        = change("INSERT INTO account_codes (code_hash, account_id, challenge, expires_at) VALUES ($1, $2, $3, $4)",
            PgParams().add(digest).add(grant.accountId).add(grant.challenge).add(grant.expiresAt.toMSecsSinceEpoch()));
    if (!added)
        return unexpected(added.error());
    return {};
}

std::expected<std::optional<CodeGrant>, DataError> PostgresAccountStore::takeCode(const QString& digest)
{
    // The row is gone for everyone once this DELETE returns it: of two processes redeeming
    // the same code, the second waits for the first's row lock and then finds nothing.
    const auto taken = m_pool->lease()->query(
        "DELETE FROM account_codes WHERE code_hash = $1 RETURNING account_id, challenge, expires_at",
        PgParams().add(digest));
    if (!taken)
        return unexpected(taken.error());
    if (taken->rows() == 0)
        return std::nullopt;
    return CodeGrant { taken->integer(0, 0), taken->text(0, 1), instant(taken->integer(0, 2)) };
}

std::expected<void, DataError> PostgresAccountStore::addToken(
    const QString& digest, qint64 accountId, const QDateTime& now)
{
    const auto added = change("INSERT INTO account_tokens (token_hash, account_id, created_at) VALUES ($1, $2, $3)",
        PgParams().add(digest).add(accountId).add(now.toMSecsSinceEpoch()));
    if (!added)
        return unexpected(added.error());
    return {};
}

std::expected<std::optional<AccountRecord>, DataError> PostgresAccountStore::accountForToken(
    const QString& digest) const
{
    return account("SELECT accounts.id, accounts.email, accounts.password_hash FROM account_tokens "
                   "JOIN accounts ON accounts.id = account_tokens.account_id WHERE account_tokens.token_hash = $1",
        PgParams().add(digest));
}

std::expected<bool, DataError> PostgresAccountStore::removeToken(const QString& digest)
{
    const auto removed = change("DELETE FROM account_tokens WHERE token_hash = $1", PgParams().add(digest));
    if (!removed)
        return unexpected(removed.error());
    return *removed == 1;
}

std::expected<void, DataError> PostgresAccountStore::ensureSettings(
    qint64 accountId, const QByteArray& initial, const QDateTime& now)
{
    // Whoever inserts the head also stores version 1; everyone else finds both there.
    const auto stored = change("WITH head AS (INSERT INTO account_settings_head (account_id, version) "
                               "VALUES ($1, 1) ON CONFLICT (account_id) DO NOTHING RETURNING version) "
                               "INSERT INTO account_settings (account_id, version, saved_at, document) "
                               "SELECT $1, version, $2, $3 FROM head",
        PgParams().add(accountId).add(now.toMSecsSinceEpoch()).addBytes(initial));
    if (!stored)
        return unexpected(stored.error());
    return {};
}

std::expected<std::optional<SettingsVersion>, DataError> PostgresAccountStore::newestSettings(qint64 accountId) const
{
    const auto rows = m_pool->lease()->query("SELECT s.version, s.saved_at, s.document FROM account_settings_head h "
                                             "JOIN account_settings s ON s.account_id = h.account_id "
                                             "AND s.version = h.version WHERE h.account_id = $1",
        PgParams().add(accountId));
    if (!rows)
        return unexpected(rows.error());
    if (rows->rows() == 0)
        return std::nullopt;
    return settingsAt(*rows, 0);
}

std::expected<SettingsVersion, DataError> PostgresAccountStore::currentSettings(
    qint64 accountId, const QByteArray& initial, const QDateTime& now)
{
    if (const auto newest = newestSettings(accountId); !newest || *newest)
        return newest ? std::expected<SettingsVersion, DataError>(**newest) : unexpected(newest.error());
    if (auto ensured = ensureSettings(accountId, initial, now); !ensured)
        return unexpected(ensured.error());
    const auto newest = newestSettings(accountId);
    if (!newest)
        return unexpected(newest.error());
    if (!*newest)
        return unexpected(DataError { QStringLiteral("the account is gone") });
    return **newest;
}

std::expected<SettingsWrite, DataError> PostgresAccountStore::writeSettings(qint64 accountId,
    std::optional<qint64> basedOn, const QByteArray& document, const QByteArray& initial, const QDateTime& now,
    int kept)
{
    if (auto ensured = ensureSettings(accountId, initial, now); !ensured)
        return unexpected(ensured.error());
    // The check and the write are one statement: the UPDATE moves the head only from the
    // version the client saw. A second writer on the same version waits for the first's row
    // lock, then finds the version changed and updates nothing. The same statement stores the
    // document and forgets versions beyond the newest `kept` (numbered without gaps).
    const auto written
        = m_pool->lease()->query("WITH head AS (UPDATE account_settings_head SET version = version + 1 "
                                 "WHERE account_id = $1 AND ($2::BIGINT IS NULL OR version = $2) RETURNING version), "
                                 "stored AS (INSERT INTO account_settings (account_id, version, saved_at, document) "
                                 "SELECT $1, version, $3, $4 FROM head RETURNING version), "
                                 "pruned AS (DELETE FROM account_settings WHERE account_id = $1 "
                                 "AND version <= (SELECT version - $5 FROM stored)) "
                                 "SELECT version FROM stored",
            PgParams().add(accountId).add(basedOn).add(now.toMSecsSinceEpoch()).addBytes(document).add(qint64(kept)));
    if (!written)
        return unexpected(written.error());
    if (written->rows() == 1)
        return SettingsWrite { true, SettingsVersion { written->integer(0, 0), now, document } };
    // Not written: the version that stood in the way, committed by the writer that won.
    const auto current = newestSettings(accountId);
    if (!current)
        return unexpected(current.error());
    if (!*current)
        return unexpected(DataError { QStringLiteral("the account is gone") });
    return SettingsWrite { false, **current };
}

std::expected<QList<SettingsVersion>, DataError> PostgresAccountStore::settingsHistory(qint64 accountId) const
{
    const auto rows = m_pool->lease()->query(
        "SELECT version, saved_at, document FROM account_settings WHERE account_id = $1 ORDER BY version DESC",
        PgParams().add(accountId));
    if (!rows)
        return unexpected(rows.error());
    QList<SettingsVersion> versions;
    for (int row = 0; row < rows->rows(); ++row)
        versions.append(settingsAt(*rows, row));
    return versions;
}

std::expected<void, DataError> PostgresAccountStore::addSession(
    const QString& digest, qint64 accountId, const QDateTime& expiresAt, const QDateTime& now)
{
    if (const auto swept
        = change("DELETE FROM web_sessions WHERE expires_at <= $1", PgParams().add(now.toMSecsSinceEpoch()));
        !swept)
        return unexpected(swept.error());
    const auto added = change("INSERT INTO web_sessions (session_hash, account_id, expires_at) VALUES ($1, $2, $3)",
        PgParams().add(digest).add(accountId).add(expiresAt.toMSecsSinceEpoch()));
    if (!added)
        return unexpected(added.error());
    return {};
}

std::expected<std::optional<AccountRecord>, DataError> PostgresAccountStore::accountForSession(
    const QString& digest, const QDateTime& now) const
{
    return account("SELECT accounts.id, accounts.email, accounts.password_hash FROM web_sessions "
                   "JOIN accounts ON accounts.id = web_sessions.account_id "
                   "WHERE web_sessions.session_hash = $1 AND web_sessions.expires_at > $2",
        PgParams().add(digest).add(now.toMSecsSinceEpoch()));
}

std::expected<void, DataError> PostgresAccountStore::removeSession(const QString& digest)
{
    if (const auto removed = change("DELETE FROM web_sessions WHERE session_hash = $1", PgParams().add(digest));
        !removed)
        return unexpected(removed.error());
    return {};
}

std::expected<QByteArray, DataError> PostgresAccountStore::formSecret()
{
    std::lock_guard lock(m_secretMutex);
    if (!m_formSecret.isEmpty())
        return m_formSecret;
    // Whichever process comes first makes the secret; the others read that one.
    const QString name = QString::fromLatin1(formSecretName);
    const auto rows = m_pool->lease()->query(
        "WITH made AS (INSERT INTO server_secrets (name, value) VALUES ($1, $2) ON CONFLICT (name) DO NOTHING "
        "RETURNING value) SELECT value FROM made UNION ALL SELECT value FROM server_secrets WHERE name = $1",
        PgParams().add(name).add(newSecret()));
    if (!rows)
        return unexpected(rows.error());
    if (rows->rows() == 0)
        return unexpected(DataError { QStringLiteral("the form secret is missing") });
    m_formSecret = QByteArray::fromBase64(rows->text(0, 0).toLatin1(), QByteArray::Base64UrlEncoding);
    return m_formSecret;
}

std::expected<void, DataError> PostgresAccountStore::ping() const
{
    if (const auto answer = m_pool->lease()->query("SELECT 1"); !answer)
        return unexpected(answer.error());
    return {};
}

} // namespace tessary::server
