#include "FormToken.h"

#include <QMessageAuthenticationCode>

#include "Secrets.h"

namespace tessary::server {

namespace {

QByteArray signature(const QByteArray& key, qint64 issued, const QStringList& values)
{
    QMessageAuthenticationCode mac(QCryptographicHash::Sha256, key);
    // Each value is preceded by its length, so no two different lists of values sign alike.
    for (const QString& value : QStringList { QString::number(issued) } + values) {
        const QByteArray utf8 = value.toUtf8();
        mac.addData(QByteArray::number(utf8.size()) + ':');
        mac.addData(utf8);
    }
    return mac.result();
}

} // namespace

QString formToken(const QByteArray& key, const QDateTime& issued, const QStringList& values)
{
    const qint64 seconds = issued.toSecsSinceEpoch();
    return QString::number(seconds) + u'.' + base64Url(signature(key, seconds, values));
}

bool acceptsFormToken(const QByteArray& key, const QString& token, const QStringList& values, const QDateTime& now,
    std::chrono::seconds lifetime)
{
    const qsizetype dot = token.indexOf(u'.');
    bool isNumber = false;
    const qint64 issued = dot > 0 ? token.left(dot).toLongLong(&isNumber) : 0;
    if (!isNumber)
        return false;
    const qint64 age = now.toSecsSinceEpoch() - issued;
    // A little tolerance the other way for servers that share the store but not the clock.
    const bool fresh = age >= -60 && age <= lifetime.count();
    return fresh && equalSecrets(token.mid(dot + 1).toLatin1(), base64Url(signature(key, issued, values)).toLatin1());
}

} // namespace tessary::server
