#pragma once

#include <QString>
#include <QUrl>

namespace tessary::Support {

// Where support mail goes unless TESSARY_SUPPORT_EMAIL names another address.
inline constexpr QStringView defaultAddress = u"support@tessary.dev";
// What the message's last line starts with, before the version line.
inline constexpr QStringView signaturePrefix = u"Tessary for Mac ";

// "1.2.0 (3f9c2ab)": the version and the commit it was built from, each "dev" when unknown.
QString versionLine(QStringView version, QStringView commit);
// The same for this build.
QString versionLine();
// A blank line, an em dash line and the signature, so a reply shows which build wrote.
QString messageBody(const QString& versionLine);
// A new mail message to `address` with that body.
QUrl mailto(const QString& address, const QString& versionLine);

} // namespace tessary::Support
