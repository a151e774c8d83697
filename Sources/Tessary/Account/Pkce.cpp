#include "Pkce.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

#include <vector>

namespace tessary::Pkce {

QString urlSafeBase64(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString randomText(int count)
{
    // The system generator reads the kernel's source (getrandom); the default one is seeded
    // once and must never make secrets.
    std::vector<quint32> words(static_cast<std::size_t>((count + 3) / 4));
    QRandomGenerator::system()->fillRange(words.data(), static_cast<qsizetype>(words.size()));
    const QByteArray bytes(reinterpret_cast<const char*>(words.data()), count);
    return urlSafeBase64(bytes);
}

QString makeVerifier()
{
    return randomText(32);
}

QString challenge(const QString& verifier)
{
    return urlSafeBase64(QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256));
}

QString makeState()
{
    return randomText(24);
}

} // namespace tessary::Pkce
