#include "Accounts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <type_traits>

#include "Secrets.h"

namespace tessary::server {

namespace {

std::unexpected<AccountError> refuse(AccountError::Kind kind, QString detail = {})
{
    return std::unexpected(AccountError { kind, std::move(detail) });
}

// Lifts a store result into the account errors.
template <typename T> std::expected<T, AccountError> stored(std::expected<T, DataError> result)
{
    if (!result)
        return refuse(AccountError::Kind::failure, result.error().description());
    if constexpr (std::is_void_v<T>)
        return {};
    else
        return std::move(*result);
}

// Something@something.something without spaces or control characters: enough to catch a
// typo or a swapped argument, without pretending to validate deliverability.
const QRegularExpression emailPattern(QStringLiteral(R"(^[^\s@]+@[^\s@]+\.[^\s@]+$)"));
constexpr qsizetype longestEmail = 254;

// An unknown address is checked against this so it costs as much as a wrong password.
const QString& decoyHash()
{
    static const QString hash = hashPassword(newSecret()).value_or(QString());
    return hash;
}

struct NewCredentials {
    QString address;
    QString passwordHash;
};

// What `add` and `resetPassword` store: the normalised address and the new password's hash.
std::expected<NewCredentials, AccountError> newCredentials(const QString& email, const QString& password)
{
    const auto address = Accounts::normalisedEmail(email);
    if (!address)
        return std::unexpected(address.error());
    if (auto checked = Accounts::checkPassword(password); !checked)
        return std::unexpected(checked.error());
    const auto hash = hashPassword(password);
    if (!hash)
        return std::unexpected(hash.error());
    return NewCredentials { *address, *hash };
}

} // namespace

Accounts::Accounts(std::unique_ptr<AccountStore> store, Clock clock)
    : m_store(std::move(store))
    , m_clock(std::move(clock))
{
}

std::expected<QString, AccountError> Accounts::normalisedEmail(const QString& email)
{
    const QString normalised = email.trimmed().toLower();
    if (normalised.size() > longestEmail || !emailPattern.match(normalised).hasMatch())
        return refuse(AccountError::Kind::invalidEmail, email);
    return normalised;
}

std::expected<void, AccountError> Accounts::checkPassword(const QString& password)
{
    if (password.size() < minimumPasswordLength)
        return refuse(AccountError::Kind::shortPassword);
    return {};
}

std::expected<void, AccountError> Accounts::add(const QString& email, const QString& password)
{
    const auto credentials = newCredentials(email, password);
    if (!credentials)
        return std::unexpected(credentials.error());
    const auto added = stored(m_store->addAccount(credentials->address, credentials->passwordHash, m_clock()));
    if (!added)
        return std::unexpected(added.error());
    if (!*added)
        return refuse(AccountError::Kind::emailTaken, credentials->address);
    return {};
}

std::expected<bool, AccountError> Accounts::exists(const QString& email) const
{
    const auto account = existing(email);
    if (!account && account.error().kind != AccountError::Kind::unknownAccount)
        return std::unexpected(account.error());
    return account.has_value();
}

std::expected<QStringList, AccountError> Accounts::emails() const
{
    return stored(m_store->emails());
}

std::expected<void, AccountError> Accounts::remove(const QString& email)
{
    const auto address = normalisedEmail(email);
    if (!address)
        return std::unexpected(address.error());
    const auto removed = stored(m_store->removeAccount(*address));
    if (!removed)
        return std::unexpected(removed.error());
    if (!*removed)
        return refuse(AccountError::Kind::unknownAccount, *address);
    return {};
}

std::expected<void, AccountError> Accounts::resetPassword(const QString& email, const QString& password)
{
    const auto credentials = newCredentials(email, password);
    if (!credentials)
        return std::unexpected(credentials.error());
    const auto replaced = stored(m_store->replacePassword(credentials->address, credentials->passwordHash));
    if (!replaced)
        return std::unexpected(replaced.error());
    if (!*replaced)
        return refuse(AccountError::Kind::unknownAccount, credentials->address);
    return {};
}

std::expected<AccountRecord, AccountError> Accounts::signIn(const QString& email, const QString& password) const
{
    const auto address = normalisedEmail(email);
    std::expected<std::optional<AccountRecord>, AccountError> found = std::nullopt;
    if (address)
        found = stored(m_store->findAccount(*address));
    if (!found)
        return std::unexpected(found.error());
    const bool matches = passwordMatches(*found ? (*found)->passwordHash : decoyHash(), password);
    if (!*found || !matches)
        return refuse(AccountError::Kind::wrongCredentials);
    return **found;
}

std::expected<QString, AccountError> Accounts::issueCode(qint64 accountId, const QString& challenge)
{
    const QString code = newSecret();
    const QDateTime now = m_clock();
    const CodeGrant grant { accountId, challenge, now.addDuration(codeLifetime) };
    if (auto added = stored(m_store->addCode(secretDigest(code), grant, now)); !added)
        return std::unexpected(added.error());
    return code;
}

std::expected<QString, AccountError> Accounts::redeemCode(const QString& code, const QString& verifier)
{
    const auto grant = stored(m_store->takeCode(secretDigest(code)));
    if (!grant)
        return std::unexpected(grant.error());
    if (!*grant)
        return refuse(AccountError::Kind::unknownCode);
    if (m_clock() > (*grant)->expiresAt)
        return refuse(AccountError::Kind::expiredCode);
    if (!equalSecrets(s256Challenge(verifier).toLatin1(), (*grant)->challenge.toLatin1()))
        return refuse(AccountError::Kind::wrongVerifier);
    const QString token = newSecret();
    if (auto added = stored(m_store->addToken(secretDigest(token), (*grant)->accountId, m_clock())); !added)
        return std::unexpected(added.error());
    return token;
}

std::expected<AccountRecord, AccountError> Accounts::accountForToken(const QString& token) const
{
    const auto found = stored(m_store->accountForToken(secretDigest(token)));
    if (!found)
        return std::unexpected(found.error());
    if (!*found)
        return refuse(AccountError::Kind::unauthorized);
    return **found;
}

std::expected<void, AccountError> Accounts::revokeToken(const QString& token)
{
    const auto removed = stored(m_store->removeToken(secretDigest(token)));
    if (!removed)
        return std::unexpected(removed.error());
    if (!*removed)
        return refuse(AccountError::Kind::unauthorized);
    return {};
}

std::expected<AccountRecord, AccountError> Accounts::existing(const QString& email) const
{
    const auto address = normalisedEmail(email);
    if (!address)
        return std::unexpected(address.error());
    const auto found = stored(m_store->findAccount(*address));
    if (!found)
        return std::unexpected(found.error());
    if (!*found)
        return refuse(AccountError::Kind::unknownAccount, *address);
    return **found;
}

QByteArray Accounts::initialSettings() const
{
    // The time as the lists keep theirs: milliseconds since 1970.
    const QJsonObject document { { QStringLiteral("comparisonSets"), QJsonArray() },
        { QStringLiteral("activeSetId"), QJsonValue::Null },
        { QStringLiteral("updatedAt"), m_clock().toMSecsSinceEpoch() } };
    return QJsonDocument(document).toJson(QJsonDocument::Compact);
}

std::expected<SettingsVersion, AccountError> Accounts::settings(qint64 accountId)
{
    return stored(m_store->currentSettings(accountId, initialSettings(), m_clock()));
}

std::expected<SettingsWrite, AccountError> Accounts::replaceSettings(
    qint64 accountId, std::optional<qint64> basedOn, const QByteArray& document)
{
    if (document.size() > largestSettingsDocument)
        return refuse(AccountError::Kind::settingsTooLarge);
    if (!QJsonDocument::fromJson(document).isObject())
        return refuse(AccountError::Kind::settingsNotAnObject);
    return stored(
        m_store->writeSettings(accountId, basedOn, document, initialSettings(), m_clock(), keptSettingsVersions));
}

std::expected<QList<SettingsVersion>, AccountError> Accounts::settingsHistory(const QString& email)
{
    const auto account = existing(email);
    if (!account)
        return std::unexpected(account.error());
    return stored(m_store->settingsHistory(account->id));
}

std::expected<SettingsVersion, AccountError> Accounts::restoreSettings(const QString& email, qint64 version)
{
    const auto account = existing(email);
    if (!account)
        return std::unexpected(account.error());
    const auto history = stored(m_store->settingsHistory(account->id));
    if (!history)
        return std::unexpected(history.error());
    const auto kept = std::ranges::find(*history, version, &SettingsVersion::version);
    if (kept == history->end())
        return refuse(AccountError::Kind::unknownVersion, QString::number(version));
    const auto written = stored(m_store->writeSettings(
        account->id, std::nullopt, kept->document, initialSettings(), m_clock(), keptSettingsVersions));
    if (!written)
        return std::unexpected(written.error());
    return written->current;
}

std::expected<QString, AccountError> Accounts::openSession(qint64 accountId)
{
    const QString session = newSecret();
    const QDateTime now = m_clock();
    if (auto added
        = stored(m_store->addSession(secretDigest(session), accountId, now.addDuration(sessionLifetime), now));
        !added)
        return std::unexpected(added.error());
    return session;
}

std::expected<AccountRecord, AccountError> Accounts::accountForSession(const QString& session) const
{
    const auto found = stored(m_store->accountForSession(secretDigest(session), m_clock()));
    if (!found)
        return std::unexpected(found.error());
    if (!*found)
        return refuse(AccountError::Kind::unauthorized);
    return **found;
}

std::expected<void, AccountError> Accounts::closeSession(const QString& session)
{
    return stored(m_store->removeSession(secretDigest(session)));
}

std::expected<QByteArray, AccountError> Accounts::formSecret()
{
    return stored(m_store->formSecret());
}

} // namespace tessary::server
