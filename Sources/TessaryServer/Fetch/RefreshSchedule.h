#pragma once

#include <QDateTime>
#include <QTime>

#include <optional>

namespace tessary::server {

// When the daily refresh runs next. Refreshes are due at `at` (New York time) on trading
// days; one that was missed (the server was down, or has never refreshed) is due at once,
// otherwise the next is the first trading day's `at` after `now`.
QDateTime nextRefresh(const std::optional<QDateTime>& lastRefresh, const QDateTime& now, QTime at);

} // namespace tessary::server
