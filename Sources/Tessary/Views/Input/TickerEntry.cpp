#include "TickerEntry.h"

#include <QLocale>

namespace tessary {

namespace {

const QString notFoundPrefix = QStringLiteral("Not found: ");
const QString skippedText = QStringLiteral(" skipped — ");
const QString listsHoldText = QStringLiteral("lists hold up to ");
const QString tickersText = QStringLiteral(" tickers");
const QString noticeSeparator = QStringLiteral(" · ");
const QString emptyUniversePlaceholder = QStringLiteral("Add tickers — type or paste NVDA AVGO SMH…");
const QString searchPrefix = QStringLiteral("Search ");
const QString searchSuffix = QStringLiteral(" stocks & ETFs — type or paste NVDA AVGO SMH…");

} // namespace

QStringList tickerTokens(QStringView text)
{
    QStringList tokens;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] != u' ' && text[i] != u',')
            continue;
        if (i > start)
            tokens.append(text.mid(start, i - start).toString());
        start = i + 1;
    }
    return tokens;
}

QStringView lastTickerToken(QStringView text)
{
    qsizetype end = text.size();
    while (end > 0 && (text[end - 1] == u' ' || text[end - 1] == u','))
        --end;
    qsizetype start = end;
    while (start > 0 && text[start - 1] != u' ' && text[start - 1] != u',')
        --start;
    return text.mid(start, end - start);
}

QString addNotice(const Store::AddResult& result)
{
    QStringList parts;
    if (!result.unknown.isEmpty())
        parts.append(notFoundPrefix + result.unknown.join(QStringLiteral(", ")));
    if (result.overLimit >= 1)
        parts.append(QString::number(result.overLimit) + skippedText + listsHoldText
            + QString::number(maxTickersPerList) + tickersText);
    return parts.join(noticeSeparator);
}

QString tickerPlaceholder(qsizetype universeSize)
{
    if (universeSize <= 0)
        return emptyUniversePlaceholder;
    // The texts around it are English, so the grouping is too, whatever the machine's locale.
    return searchPrefix + QLocale(QLocale::English, QLocale::UnitedStates).toString(universeSize) + searchSuffix;
}

} // namespace tessary
