#include "ChartWideLine.h"

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <climits>
#include <cmath>

namespace tessary {

namespace {

// x × a / 255 for each of the four 8-bit channels at once, rounded as the raster engine does.
Q_ALWAYS_INLINE quint32 byteMul(quint32 x, quint32 a)
{
    quint32 t = (x & 0xff00ff) * a;
    t = (t + ((t >> 8) & 0xff00ff) + 0x800080) >> 8;
    t &= 0xff00ff;
    x = ((x >> 8) & 0xff00ff) * a;
    x = (x + ((x >> 8) & 0xff00ff) + 0x800080);
    x &= 0xff00ff00;
    return x | t;
}

// The pixel index `value` falls in, kept within [low, high] before it is turned into an int,
// so a line mapped far outside the plot (zoomed to other lines) cannot overflow it.
int pixelWithin(double value, int low, int high)
{
    return static_cast<int>(std::floor(std::clamp(value, double(low), double(high))));
}

quint32 premultiplied(const QColor& color)
{
    return qPremultiply(color.rgba());
}

} // namespace

std::optional<ChartWideLine> ChartWideLine::onto(QPainter& painter, const QRectF& clip)
{
    auto* image = dynamic_cast<QImage*>(painter.device());
    if (!image || (image->format() != QImage::Format_ARGB32_Premultiplied && image->format() != QImage::Format_RGB32))
        return std::nullopt;
    if (painter.opacity() < 1 || painter.compositionMode() != QPainter::CompositionMode_SourceOver)
        return std::nullopt;
    const QTransform transform = painter.deviceTransform();
    if (transform.type() > QTransform::TxScale || transform.m11() != transform.m22() || transform.m11() <= 0)
        return std::nullopt;
    const QRect pixels = transform.mapRect(clip).toAlignedRect() & image->rect();
    return ChartWideLine(*image, pixels, transform.m11(), QPointF(transform.dx(), transform.dy()));
}

ChartWideLine::ChartWideLine(QImage& image, QRect clip, double scale, QPointF offset)
    // The painter already holds the image unshared, so this does not copy it.
    : m_bits(image.bits())
    , m_stride(image.bytesPerLine())
    , m_clip(clip)
    , m_scale(scale)
    , m_offset(offset)
{
}

void ChartWideLine::blend(quint32* pixel, int coverage, quint32 color)
{
    const quint32 source = coverage >= 255 ? color : byteMul(color, static_cast<quint32>(coverage));
    *pixel = source + byteMul(*pixel, 255 - qAlpha(source));
}

void ChartWideLine::stroke(std::span<const QPointF> points, double width, const QColor& color)
{
    if (points.empty() || m_clip.isEmpty())
        return;
    const int columns = m_clip.width();
    const int rows = m_clip.height();
    if (m_coverage.empty()) {
        m_coverage.assign(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), 0);
        m_rowFirst.assign(static_cast<std::size_t>(columns), INT_MAX);
        m_rowLast.assign(static_cast<std::size_t>(columns), INT_MIN);
    }
    const double half = width * m_scale / 2;
    // A pixel is covered in proportion to how far its centre lies inside the line's edge,
    // over one pixel: the usual box-filter estimate, exact for straight edges.
    const double reach = half + 0.5;
    int touchedFirst = INT_MAX;
    int touchedLast = INT_MIN;
    const auto cover = [&](QPointF a, QPointF b) {
        if (!std::isfinite(a.x()) || !std::isfinite(a.y()) || !std::isfinite(b.x()) || !std::isfinite(b.y()))
            return;
        const QPointF d = b - a;
        const double length2 = QPointF::dotProduct(d, d);
        const double left = std::min(a.x(), b.x());
        const double right = std::max(a.x(), b.x());
        const int columnFirst = pixelWithin(left - reach, m_clip.left(), m_clip.right() + 1);
        const int columnLast = pixelWithin(right + reach, m_clip.left() - 1, m_clip.right());
        for (int x = columnFirst; x <= columnLast; ++x) {
            // The rows this column can touch: the segment's heights over the column's reach.
            const double xa = std::clamp(x - reach, left, right);
            const double xb = std::clamp(x + 1 + reach, left, right);
            double ya = a.y();
            double yb = b.y();
            if (d.x() != 0) {
                ya = a.y() + (xa - a.x()) * d.y() / d.x();
                yb = a.y() + (xb - a.x()) * d.y() / d.x();
            }
            const int rowFirst = pixelWithin(std::min(ya, yb) - reach, m_clip.top(), m_clip.bottom() + 1);
            const int rowLast = pixelWithin(std::max(ya, yb) + reach, m_clip.top() - 1, m_clip.bottom());
            if (rowFirst > rowLast)
                continue;
            const auto column = static_cast<std::size_t>(x - m_clip.left());
            quint8* coverage = m_coverage.data() + column * static_cast<std::size_t>(rows);
            bool touched = false;
            for (int y = rowFirst; y <= rowLast; ++y) {
                const QPointF centre(x + 0.5, y + 0.5);
                const double t = length2 > 0 ? std::clamp(QPointF::dotProduct(centre - a, d) / length2, 0.0, 1.0) : 0.0;
                const QPointF offset = centre - (a + d * t);
                const double distance2 = QPointF::dotProduct(offset, offset);
                if (distance2 >= reach * reach)
                    continue;
                const double inside = std::min(reach - std::sqrt(distance2), 1.0);
                const auto value = static_cast<quint8>(inside * 255 + 0.5);
                quint8& cell = coverage[y - m_clip.top()];
                if (value > cell) {
                    cell = value;
                    touched = true;
                }
            }
            if (touched) {
                m_rowFirst[column] = std::min(m_rowFirst[column], rowFirst);
                m_rowLast[column] = std::max(m_rowLast[column], rowLast);
                touchedFirst = std::min(touchedFirst, x);
                touchedLast = std::max(touchedLast, x);
            }
        }
    };
    if (points.size() == 1)
        cover(device(points[0]), device(points[0]));
    for (std::size_t i = 1; i < points.size(); ++i)
        cover(device(points[i - 1]), device(points[i]));

    // Each pixel is blended once, with the most any segment covers it, so the joins show no
    // seams; the buffer is cleared behind.
    const quint32 argb = premultiplied(color);
    for (int x = touchedFirst; x <= touchedLast; ++x) {
        const auto column = static_cast<std::size_t>(x - m_clip.left());
        quint8* coverage = m_coverage.data() + column * static_cast<std::size_t>(rows);
        for (int y = m_rowFirst[column]; y <= m_rowLast[column]; ++y) {
            quint8& cell = coverage[y - m_clip.top()];
            if (cell) {
                blend(reinterpret_cast<quint32*>(m_bits + y * m_stride) + x, cell, argb);
                cell = 0;
            }
        }
        m_rowFirst[column] = INT_MAX;
        m_rowLast[column] = INT_MIN;
    }
}

} // namespace tessary
