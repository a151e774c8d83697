#pragma once

#include <QHash>
#include <QWidget>

class QMenu;
class QToolButton;

namespace tessary {

class ChartFocus;
class FlowLayout;
class Store;

// One chip per line of the chart, in the line's colour. Hovering a chip brings its line
// forward, clicking pins it, right-clicking offers the ticker's edits; tickers just added
// glow for a moment.
class LegendBar : public QWidget {
    Q_OBJECT

public:
    LegendBar(Store& store, ChartFocus& focus, QWidget* parent = nullptr);

    QToolButton* chip(const QString& ticker) const { return m_chips.value(ticker); }
    QToolButton* resetButton() const { return m_reset; }
    // A chip's context menu: removing the ticker and making it the benchmark in a list the
    // user can edit, copying its symbol always. The caller owns it.
    QMenu* contextMenuFor(const QString& ticker);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void rebuild();
    void refreshStates();

    Store& m_store;
    ChartFocus& m_focus;
    FlowLayout* m_flow = nullptr;
    QHash<QString, QToolButton*> m_chips;
    QToolButton* m_reset = nullptr;
};

} // namespace tessary
