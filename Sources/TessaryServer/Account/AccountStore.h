#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <expected>
#include <optional>

#include "TessaryServer/Data/DataError.h"

namespace tessary::server {

struct AccountRecord {
    qint64 id = 0;
    QString email; // normalised: trimmed, lower case
    QString passwordHash; // libsodium's encoded Argon2id string
};

// What a one-time code was issued for.
struct CodeGrant {
    qint64 accountId = 0;
    QString challenge; // the PKCE S256 challenge the browser request carried
    QDateTime expiresAt;
};

// One stored version of an account's settings document, exactly as it was sent.
struct SettingsVersion {
    qint64 version = 0;
    QDateTime savedAt;
    QByteArray document;
};

// The outcome of a conditional write: whether it was stored, and the version that is current
// afterwards (the new one, or the one that stood in the way).
struct SettingsWrite {
    bool written = false;
    SettingsVersion current;
};

// Where accounts, their one-time codes and their bearer tokens are kept. Codes and tokens
// arrive here already hashed (`digest`); the store never sees them in the clear. The
// interface is only as wide as the account rules need, so a second backend stays small.
class AccountStore {
public:
    virtual ~AccountStore() = default;

    // False when the address is taken.
    virtual std::expected<bool, DataError> addAccount(
        const QString& email, const QString& passwordHash, const QDateTime& now)
        = 0;
    virtual std::expected<std::optional<AccountRecord>, DataError> findAccount(const QString& email) const = 0;
    // Every address, sorted.
    virtual std::expected<QStringList, DataError> emails() const = 0;
    // False when unknown. Its codes and tokens go with it.
    virtual std::expected<bool, DataError> removeAccount(const QString& email) = 0;
    // False when unknown. Every token and browser session of the account ends with the old
    // password.
    virtual std::expected<bool, DataError> replacePassword(const QString& email, const QString& passwordHash) = 0;

    // Also forgets codes that expired before `now`.
    virtual std::expected<void, DataError> addCode(const QString& digest, const CodeGrant& grant, const QDateTime& now)
        = 0;
    // Removes the code and hands back what it was issued for: a code is spent by its first use.
    virtual std::expected<std::optional<CodeGrant>, DataError> takeCode(const QString& digest) = 0;

    virtual std::expected<void, DataError> addToken(const QString& digest, qint64 accountId, const QDateTime& now) = 0;
    virtual std::expected<std::optional<AccountRecord>, DataError> accountForToken(const QString& digest) const = 0;
    // False when the token was unknown.
    virtual std::expected<bool, DataError> removeToken(const QString& digest) = 0;

    // The account's current settings. An account that has none yet gets `initial` stored as
    // version 1 first, so every account always has a current version.
    virtual std::expected<SettingsVersion, DataError> currentSettings(
        qint64 accountId, const QByteArray& initial, const QDateTime& now)
        = 0;
    // Stores `document` as the next version if the current one is `basedOn` (any version when
    // nothing), and forgets all but the newest `kept` versions; one transaction, so of two
    // writers based on the same version exactly one succeeds, across processes too.
    virtual std::expected<SettingsWrite, DataError> writeSettings(qint64 accountId, std::optional<qint64> basedOn,
        const QByteArray& document, const QByteArray& initial, const QDateTime& now, int kept)
        = 0;
    // Every kept version, newest first.
    virtual std::expected<QList<SettingsVersion>, DataError> settingsHistory(qint64 accountId) const = 0;

    // A browser session of the lists page, until `expiresAt`. Also forgets expired ones.
    virtual std::expected<void, DataError> addSession(
        const QString& digest, qint64 accountId, const QDateTime& expiresAt, const QDateTime& now)
        = 0;
    virtual std::expected<std::optional<AccountRecord>, DataError> accountForSession(
        const QString& digest, const QDateTime& now) const = 0;
    virtual std::expected<void, DataError> removeSession(const QString& digest) = 0;

    // A random key made on first use and then kept, so every server process on this store
    // signs the connect page's forms alike.
    virtual std::expected<QByteArray, DataError> formSecret() = 0;

    // Whether the database answers at all: what a load balancer's health check asks.
    virtual std::expected<void, DataError> ping() const = 0;
};

} // namespace tessary::server
