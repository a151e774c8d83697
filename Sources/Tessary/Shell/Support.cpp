#include "Support.h"

#include "TessaryWire/BuildInfo.h"

namespace tessary::Support {

QString versionLine(QStringView version, QStringView commit)
{
    const auto known = [](QStringView text) { return text.isEmpty() ? QStringLiteral("dev") : text.toString(); };
    return QStringLiteral("%1 (%2)").arg(known(version), known(commit));
}

QString versionLine()
{
    return versionLine(QString::fromLatin1(BuildInfo::version), QString::fromLatin1(BuildInfo::commit));
}

QString messageBody(const QString& versionLine)
{
    return QStringLiteral("\n\n\u2014\n") + signaturePrefix.toString() + versionLine;
}

QUrl mailto(const QString& address, const QString& versionLine)
{
    // Mail programs read the body percent-encoded: a bare "+" or line break would be taken
    // literally or cut the message short.
    return QUrl::fromEncoded(QByteArrayLiteral("mailto:") + QUrl::toPercentEncoding(address, "@")
        + QByteArrayLiteral("?body=") + QUrl::toPercentEncoding(messageBody(versionLine)));
}

} // namespace tessary::Support
