#pragma once

#include "AccountError.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

#include <chrono>
#include <expected>
#include <functional>
#include <optional>

namespace tessary::server {

// What the app put into the connect page's address: its PKCE challenge, its state, the port
// of its loopback listener and the computer's name. The page carries the same four values in
// its form, signed, so the answer goes back to the listener that asked.
struct ConnectRequest {
    QString challenge;
    QString state;
    quint16 port = 0;
    QString name;

    // A form older than this is refused; the user starts again from the app.
    static constexpr std::chrono::hours formLifetime { 1 };

    // Reads and checks the four values; `field` looks one up by name. A `badRequest` names
    // what is wrong, and the caller answers with a page, never with a redirect.
    static std::expected<ConnectRequest, AccountError> read(
        const std::function<std::optional<QString>(QStringView)>& field);

    // The browser's next stop: the app's listener on this machine, whatever the request said.
    // `code` goes along when the user approved; without it the answer is `access_denied`.
    QByteArray callbackLocation(const std::optional<QString>& code) const;

    // The anti-forgery value of the page's form: when it was issued and an HMAC over that
    // time and the four values, so neither can be changed without the server's key.
    QString formToken(const QByteArray& key, const QDateTime& issued) const;
    bool acceptsFormToken(const QByteArray& key, const QString& token, const QDateTime& now) const;

private:
    QStringList signedValues() const;
};

} // namespace tessary::server
