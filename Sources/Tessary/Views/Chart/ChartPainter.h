#pragma once

#include <QColor>
#include <QPolygonF>
#include <QRectF>

#include <functional>
#include <span>
#include <vector>

#include "TimeAxis.h"

class QPainter;

namespace tessary {

struct ChartSeries;
class ChartMapper;
class EndLabels;

// Paints the still part of the chart: grid, axis labels, the 0 % baseline, every line and
// the end labels. The view caches what this paints and repaints it only when the data, the
// size, the scale or the highlights change.
class ChartPainter {
public:
    struct Theme {
        QColor background;
        QColor text;
        QColor secondary;
        QColor grid;
    };

    struct Scene {
        const ChartMapper* mapper = nullptr;
        std::span<const TimeAxis::Tick> ticks;
        std::span<const ChartSeries> series;
        std::span<const QPolygonF> paths; // mapped lines, one per series
        std::span<const QColor> colors; // one per series
        std::function<bool(std::size_t series)> highlighted;
        bool anyHighlighted = false;
        const EndLabels* labels = nullptr;
        Theme theme;
    };

    // The width of highlighted lines; the others fade to the palette's faded opacity.
    static constexpr double highlightedWidth = 2.25;

    static void paint(QPainter& painter, const QRectF& area, const Scene& scene);

private:
    static void paintGrid(QPainter& painter, const Scene& scene);
    static void paintTimeTicks(QPainter& painter, const Scene& scene);
    static void paintBaseline(QPainter& painter, const Scene& scene);
    static void paintLines(QPainter& painter, const Scene& scene);
};

} // namespace tessary
