#pragma once

#include "MarketDataError.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <optional>

class QNetworkReply;

namespace tessary {

// Bounds one reply where Qt's transfer timeout cannot: that only catches a silent server, so
// a server trickling a few bytes a second, or sending a body without end, is cut off here by
// a deadline on the whole exchange and a cap on the body. Lives as the reply's child.
class ReplyBounds : public QObject {
    Q_OBJECT

public:
    ReplyBounds(QNetworkReply* reply, std::chrono::milliseconds deadline, qint64 largestBody);

    // Why the reply was aborted, when it was cut off here.
    const std::optional<TransportError>& cutOff() const { return m_cutOff; }

private:
    void cut(TransportError why);

    QNetworkReply* m_reply;
    QTimer m_deadline;
    std::optional<TransportError> m_cutOff;
};

} // namespace tessary
