#include "UpdateFeedHandler.h"

#include "TessaryWire/BuildInfo.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace tessary::server {

UpdateFeedHandler::UpdateFeedHandler(QString dataDirectory)
{
    if (!dataDirectory.isEmpty())
        m_file = QDir(dataDirectory).filePath(path.mid(1).toString());
}

HttpResponse UpdateFeedHandler::handle() const
{
    if (m_file.isEmpty() || !QFile::exists(m_file)) {
        const QJsonObject own { { QStringLiteral("version"), QString::fromLatin1(BuildInfo::version) } };
        return HttpResponse::json(QJsonDocument(own).toJson(QJsonDocument::Compact));
    }
    QFile file(m_file);
    if (!file.open(QIODevice::ReadOnly))
        return HttpResponse::error(500, QStringLiteral("%1 cannot be read: %2").arg(m_file, file.errorString()));
    const QByteArray body = file.readAll();
    // A broken file is the operator's mistake; passing it on would show users a riddle.
    if (!QJsonDocument::fromJson(body).isObject())
        return HttpResponse::error(500, QStringLiteral("%1 is not a JSON object").arg(m_file));
    return HttpResponse::json(body);
}

} // namespace tessary::server
