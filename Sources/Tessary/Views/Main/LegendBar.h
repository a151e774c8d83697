#pragma once

#include <QHash>
#include <QIcon>
#include <QWidget>

class QMenu;
class QToolButton;

namespace tessary {

class ChartFocus;
class FlowLayout;
class Store;

// One chip per line of the chart, in the line's colour. Hovering a chip brings its line
// forward, clicking pins it, right-clicking offers the ticker's edits; tickers just added
// glow for a moment. The chips take at most two rows, so that a long list leaves the chart
// its room: the rest sit behind a "+N more" chip that opens them all in a searchable list.
class LegendBar : public QWidget {
    Q_OBJECT

public:
    LegendBar(Store& store, ChartFocus& focus, QWidget* parent = nullptr);

    QToolButton* chip(const QString& ticker) const { return m_chips.value(ticker); }
    QToolButton* resetButton() const { return m_reset; }
    QToolButton* moreButton() const { return m_more; }
    static constexpr int maxRows = 2;
    // The dot in a ticker's colour that marks its chip, and its row in the overflow list.
    static QIcon dot(const QColor& color);
    // A chip's context menu: removing the ticker and making it the benchmark in a list the
    // user can edit, copying its symbol always. The caller owns it.
    QMenu* contextMenuFor(const QString& ticker);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void rebuild();
    void refreshStates();
    // Shows as many chips, in list order, as fit in `maxRows` with the "+N more" chip.
    void fitRows();
    void openOverflow();

    Store& m_store;
    ChartFocus& m_focus;
    FlowLayout* m_flow = nullptr;
    QHash<QString, QToolButton*> m_chips;
    QList<QToolButton*> m_ordered;
    QToolButton* m_reset = nullptr;
    QToolButton* m_more = nullptr;
};

} // namespace tessary
