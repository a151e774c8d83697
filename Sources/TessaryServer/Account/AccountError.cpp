#include "AccountError.h"

namespace tessary::server {

namespace {

const auto failureText = QStringLiteral("The account store failed: %1");
const auto invalidEmailText = QStringLiteral("\"%1\" is not an e-mail address.");
const auto shortPasswordText = QStringLiteral("The password must have at least %1 characters.");
const auto passwordMismatchText = QStringLiteral("The two passwords do not match.");
const auto emailTakenText = QStringLiteral("An account for %1 already exists.");
const auto unknownAccountText = QStringLiteral("There is no account for %1.");
// One text for an unknown address and a wrong password, so the page does not tell which
// addresses have accounts.
const auto wrongCredentialsText = QStringLiteral("The e-mail address or the password is wrong.");
const auto unknownCodeText = QStringLiteral("The sign-in code is unknown or was already used. Sign in again.");
const auto expiredCodeText = QStringLiteral("The sign-in code has expired. Sign in again.");
const auto wrongVerifierText = QStringLiteral("The proof key does not belong to this sign-in code. Sign in again.");
const auto unauthorizedText = QStringLiteral("This needs a valid bearer token. Sign in again.");
const auto throttledText = QStringLiteral("Too many failed sign-ins. Try again in a few minutes.");
const auto settingsTooLargeText = QStringLiteral("The settings document is larger than %1 MB.");
const auto settingsNotAnObjectText = QStringLiteral("The settings document must be a JSON object.");
const auto versionRequiredText
    = QStringLiteral("Writing the settings needs an If-Match header with the ETag they were read with.");
const auto unknownVersionText = QStringLiteral("Version %1 of the settings is not kept (see \"account history\").");

} // namespace

QString AccountError::description() const
{
    switch (kind) {
    case Kind::failure:
        return failureText.arg(detail);
    case Kind::invalidEmail:
        return invalidEmailText.arg(detail);
    case Kind::shortPassword:
        return shortPasswordText.arg(minimumPasswordLength);
    case Kind::passwordMismatch:
        return passwordMismatchText;
    case Kind::emailTaken:
        return emailTakenText.arg(detail);
    case Kind::unknownAccount:
        return unknownAccountText.arg(detail);
    case Kind::wrongCredentials:
        return wrongCredentialsText;
    case Kind::unknownCode:
        return unknownCodeText;
    case Kind::expiredCode:
        return expiredCodeText;
    case Kind::wrongVerifier:
        return wrongVerifierText;
    case Kind::unauthorized:
        return unauthorizedText;
    case Kind::throttled:
        return throttledText;
    case Kind::settingsTooLarge:
        return settingsTooLargeText.arg(largestSettingsDocument / (1024 * 1024));
    case Kind::settingsNotAnObject:
        return settingsNotAnObjectText;
    case Kind::versionRequired:
        return versionRequiredText;
    case Kind::unknownVersion:
        return unknownVersionText.arg(detail);
    case Kind::badRequest:
    case Kind::passwordInput:
        return detail;
    }
    return detail;
}

} // namespace tessary::server
