#include "TestSupport.h"

#include <QDir>
#include <QTimeZone>

namespace tessary::test {

std::optional<QString> sharedDataDirectory()
{
    const QString configured = qEnvironmentVariable("TESSARY_SHARED_DATA");
    if (configured.isEmpty() || !QDir(configured).exists())
        return std::nullopt;
    return QDir(configured).canonicalPath();
}

QDateTime utcInstant(const char* isoText)
{
    QDateTime instant = QDateTime::fromString(QString::fromLatin1(isoText), Qt::ISODate);
    Q_ASSERT(instant.isValid());
    return instant.toTimeZone(QTimeZone::utc());
}

} // namespace tessary::test
