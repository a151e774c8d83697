#pragma once

#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <memory>

namespace tessary {

// A reply owned from the moment it is made; deleted later, since its signals may still be on
// their way when the owner lets go.
struct ReplyDeleter {
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};
using OwnedReply = std::unique_ptr<QNetworkReply, ReplyDeleter>;

// `base` with `path` appended as a path component: every service may sit below a path of its
// own ("https://host/api/"), with or without the trailing slash.
inline QUrl urlBelow(QUrl base, const QString& path)
{
    const QString basePath = base.path();
    base.setPath(basePath.endsWith(u'/') ? basePath + path : basePath + u'/' + path);
    return base;
}

} // namespace tessary
