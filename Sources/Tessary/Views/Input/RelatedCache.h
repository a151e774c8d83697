#pragma once

#include "Tessary/Store/TickerUniverse.h"
#include "TessaryWire/WireRecords.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace tessary {

// Whether the related-tickers bar is offered at all. The one place the switch is read.
bool relatedTickersEnabled();

// Answers of the related endpoint for the life of the process, shared by every window: the
// same set of tickers in any order is one entry.
class RelatedCache {
public:
    static RelatedCache& shared();

    // The sorted tickers joined with ",".
    static QString key(QStringList tickers);

    std::optional<RelatedResponse> find(const QString& key) const;
    // Empty answers are not kept, so the next change asks again.
    void insert(const QString& key, const RelatedResponse& response);
    void clear() { m_entries.clear(); }

private:
    QHash<QString, RelatedResponse> m_entries;
};

// The suggestions worth offering: in the service's order, without the list's own tickers and
// benchmark, and — once the universe is known — only symbols it holds, named as it names them.
std::vector<RelatedTicker> shownRelated(const RelatedResponse& response, const QStringList& tickers,
    const QString& benchmark, const TickerUniverse& universe);

} // namespace tessary
