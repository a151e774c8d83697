#pragma once

#include <QColor>
#include <QPolygonF>
#include <QRectF>

#include <functional>
#include <span>
#include <vector>

#include "EndLabels.h"
#include "TimeAxis.h"

class QPainter;

namespace tessary {

struct ChartSeries;
class ChartFocus;
class ChartMapper;

// Paints the still part of the chart: grid, axis labels, the 0 % baseline, every line and
// the end labels. The view caches what this paints and repaints it only when the data, the
// size, the scale or the highlights change; the export card paints its own copy through it,
// so an exported chart is drawn exactly as the window draws it.
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
        bool labelPageArrows = true; // off in a still picture, where nothing can be paged
        Theme theme;
    };

    // The width of highlighted lines; the others fade to the palette's faded opacity.
    static constexpr double highlightedWidth = 2.25;

    // The whole chart: the base, faded when anything is highlighted, the highlighted lines
    // over it and the end labels.
    static void paint(QPainter& painter, const QRectF& area, const Scene& scene);
    // The parts a view keeps apart. The base is the background, the grid, the axes, the
    // baseline and every line, in its colour or faded; it does not depend on which lines are
    // highlighted, so a change of highlights repaints only the highlighted lines and the labels.
    static void paintBase(QPainter& painter, const QRectF& area, const Scene& scene, bool faded);
    static void paintHighlighted(QPainter& painter, const Scene& scene);
    static void paintLabels(QPainter& painter, const Scene& scene);

    // The plot inside a chart of `bounds`: room for the y labels on the left, the time labels
    // below and the end labels in the gutter on the right.
    static QRectF plotRect(const QRectF& bounds);
    // Lays out the end labels of every drawn line beside `mapper`'s plot, with the pins and
    // highlights of `focus`.
    static void placeLabels(EndLabels& labels, std::span<const ChartSeries> series, std::span<const QColor> colors,
        const ChartMapper& mapper, const ChartFocus& focus, int page);

private:
    static void paintGrid(QPainter& painter, const Scene& scene);
    static void paintTimeTicks(QPainter& painter, const Scene& scene);
    static void paintBaseline(QPainter& painter, const Scene& scene);
    static void paintLines(QPainter& painter, const Scene& scene, bool faded);
    static QRectF lineClip(const Scene& scene);
};

} // namespace tessary
