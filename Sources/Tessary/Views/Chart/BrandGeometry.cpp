#include "BrandGeometry.h"

#include <QPainter>
#include <QPolygonF>

#include <array>
#include <cmath>

namespace tessary::BrandGeometry {

namespace {

constexpr QRgb slate = 0x94A3B8;
constexpr QRgb blue = 0x3B5BDB;
constexpr QRgb green = 0x2B8A6E;

// Three columns on two rows of flat tiles, each topped by a bar and a cap whose upper edges
// lie on one line climbing half a unit per unit across the mark.
const std::array<Polygon, 12> shapes = { {
    { slate, { { 7, 78 }, { 33, 78 }, { 33, 86 }, { 7, 86 } } },
    { slate, { { 7, 68 }, { 33, 68 }, { 33, 76 }, { 7, 76 } } },
    { slate, { { 37, 78 }, { 63, 78 }, { 63, 86 }, { 37, 86 } } },
    { slate, { { 37, 68 }, { 63, 68 }, { 63, 76 }, { 37, 76 } } },
    { slate, { { 67, 78 }, { 93, 78 }, { 93, 86 }, { 67, 86 } } },
    { slate, { { 67, 68 }, { 93, 68 }, { 93, 76 }, { 67, 76 } } },
    { blue, { { 11, 66 }, { 33, 55 }, { 33, 66 } } },
    { blue, { { 37, 53 }, { 63, 40 }, { 63, 66 }, { 37, 66 } } },
    { blue, { { 67, 38 }, { 93, 25 }, { 93, 66 }, { 67, 66 } } },
    { green, { { 7, 58 }, { 33, 45 }, { 33, 53 }, { 7, 66 } } },
    { green, { { 37, 43 }, { 63, 30 }, { 63, 38 }, { 37, 51 } } },
    { green, { { 67, 28 }, { 93, 15 }, { 93, 23 }, { 67, 36 } } },
} };

QString number(double value)
{
    return QString::number(value, 'g', 12);
}

} // namespace

QRectF viewBox()
{
    return { 4, 12, 92, 76 };
}

std::span<const Polygon> polygons()
{
    return shapes;
}

QString svg(int height)
{
    const QRectF box = viewBox();
    const auto width = std::lround(box.width() * height / box.height());
    QString text
        = QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"%2\" viewBox=\"%3 %4 "
                         "%5 %6\" role=\"img\" aria-label=\"Tessary\">")
              .arg(width)
              .arg(height)
              .arg(std::lround(box.x()))
              .arg(std::lround(box.y()))
              .arg(std::lround(box.width()))
              .arg(std::lround(box.height()));
    for (const Polygon& polygon : shapes) {
        const QString hex = QStringLiteral("%1").arg(polygon.color & 0xFFFFFF, 6, 16, QLatin1Char('0')).toUpper();
        text += QStringLiteral("<polygon fill=\"#") + hex + QStringLiteral("\" points=\"");
        for (std::size_t i = 0; i < polygon.points.size(); ++i) {
            if (i > 0)
                text += u' ';
            text += number(polygon.points[i].x()) + u',' + number(polygon.points[i].y());
        }
        text += QStringLiteral("\"/>");
    }
    return text + QStringLiteral("</svg>");
}

void paint(QPainter& painter, const QRectF& target)
{
    const QRectF box = viewBox();
    const double scale = std::min(target.width() / box.width(), target.height() / box.height());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.translate(target.center());
    painter.scale(scale, scale);
    painter.translate(-box.center());
    for (const Polygon& polygon : shapes) {
        painter.setBrush(QColor::fromRgb(polygon.color));
        painter.drawPolygon(QPolygonF(QList<QPointF>(polygon.points.begin(), polygon.points.end())));
    }
    painter.restore();
}

} // namespace tessary::BrandGeometry
