#pragma once

#include <QColor>
#include <QRectF>
#include <QString>

#include <optional>
#include <span>
#include <vector>

class QPainter;

namespace tessary {

// The ticker labels in the gutter at the right of the plot, one at the height where each
// line ends. When they don't all fit they are paged; pinned tickers keep their label on
// every page.
class EndLabels {
public:
    struct Input {
        QString ticker;
        double y = 0; // where the line ends, in view coordinates
        QColor color;
        bool pinned = false;
        bool highlighted = false;
    };

    struct Placed {
        std::size_t input = 0; // index into the inputs
        double y = 0; // centre of the label after stacking
    };

    struct Layout {
        std::vector<Placed> labels; // top to bottom
        int page = 0;
        int pageCount = 1;
    };

    // How many labels a plot of this height holds (at least one).
    static int capacity(double plotHeight);
    // Places page `page` (clamped to the pages there are) of the labels between `top` and
    // `bottom`: plain labels whose line ends outside the plot are dropped, the rest are
    // stacked 14 points apart so that none overlap.
    static Layout layout(std::span<const Input> inputs, double top, double bottom, int page);

    // Lays the labels out for painting and hit testing in the gutter `gutter`, beside a plot
    // spanning `plotTop` to `plotBottom`.
    void place(std::vector<Input> inputs, const QRectF& gutter, double plotTop, double plotBottom, int page);
    // `pageArrows` false leaves out the arrows and page count, which a still picture cannot use.
    void paint(QPainter& painter, bool anyHighlighted, const QColor& text, const QColor& secondary,
        bool pageArrows = true) const;
    int page() const { return m_layout.page; }
    int pageCount() const { return m_layout.pageCount; }
    // The ticker whose label is at `point`, if any.
    std::optional<QString> tickerAt(QPointF point) const;
    // −1 for the arrow to the previous page, +1 for the next one, 0 elsewhere.
    int arrowAt(QPointF point) const;

private:
    QRectF labelRect(const Placed& placed) const;
    QRectF previousArrow() const;
    QRectF nextArrow() const;

    std::vector<Input> m_inputs;
    Layout m_layout;
    QRectF m_gutter;
    double m_plotTop = 0;
    double m_plotBottom = 0;
};

} // namespace tessary
