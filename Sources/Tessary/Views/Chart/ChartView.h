#pragma once

#include <QColor>

#include <QPointer>
#include <QPolygonF>
#include <QWidget>
#include <memory>

#include <functional>
#include <optional>
#include <variant>
#include <vector>

#include "ChartLayers.h"
#include "ChartMapper.h"
#include "ChartReadout.h"
#include "EndLabels.h"
#include "Tessary/Model/Comparison.h"
#include "TimeAxis.h"

namespace tessary {

class ChartFocus;

// The comparison chart: one line per ticker on the compressed time axis, end labels in the
// gutter, and a crosshair with a ranked readout under the pointer.
//
// Axes, grid, lines and labels are painted once into a cached image at the screen's pixel
// ratio and reused until the data, the size, the scale or the highlights change; a pointer
// move repaints only the crosshair and the readout over it. A change of highlights reuses
// the faded lines under them (ChartLayers).
class ChartView : public QWidget {
    Q_OBJECT

public:
    using NameLookup = std::function<QString(const QString& ticker)>;

    // `focus` is shared with the legend and the tables and must outlive the view.
    explicit ChartView(ChartFocus* focus, QWidget* parent = nullptr);

    // Shared with the store and the tables rather than copied: a full list is megabytes.
    void setComparison(std::shared_ptr<const Comparison> comparison);
    const Comparison& comparison() const { return *m_comparison; }
    // Company names for the readout, by ticker; empty text when unknown.
    void setNameLookup(NameLookup names);
    void setLogScale(bool log);
    bool logScale() const { return m_log; }
    // Fits the y-range to the pinned tickers' lines instead of all of them.
    void setZoomToPinned(bool zoom);
    bool zoomToPinned() const { return m_zoomToPinned; }

    const ChartMapper& mapper() const { return m_mapper; }
    const ChartReadout& readout() const { return m_readout; }
    const EndLabels& endLabels() const { return m_labels; }
    // How many times the cached still layer has been painted: it must not move on a plain
    // pointer move.
    int staticLayerBuilds() const { return m_staticBuilds; }

    // A hover without a pointer, for pictures: the crosshair and the readout stand on a day
    // (its nearest bar) or at a fraction of the plot's width, through new data and resizes,
    // until the pointer moves over the chart.
    using HoverSpot = std::variant<QDate, double>;
    void forceHover(std::optional<HoverSpot> spot);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public Q_SLOTS:
    // Clears the pinned tickers and shows every line again.
    void resetHighlights();
    void showLabelPage(int page);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // What changed decides how much is redone: the axis only for new data, the mapping for a
    // new size, scale or zoom, the picture for any of those or a change of highlights.
    void rebuildAxis();
    void relayout();
    void invalidateStatic();
    void rebuildStatic();
    void placeLabels();
    void pointerMoved(QPointF position);
    void applyForcedHover();
    std::optional<std::size_t> lineNear(QPointF position) const;
    bool isHighlighted(std::size_t series) const;
    QString readoutHeader() const;
    QRectF plotRect() const;

    QPointer<ChartFocus> m_focus;
    std::shared_ptr<const Comparison> m_comparison = std::make_shared<const Comparison>();
    NameLookup m_names;
    bool m_log = false;
    bool m_zoomToPinned = false;

    TimeAxis m_axis;
    ChartMapper m_mapper;
    std::vector<TimeAxis::Tick> m_ticks;
    std::vector<QPolygonF> m_paths;
    std::vector<QColor> m_colors;
    EndLabels m_labels;
    int m_labelPage = 0;

    ChartLayers m_layers;
    bool m_staticDirty = true;
    int m_staticBuilds = 0;

    std::optional<QPointF> m_pointer;
    std::optional<HoverSpot> m_forcedHover;
    qsizetype m_readoutIndex = -1;
    ChartReadout m_readout;
};

} // namespace tessary
