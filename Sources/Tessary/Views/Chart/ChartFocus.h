#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

namespace tessary {

// Which tickers the user is following, shared by the chart, the legend, the rankings table
// and the grid of one window: a ticker highlighted in any of them is highlighted in all.
// A ticker is highlighted while it is hovered or pinned; the others then draw faded.
//
// The pinned set belongs to the list on show: whoever owns the lists restores it with
// setPinned() when the list changes and saves it on pinnedChanged().
class ChartFocus : public QObject {
    Q_OBJECT

public:
    // The tool tip of every control that clears the pinned tickers.
    static constexpr QStringView clearHighlightsText = u"Clear highlights and show every line (Esc)";

    explicit ChartFocus(QObject* parent = nullptr);

    // Pinned tickers in the order they were pinned, each once.
    const QStringList& pinned() const { return m_pinned; }
    bool isPinned(const QString& ticker) const;
    void setPinned(const QStringList& tickers);
    void pin(const QString& ticker);
    void unpin(const QString& ticker);
    // Pins an unpinned ticker and unpins a pinned one.
    void togglePinned(const QString& ticker);
    void clearPinned();
    const std::optional<QString>& lastPinned() const { return m_lastPinned; }

    const std::optional<QString>& hovered() const { return m_hovered; }
    bool hoverFromChart() const { return m_hoverFromChart; }
    // `fromChart` tells whether the chart itself set it, rather than the legend or a table.
    void setHovered(const std::optional<QString>& ticker, bool fromChart = false);

    bool chartHovering() const { return m_chartHovering; }
    void setChartHovering(bool hovering);
    bool isScrolling() const { return m_isScrolling; }
    void setScrolling(bool scrolling);

    bool isHighlighted(const QString& ticker) const;
    bool hasHighlight() const { return m_hovered.has_value() || !m_pinned.isEmpty(); }

Q_SIGNALS:
    // After every change of the pinned set, with the new set.
    void pinnedChanged(const QStringList& pinned);
    void hoveredChanged(const std::optional<QString>& hovered);
    void chartHoveringChanged(bool hovering);
    void scrollingChanged(bool scrolling);

private:
    void commitPinned(QStringList pinned);

    QStringList m_pinned;
    std::optional<QString> m_hovered;
    bool m_chartHovering = false;
    bool m_hoverFromChart = false;
    bool m_isScrolling = false;
    std::optional<QString> m_lastPinned;
};

} // namespace tessary
