#include "ConnectRequest.h"

#include <QRegularExpression>
#include <QUrl>

#include <algorithm>

#include "FormToken.h"

namespace tessary::server {

namespace {

const auto missingChallengeText = QStringLiteral("The sign-in link has no challenge.");
const auto badChallengeText = QStringLiteral("The sign-in link's challenge is not a PKCE S256 challenge.");
const auto badStateText = QStringLiteral("The sign-in link's state must be 1 to 512 printable characters.");
const auto badPortText = QStringLiteral("The sign-in link's port must be a number from 1 to 65535.");

// base64url of a SHA-256 digest is always 43 characters.
const QRegularExpression challengePattern(QStringLiteral("^[A-Za-z0-9_-]{43}$"));
// Plain decimal digits only: "+80", " 80", "0x50" or "80@host" are not ports.
const QRegularExpression portPattern(QStringLiteral("^[0-9]{1,5}$"));
// The state goes back to the app untouched. It travels through a hidden form field, where a
// browser would rewrite control characters; the bound keeps pages and addresses small.
constexpr qsizetype longestState = 512;
constexpr qsizetype longestName = 64;

bool printable(const QString& text)
{
    return std::ranges::all_of(text, [](QChar character) { return character.isPrint(); });
}

std::unexpected<AccountError> badRequest(const QString& text)
{
    return std::unexpected(AccountError { AccountError::Kind::badRequest, text });
}

} // namespace

std::expected<ConnectRequest, AccountError> ConnectRequest::read(
    const std::function<std::optional<QString>(QStringView)>& field)
{
    ConnectRequest request;
    request.challenge = field(u"challenge").value_or(QString());
    if (request.challenge.isEmpty())
        return badRequest(missingChallengeText);
    if (!challengePattern.match(request.challenge).hasMatch())
        return badRequest(badChallengeText);
    request.state = field(u"state").value_or(QString());
    if (request.state.isEmpty() || request.state.size() > longestState || !printable(request.state))
        return badRequest(badStateText);
    const QString port = field(u"port").value_or(QString());
    const uint number = portPattern.match(port).hasMatch() ? port.toUInt() : 0;
    if (number < 1 || number > 65535)
        return badRequest(badPortText);
    request.port = static_cast<quint16>(number);
    QString name = field(u"name").value_or(QString()).simplified();
    name.removeIf([](QChar character) { return !character.isPrint(); });
    request.name = name.left(longestName);
    return request;
}

QByteArray ConnectRequest::callbackLocation(const std::optional<QString>& code) const
{
    // Built by hand from fixed parts: only the port (a checked number) and percent-encoded
    // values enter it, so nothing the request said can move the host.
    QByteArray location = QByteArrayLiteral("http://127.0.0.1:") + QByteArray::number(port) + "/callback?";
    if (code)
        location += "code=" + QUrl::toPercentEncoding(*code);
    else
        location += "error=access_denied";
    return location + "&state=" + QUrl::toPercentEncoding(state);
}

QStringList ConnectRequest::signedValues() const
{
    return { challenge, state, QString::number(port), name };
}

QString ConnectRequest::formToken(const QByteArray& key, const QDateTime& issued) const
{
    return server::formToken(key, issued, signedValues());
}

bool ConnectRequest::acceptsFormToken(const QByteArray& key, const QString& token, const QDateTime& now) const
{
    return server::acceptsFormToken(key, token, signedValues(), now, formLifetime);
}

} // namespace tessary::server
