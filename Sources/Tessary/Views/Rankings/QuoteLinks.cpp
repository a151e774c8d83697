#include "QuoteLinks.h"

namespace tessary {

namespace {

QUrl under(const QString& host, const QByteArray& encodedPath)
{
    QString base = host;
    while (base.endsWith(u'/'))
        base.chop(1);
    return QUrl::fromEncoded(base.toUtf8() + encodedPath, QUrl::StrictMode);
}

QByteArray encoded(const QString& text)
{
    return QUrl::toPercentEncoding(text);
}

} // namespace

std::vector<QuoteLink> quoteLinks(
    const QString& ticker, const std::optional<QString>& exchange, const QuoteHosts& hosts)
{
    QString listed = ticker;
    if (exchange && !exchange->isEmpty())
        listed += u':' + *exchange;
    return {
        { QStringLiteral("View %1 on Yahoo Finance").arg(ticker),
            under(hosts.stockQuote, "/quote/" + encoded(ticker)) },
        { QStringLiteral("View %1 on Google Finance").arg(ticker),
            under(hosts.financeQuote, "/finance/quote/" + encoded(listed)) },
        { QStringLiteral("Search the web for %1").arg(ticker),
            under(hosts.webSearch, "/search?q=" + encoded(ticker + QStringLiteral(" stock"))) },
        { QStringLiteral("Did %1 beat SPY? (Yardmark)").arg(ticker),
            under(hosts.research, "/research/" + encoded(ticker)) },
    };
}

} // namespace tessary
