#pragma once

#include <QString>

namespace tessary::server {

// Why an account operation was refused or failed. `detail` carries what the text names (an
// e-mail address, a file, the store's own reason) and never a password, code or token.
struct AccountError {
    enum class Kind {
        failure, // the store or the hashing failed; `detail` says how
        invalidEmail,
        shortPassword,
        passwordMismatch,
        emailTaken,
        unknownAccount,
        wrongCredentials,
        unknownCode,
        expiredCode,
        wrongVerifier,
        unauthorized,
        throttled, // too many failed sign-ins for now
        settingsTooLarge,
        settingsNotAnObject,
        versionRequired, // a write of the settings without the version it is based on
        unknownVersion, // `detail` is the version number
        badRequest, // a malformed request; `detail` says what is wrong
        passwordInput, // the password could not be read; `detail` says why
    };

    Kind kind = Kind::failure;
    QString detail;

    QString description() const;
};

// Passwords shorter than this are refused everywhere they are set.
inline constexpr int minimumPasswordLength = 8;
// A settings document is a few kB per hundred lists; this leaves room for thousands while a
// runaway client cannot fill the store.
inline constexpr qsizetype largestSettingsDocument = 2 * 1024 * 1024;

} // namespace tessary::server
