#include "JsonPath.h"

namespace tessary {

QString JsonPath::text() const
{
    QString prefix = parent ? parent->text() : root ? *root : QString();
    if (key)
        return prefix.isEmpty() ? QString::fromLatin1(key) : prefix + u'.' + QLatin1StringView(key);
    if (index >= 0)
        return prefix + u'[' + QString::number(index) + u']';
    return prefix;
}

} // namespace tessary
