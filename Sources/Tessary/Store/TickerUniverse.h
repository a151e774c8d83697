#pragma once

#include "TessaryWire/WireRecords.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <vector>

namespace tessary {

// Every symbol the market-data service knows, indexed for search on every keystroke.
class TickerUniverse {
public:
    TickerUniverse() = default;
    // Symbols are kept upper-case; a repeated symbol keeps its first record.
    explicit TickerUniverse(std::vector<TickerInfo> infos);

    bool isEmpty() const { return m_infos.empty(); }
    qsizetype size() const { return static_cast<qsizetype>(m_infos.size()); }
    const std::vector<TickerInfo>& all() const { return m_infos; }
    const TickerInfo* find(QStringView symbol) const;

    // The exact symbol, then symbols that start with the query (shorter first, then
    // alphabetical), then — for queries of three or more characters — names that contain it
    // (alphabetical by symbol); cut to `limit`.
    std::vector<TickerInfo> suggestions(QStringView query, const QSet<QString>& excluding, int limit) const;

private:
    std::vector<TickerInfo> m_infos; // sorted by symbol
    QHash<QString, qsizetype> m_index;
    // All lower-cased names in symbol order, separated by newlines, so a name search is one
    // linear scan of one buffer; m_nameStarts[i] is where entry i's name begins.
    QString m_names;
    std::vector<qsizetype> m_nameStarts;
};

} // namespace tessary
