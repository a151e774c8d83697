#pragma once

#include <QByteArray>
#include <QString>

namespace tessary::Pkce {

// Base64 made safe for URLs and query strings: "-" and "_" for "+" and "/", no "=" padding.
QString urlSafeBase64(const QByteArray& bytes);
// `count` bytes from the operating system's secure random source, URL-safe encoded.
QString randomText(int count);
// A fresh proof-key verifier: 32 random bytes, 43 characters.
QString makeVerifier();
// The S256 challenge of a verifier: its SHA-256 digest, URL-safe encoded.
QString challenge(const QString& verifier);
// A fresh state that ties the browser's answer to this sign-in: 24 random bytes.
QString makeState();

} // namespace tessary::Pkce
