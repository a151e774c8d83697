#include "AccountError.h"

namespace tessary {

namespace {

const QString httpPrefix = QStringLiteral("The account server returned ");
const QString signedOutText = QStringLiteral("You were signed out. Sign in again to keep syncing.");
const QString cancelledText = QStringLiteral("Sign-in was cancelled.");
const QString badCallbackText = QStringLiteral("The browser sent back an unexpected response.");

} // namespace

QString AccountError::description() const
{
    switch (kind) {
    case Kind::http:
        return httpPrefix + QString::number(status) + u'.';
    case Kind::signedOut:
        return signedOutText;
    case Kind::cancelled:
        return cancelledText;
    case Kind::badCallback:
        return badCallbackText;
    case Kind::transport:
        return message;
    }
    return message;
}

} // namespace tessary
