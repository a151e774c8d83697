#include "Credentials.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace tessary {

std::optional<Credentials> Credentials::read(const QString& path)
{
    const auto bytes = readWholeFile(path);
    if (!bytes)
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    const QJsonValue token = document.object().value(QLatin1StringView("token"));
    if (!token.isString() || token.toString().isEmpty())
        return std::nullopt;
    Credentials credentials { token.toString(), std::nullopt };
    if (const QJsonValue email = document.object().value(QLatin1StringView("email")); email.isString())
        credentials.email = email.toString();
    return credentials;
}

std::expected<void, FileError> Credentials::write(const QString& path) const
{
    QJsonObject object { { QStringLiteral("token"), token } };
    if (email)
        object.insert(QStringLiteral("email"), *email);
    return writeFileAtomically(
        path, QJsonDocument(object).toJson(QJsonDocument::Compact), QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

} // namespace tessary
