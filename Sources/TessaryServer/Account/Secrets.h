#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <expected>

#include "AccountError.h"

namespace tessary::server {

// URL-safe base64 without padding, as PKCE and the app write it.
QString base64Url(QByteArrayView bytes);

// The PKCE S256 challenge of a verifier: base64url(SHA-256(verifier)).
QString s256Challenge(const QString& verifier);

// 32 bytes from the system's secure random source, base64url: codes, tokens, keys.
QString newSecret();

// What the store keeps of a code or token: its SHA-256 in hex. The secret itself is only
// ever handed out.
QString secretDigest(const QString& secret);

// Compares in time that does not depend on where the inputs first differ.
bool equalSecrets(QByteArrayView first, QByteArrayView second);

// Argon2id at libsodium's interactive limits, in libsodium's self-describing string form
// (algorithm, parameters, salt, hash).
std::expected<QString, AccountError> hashPassword(const QString& password);
bool passwordMatches(const QString& passwordHash, const QString& password);

} // namespace tessary::server
