#include "Secrets.h"

#include <QCryptographicHash>

#include <array>
#include <sodium.h>

namespace tessary::server {

namespace {

// sodium_init is idempotent and thread-safe; it only has to run before the first call.
bool sodiumReady()
{
    static const bool ready = sodium_init() >= 0;
    return ready;
}

} // namespace

QString base64Url(QByteArrayView bytes)
{
    return QString::fromLatin1(
        bytes.toByteArray().toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString s256Challenge(const QString& verifier)
{
    return base64Url(QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256));
}

QString newSecret()
{
    std::array<unsigned char, 32> bytes {};
    // The random source works even where the rest of libsodium could not start (it reads
    // getrandom), so the result of the start is not needed here.
    sodiumReady();
    randombytes_buf(bytes.data(), bytes.size());
    return base64Url(QByteArrayView(bytes.data(), bytes.size()));
}

QString secretDigest(const QString& secret)
{
    return QString::fromLatin1(QCryptographicHash::hash(secret.toUtf8(), QCryptographicHash::Sha256).toHex());
}

bool equalSecrets(QByteArrayView first, QByteArrayView second)
{
    return first.size() == second.size() && sodium_memcmp(first.data(), second.data(), first.size()) == 0;
}

std::expected<QString, AccountError> hashPassword(const QString& password)
{
    const QByteArray utf8 = password.toUtf8();
    std::array<char, crypto_pwhash_STRBYTES> hash {};
    if (!sodiumReady()
        || crypto_pwhash_str_alg(hash.data(), utf8.constData(), static_cast<unsigned long long>(utf8.size()),
               crypto_pwhash_OPSLIMIT_INTERACTIVE, crypto_pwhash_MEMLIMIT_INTERACTIVE, crypto_pwhash_ALG_ARGON2ID13)
            != 0)
        return std::unexpected(
            AccountError { AccountError::Kind::failure, QStringLiteral("the password could not be hashed") });
    return QString::fromLatin1(hash.data());
}

bool passwordMatches(const QString& passwordHash, const QString& password)
{
    const QByteArray hash = passwordHash.toLatin1();
    const QByteArray utf8 = password.toUtf8();
    return sodiumReady()
        && crypto_pwhash_str_verify(hash.constData(), utf8.constData(), static_cast<unsigned long long>(utf8.size()))
        == 0;
}

} // namespace tessary::server
