#include "ReplyBounds.h"

#include <QNetworkReply>

namespace tessary {

namespace {

const QString timedOutText = QStringLiteral("The request timed out.");
const QString tooLargeText = QStringLiteral("The reply is larger than %1 MB.");

} // namespace

ReplyBounds::ReplyBounds(QNetworkReply* reply, std::chrono::milliseconds deadline, qint64 largestBody)
    : QObject(reply)
    , m_reply(reply)
{
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        cut(TransportError { QNetworkReply::TimeoutError, timedOutText });
    });
    m_deadline.start(deadline);
    // The announced length is refused before any of it is held; a body without one is cut
    // once it has grown past the cap.
    connect(reply, &QNetworkReply::downloadProgress, this, [this, largestBody](qint64 received, qint64 total) {
        if (!m_cutOff && (received > largestBody || total > largestBody))
            cut(TransportError { QNetworkReply::UnknownContentError, tooLargeText.arg(largestBody / (1024 * 1024)) });
    });
    connect(reply, &QNetworkReply::finished, &m_deadline, &QTimer::stop);
}

void ReplyBounds::cut(TransportError why)
{
    m_cutOff = std::move(why);
    m_reply->abort();
}

} // namespace tessary
