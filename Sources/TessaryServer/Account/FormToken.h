#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <chrono>

namespace tessary::server {

// The anti-forgery value of a form the server issues: when it was issued and an HMAC over that
// time and `values` (what the form is bound to), so neither can be changed without the key.
QString formToken(const QByteArray& key, const QDateTime& issued, const QStringList& values);

// Whether `token` was issued with `key` for the same `values` within `lifetime` of `now`.
bool acceptsFormToken(const QByteArray& key, const QString& token, const QStringList& values, const QDateTime& now,
    std::chrono::seconds lifetime);

} // namespace tessary::server
