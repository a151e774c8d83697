#include "TickerUniverse.h"

#include <QStringMatcher>

#include <algorithm>

namespace tessary {

TickerUniverse::TickerUniverse(std::vector<TickerInfo> infos)
{
    for (auto& info : infos)
        info.symbol = info.symbol.trimmed().toUpper();
    std::stable_sort(infos.begin(), infos.end(),
                     [](const TickerInfo& a, const TickerInfo& b) { return a.symbol < b.symbol; });
    const auto duplicates = std::unique(infos.begin(), infos.end(), [](const TickerInfo& a, const TickerInfo& b) {
        return a.symbol == b.symbol;
    });
    infos.erase(duplicates, infos.end());
    if (!infos.empty() && infos.front().symbol.isEmpty())
        infos.erase(infos.begin());
    m_infos = std::move(infos);

    m_index.reserve(static_cast<qsizetype>(m_infos.size()));
    m_nameStarts.reserve(m_infos.size() + 1);
    for (std::size_t i = 0; i < m_infos.size(); ++i) {
        m_index.insert(m_infos[i].symbol, static_cast<qsizetype>(i));
        m_nameStarts.push_back(m_names.size());
        m_names += m_infos[i].name.toLower();
        m_names += u'\n';
    }
    m_nameStarts.push_back(m_names.size());
}

const TickerInfo* TickerUniverse::find(QStringView symbol) const
{
    const auto it = m_index.constFind(symbol.toString());
    return it == m_index.constEnd() ? nullptr : &m_infos[static_cast<std::size_t>(*it)];
}

std::vector<TickerInfo> TickerUniverse::suggestions(QStringView query, const QSet<QString>& excluding, int limit) const
{
    const QStringView trimmed = query.trimmed();
    if (trimmed.isEmpty() || limit <= 0)
        return {};
    const QString upper = trimmed.toString().toUpper();
    const auto wanted = static_cast<std::size_t>(limit);

    std::vector<const TickerInfo*> result;
    if (const TickerInfo* exact = find(upper); exact && !excluding.contains(exact->symbol))
        result.push_back(exact);

    // Symbols sort in code-point order, so every symbol starting with the query is in one run.
    const auto bySymbol = [](const TickerInfo& info, const QString& key) { return info.symbol < key; };
    std::vector<const TickerInfo*> prefixed;
    for (auto it = std::lower_bound(m_infos.begin(), m_infos.end(), upper, bySymbol);
         it != m_infos.end() && it->symbol.startsWith(upper); ++it) {
        if (it->symbol.size() != upper.size() && !excluding.contains(it->symbol))
            prefixed.push_back(&*it);
    }
    const std::size_t prefixCount = std::min(prefixed.size(), wanted - std::min(wanted, result.size()));
    std::partial_sort(prefixed.begin(), prefixed.begin() + static_cast<std::ptrdiff_t>(prefixCount), prefixed.end(),
                      [](const TickerInfo* a, const TickerInfo* b) {
                          if (a->symbol.size() != b->symbol.size())
                              return a->symbol.size() < b->symbol.size();
                          return a->symbol < b->symbol;
                      });
    result.insert(result.end(), prefixed.begin(), prefixed.begin() + static_cast<std::ptrdiff_t>(prefixCount));

    // Names only from three characters on: one or two letters match half the market.
    if (trimmed.size() >= 3 && result.size() < wanted) {
        const QString lower = trimmed.toString().toLower();
        const QStringMatcher matcher(lower, Qt::CaseSensitive);
        qsizetype from = 0;
        while (result.size() < wanted) {
            const qsizetype hit = matcher.indexIn(m_names, from);
            if (hit < 0)
                break;
            // The entry whose name holds the hit; entries are walked in symbol order.
            const auto next = std::upper_bound(m_nameStarts.begin(), m_nameStarts.end(), hit);
            const auto entry = static_cast<std::size_t>(next - m_nameStarts.begin() - 1);
            from = *next; // one hit per entry
            if (hit + lower.size() >= *next)
                continue; // the match ran across the separator into the next name
            const TickerInfo& info = m_infos[entry];
            if (!info.symbol.startsWith(upper) && !excluding.contains(info.symbol))
                result.push_back(&info);
        }
    }

    std::vector<TickerInfo> suggestions;
    suggestions.reserve(result.size());
    for (const TickerInfo* info : result)
        suggestions.push_back(*info);
    return suggestions;
}

} // namespace tessary
