#pragma once

#include <QColor>
#include <QPointF>
#include <QRect>
#include <QRectF>

#include <optional>
#include <span>
#include <vector>

class QImage;
class QPainter;

namespace tessary {

// Strokes the wide highlighted lines straight into the pixels of the image a painter draws
// on.
//
// The raster engine outlines a wide polyline and fills the outline; a line of 500 points
// crosses itself at nearly every join, and the fill of that outline takes about 3.5 ms at
// device pixel ratio 2, most of a change of highlights. Here each pixel near the line takes
// its coverage from its distance to the nearest segment, kept in a scratch buffer and
// blended once: about a third of the time, and round joins where the stroker's were bevelled
// to save time.
class ChartWideLine {
public:
    // Null when the painter draws on anything but a 32-bit image (a picture, an SVG file, a
    // printer), through a rotation or shear, with an opacity or another composition mode:
    // the caller then strokes through the painter. `clip` is in the painter's coordinates.
    static std::optional<ChartWideLine> onto(QPainter& painter, const QRectF& clip);

    // `width` in the painter's coordinates, antialiased, with round caps and joins: each pixel
    // takes how much of it lies within half the width of the line.
    void stroke(std::span<const QPointF> points, double width, const QColor& color);

private:
    ChartWideLine(QImage& image, QRect clip, double scale, QPointF offset);

    QPointF device(QPointF point) const { return point * m_scale + m_offset; }
    static void blend(quint32* pixel, int coverage, quint32 color);

    uchar* m_bits = nullptr;
    qsizetype m_stride = 0;
    QRect m_clip; // device pixels the lines may touch
    double m_scale = 1;
    QPointF m_offset;
    // Coverage of a line, column by column over the clip, and the rows each column has
    // touched; kept between lines and left cleared, so a line costs only what it covers.
    std::vector<quint8> m_coverage;
    std::vector<int> m_rowFirst;
    std::vector<int> m_rowLast;
};

} // namespace tessary
