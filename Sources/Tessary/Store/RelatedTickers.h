#pragma once

#include "TickerUniverse.h"

#include "Tessary/MarketData/APIClient.h"
#include "Tessary/MarketData/Cancellation.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace tessary {

// Whether the related-tickers bar is offered at all. The one place the switch is read.
bool relatedTickersEnabled();

// The related endpoint's answers for the life of the store, shared by every window that shows
// suggestions: the same set of tickers in any order is asked about once.
class RelatedTickers : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // The sorted tickers joined with ",".
    static QString key(QStringList tickers);

    void setClient(APIClient client) { m_client = std::move(client); }
    bool hasClient() const { return m_client.has_value(); }

    std::optional<RelatedResponse> cached(const QStringList& tickers) const;
    // The cached answer, or the service's; nothing when there is no service yet or it fails
    // (suggestions are a nicety, not worth an error).
    QCoro::Task<std::optional<RelatedResponse>> fetch(QStringList tickers, int limit, Cancellation cancellation);

private:
    std::optional<APIClient> m_client;
    QHash<QString, RelatedResponse> m_entries;
};

// The suggestions worth offering: in the service's order, without the list's own tickers and
// benchmark, and — once the universe is known — only symbols it holds, named as it names them.
std::vector<RelatedTicker> shownRelated(const RelatedResponse& response, const QStringList& tickers,
    const QString& benchmark, const TickerUniverse& universe);

} // namespace tessary
