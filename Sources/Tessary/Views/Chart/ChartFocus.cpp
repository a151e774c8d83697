#include "ChartFocus.h"

namespace tessary {

ChartFocus::ChartFocus(QObject* parent)
    : QObject(parent)
{
}

bool ChartFocus::isPinned(const QString& ticker) const
{
    return m_pinned.contains(ticker);
}

void ChartFocus::setPinned(const QStringList& tickers)
{
    QStringList unique;
    for (const QString& ticker : tickers)
        if (!ticker.isEmpty() && !unique.contains(ticker))
            unique.append(ticker);
    commitPinned(std::move(unique));
}

void ChartFocus::pin(const QString& ticker)
{
    if (ticker.isEmpty())
        return;
    m_lastPinned = ticker;
    if (m_pinned.contains(ticker))
        return;
    QStringList next = m_pinned;
    next.append(ticker);
    commitPinned(std::move(next));
}

void ChartFocus::unpin(const QString& ticker)
{
    QStringList next = m_pinned;
    next.removeAll(ticker);
    commitPinned(std::move(next));
}

void ChartFocus::togglePinned(const QString& ticker)
{
    if (isPinned(ticker))
        unpin(ticker);
    else
        pin(ticker);
}

void ChartFocus::clearPinned()
{
    commitPinned({});
}

void ChartFocus::commitPinned(QStringList pinned)
{
    // Restoring the set a list already has must not count as an edit of it.
    if (pinned == m_pinned)
        return;
    m_pinned = std::move(pinned);
    Q_EMIT pinnedChanged(m_pinned);
}

void ChartFocus::setHovered(const std::optional<QString>& ticker, bool fromChart)
{
    if (ticker == m_hovered && (!ticker || fromChart == m_hoverFromChart))
        return;
    m_hovered = ticker;
    m_hoverFromChart = ticker.has_value() && fromChart;
    Q_EMIT hoveredChanged(m_hovered);
}

void ChartFocus::setChartHovering(bool hovering)
{
    if (hovering == m_chartHovering)
        return;
    m_chartHovering = hovering;
    Q_EMIT chartHoveringChanged(hovering);
}

void ChartFocus::setScrolling(bool scrolling)
{
    if (scrolling == m_isScrolling)
        return;
    m_isScrolling = scrolling;
    Q_EMIT scrollingChanged(scrolling);
}

bool ChartFocus::isHighlighted(const QString& ticker) const
{
    return (m_hovered && *m_hovered == ticker) || m_pinned.contains(ticker);
}

} // namespace tessary
