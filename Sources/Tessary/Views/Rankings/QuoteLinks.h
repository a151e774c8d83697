#pragma once

#include <QString>
#include <QUrl>

#include <optional>
#include <vector>

namespace tessary {

// Where the outside quote pages live. Only the paths are fixed; the hosts are configuration
// so a deployment can point them elsewhere.
struct QuoteHosts {
    QString stockQuote = QStringLiteral("https://finance.yahoo.com");
    QString financeQuote = QStringLiteral("https://www.google.com");
    QString webSearch = QStringLiteral("https://www.google.com");
    QString research = QStringLiteral("https://yardmark.app");
};

struct QuoteLink {
    QString text;
    QUrl url;
};

// The four pages a row's context menu offers for a ticker, in menu order. `exchange` is the
// listing exchange when the universe knows it.
std::vector<QuoteLink> quoteLinks(
    const QString& ticker, const std::optional<QString>& exchange, const QuoteHosts& hosts = {});

} // namespace tessary
