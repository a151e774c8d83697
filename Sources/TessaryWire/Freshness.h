#pragma once

#include "WireRecords.h"

#include <QDateTime>

#include <optional>

namespace tessary {

// The time of the latest quote: the later of the two freshness timestamps that parse as
// internet date-times ("2026-03-13T20:00:00Z", "…-04:00") and are not after `now`.
std::optional<QDateTime> lastQuote(const DataFreshness& freshness, const QDateTime& now);

// Reads one internet date-time: date, time to the second and a zone, nothing else.
std::optional<QDateTime> parseInternetDateTime(const QString& text);

} // namespace tessary
