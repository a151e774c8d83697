#include "Freshness.h"

#include <QRegularExpression>

namespace tessary {

std::optional<QDateTime> parseInternetDateTime(const QString& text)
{
    // Qt's ISO parser also takes dates without a time or zone (read as local time), which
    // would move the quote by the machine's offset; only the full form is accepted.
    static const QRegularExpression form(QStringLiteral(R"(^\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}(Z|[+-]\d{2}:\d{2})$)"));
    if (!form.match(text).hasMatch())
        return std::nullopt;
    const QDateTime instant = QDateTime::fromString(text, Qt::ISODate);
    if (!instant.isValid())
        return std::nullopt;
    return instant;
}

std::optional<QDateTime> lastQuote(const DataFreshness& freshness, const QDateTime& now)
{
    std::optional<QDateTime> latest;
    for (const auto& text : { freshness.latestHistoricalTimestamp, freshness.latestLiveTimestamp }) {
        if (!text)
            continue;
        const auto instant = parseInternetDateTime(*text);
        if (!instant || *instant > now)
            continue;
        if (!latest || *instant > *latest)
            latest = instant;
    }
    return latest;
}

} // namespace tessary
