#pragma once

#include <QImage>
#include <QSize>

#include "ChartPainter.h"

class QFont;

namespace tessary {

// The chart's still picture and the layers it is composed from, at one size and device
// pixel ratio.
//
// The base under the labels (grid, axes, every line) comes in two kinds: plain, every line
// in its colour, and faded, every line faded. Neither depends on which lines are
// highlighted, so each is painted once and kept until the data, the mapping, the colours or
// the theme change; a change of highlights is a copy of one of them, the few highlighted
// lines and the labels.
class ChartLayers {
public:
    // Forgets both bases: whatever they show is out of date.
    void invalidate();
    // The picture of `scene` on a chart of `size` at `ratio`. A size or ratio other than the
    // last one's repaints the bases too.
    const QImage& compose(const ChartPainter::Scene& scene, QSize size, qreal ratio, const QFont& font);
    // The last picture composed; null before the first.
    const QImage& picture() const { return m_picture; }
    // How many times a base has been painted, for tests and benchmarks.
    int baseBuilds() const { return m_baseBuilds; }

private:
    QImage& base(const ChartPainter::Scene& scene, bool faded, const QFont& font);

    QSize m_size;
    qreal m_ratio = 0;
    QImage m_plain;
    QImage m_faded;
    QImage m_picture;
    int m_baseBuilds = 0;
};

} // namespace tessary
