#pragma once

#include <QPointF>
#include <QRectF>
#include <QRgb>
#include <QString>

#include <span>
#include <vector>

class QPainter;

namespace tessary::BrandGeometry {

// One filled shape of the mark, in view-box units.
struct Polygon {
    QRgb color; // 24-bit RGB
    std::vector<QPointF> points;
};

// The part of the plane the mark's points live in: origin (4, 12), 92 wide, 76 high.
QRectF viewBox();
// The twelve shapes, back to front: six grey base tiles, then three blue bars, then three
// green caps whose slanted tops climb from left to right.
std::span<const Polygon> polygons();

// The mark as a standalone SVG document `height` pixels high, its width in proportion.
QString svg(int height);
// Fills `target` with the mark, scaled to fit and centred, keeping its proportions.
void paint(QPainter& painter, const QRectF& target);

} // namespace tessary::BrandGeometry
