#include "ChartView.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

#include "ChartFocus.h"
#include "ChartPainter.h"
#include "ChartScale.h"
#include "Tessary/Model/DateLabel.h"
#include "Tessary/Model/Palette.h"
#include "TessaryWire/MarketTime.h"

namespace tessary {

namespace {

// How close the pointer must come to a line to pick it out.
constexpr double lineHoverDistance = 6;

} // namespace

ChartView::ChartView(ChartFocus* focus, QWidget* parent)
    : QWidget(parent)
    , m_focus(focus)
{
    setMouseTracking(true);
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(m_focus, &ChartFocus::pinnedChanged, this, [this] {
        if (m_zoomToPinned) {
            relayout();
        } else {
            placeLabels();
            invalidateStatic();
        }
    });
    connect(m_focus, &ChartFocus::hoveredChanged, this, [this] {
        placeLabels();
        invalidateStatic();
    });
    rebuildAxis();
}

void ChartView::setComparison(std::shared_ptr<const Comparison> comparison)
{
    m_comparison = comparison ? std::move(comparison) : std::make_shared<const Comparison>();
    m_labelPage = 0;
    rebuildAxis();
}

void ChartView::setNameLookup(NameLookup names)
{
    m_names = std::move(names);
    update();
}

void ChartView::setLogScale(bool log)
{
    if (log == m_log)
        return;
    m_log = log;
    relayout();
}

void ChartView::setZoomToPinned(bool zoom)
{
    if (zoom == m_zoomToPinned)
        return;
    m_zoomToPinned = zoom;
    relayout();
}

void ChartView::resetHighlights()
{
    m_focus->clearPinned();
}

void ChartView::showLabelPage(int page)
{
    m_labelPage = std::clamp(page, 0, std::max(m_labels.pageCount() - 1, 0));
    placeLabels();
    invalidateStatic();
}

QSize ChartView::sizeHint() const
{
    return { 900, 480 };
}

QSize ChartView::minimumSizeHint() const
{
    return { 320, 180 };
}

QRectF ChartView::plotRect() const
{
    return ChartPainter::plotRect(QRectF(rect()));
}

void ChartView::rebuildAxis()
{
    m_axis = TimeAxis::build(m_comparison->series, m_comparison->interval);
    m_colors = Palette::seriesColors(m_comparison->series);
    relayout();
}

void ChartView::relayout()
{
    const QRectF plot = plotRect();
    QSet<QString> zoomTo;
    if (m_zoomToPinned)
        for (const QString& ticker : m_focus->pinned())
            zoomTo.insert(ticker);
    const YRange range = yDomain(m_comparison->series, zoomTo, m_log);
    m_mapper = ChartMapper(plot, m_axis, range, m_log);
    m_paths.resize(m_comparison->series.size());
    for (std::size_t s = 0; s < m_comparison->series.size(); ++s)
        m_mapper.path(m_comparison->series[s], m_paths[s]);
    m_ticks = m_axis.ticks(plot.width(), ChartScale::tickSpacing);
    m_readoutIndex = -1;
    m_readout.clear();
    m_layers.invalidate();
    placeLabels();
    if (m_pointer)
        pointerMoved(*m_pointer);
    if (m_forcedHover)
        applyForcedHover();
    invalidateStatic();
}

void ChartView::forceHover(std::optional<HoverSpot> spot)
{
    m_forcedHover = spot;
    if (m_forcedHover)
        applyForcedHover();
}

void ChartView::applyForcedHover()
{
    const QRectF plot = m_mapper.plot();
    if (plot.width() <= 0 || m_axis.span() <= 0)
        return;
    double fraction = 0;
    if (const QDate* day = std::get_if<QDate>(&*m_forcedHover)) {
        const QDateTime midnight(*day, QTime(0, 0), QTimeZone::utc());
        fraction = m_axis.position(static_cast<double>(midnight.toSecsSinceEpoch())) / m_axis.span();
    } else {
        fraction = std::get<double>(*m_forcedHover);
    }
    // Just inside the plot at either end, so that the first and the last bar can be shown.
    const double x = std::clamp(plot.left() + fraction * plot.width(), plot.left(), plot.right() - 0.5);
    pointerMoved(QPointF(x, plot.center().y()));
}

void ChartView::placeLabels()
{
    ChartPainter::placeLabels(m_labels, m_comparison->series, m_colors, m_mapper, *m_focus, m_labelPage);
    m_labelPage = m_labels.page();
}

void ChartView::invalidateStatic()
{
    m_staticDirty = true;
    update();
}

bool ChartView::isHighlighted(std::size_t series) const
{
    return series < m_comparison->series.size() && m_focus->isHighlighted(m_comparison->series[series].ticker);
}

void ChartView::rebuildStatic()
{
    const QPalette colors = palette();
    QColor grid = colors.color(QPalette::Text);
    grid.setAlphaF(0.08f);
    ChartPainter::Scene scene;
    scene.mapper = &m_mapper;
    scene.ticks = m_ticks;
    scene.series = m_comparison->series;
    scene.paths = m_paths;
    scene.colors = m_colors;
    scene.highlighted = [this](std::size_t s) { return isHighlighted(s); };
    scene.anyHighlighted = m_focus->hasHighlight();
    scene.labels = &m_labels;
    scene.theme
        = { colors.color(QPalette::Base), colors.color(QPalette::Text), colors.color(QPalette::PlaceholderText), grid };
    m_layers.compose(scene, size(), devicePixelRatioF(), font());
    m_staticDirty = false;
    ++m_staticBuilds;
}

void ChartView::paintEvent(QPaintEvent*)
{
    // A move to a screen of another pixel ratio changes neither the size nor the data.
    const QImage& still = m_layers.picture();
    if (m_staticDirty || still.isNull() || still.devicePixelRatio() != devicePixelRatioF())
        rebuildStatic();
    QPainter painter(this);
    painter.drawImage(QPointF(0, 0), m_layers.picture());
    if (!m_pointer || !m_readout.date())
        return;
    const QPalette colors = palette();
    ChartReadout::Style style;
    style.colors = m_colors;
    style.names = m_names;
    style.highlighted = [this](std::size_t s) { return isHighlighted(s); };
    style.header = readoutHeader();
    style.text = colors.color(QPalette::Text);
    style.secondary = colors.color(QPalette::PlaceholderText);
    style.background = colors.color(QPalette::Base);
    m_readout.paint(painter, m_mapper, m_comparison->series, m_pointer->x(), style);
}

QString ChartView::readoutHeader() const
{
    const auto date = m_readout.date();
    if (!date)
        return {};
    const QDateTime instant = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::floor(*date)), QTimeZone::utc());
    if (m_axis.intraday())
        return DateLabel::display(MarketTime::dateOf(instant)) + QStringLiteral(", ") + MarketTime::time(instant);
    return DateLabel::display(instant.date());
}

void ChartView::resizeEvent(QResizeEvent*)
{
    relayout();
}

void ChartView::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange)
        relayout();
}

std::optional<std::size_t> ChartView::lineNear(QPointF position) const
{
    std::optional<std::size_t> nearest;
    double best = lineHoverDistance;
    for (std::size_t s = 0; s < m_paths.size(); ++s) {
        const QPolygonF& path = m_paths[s];
        if (path.isEmpty())
            continue;
        const auto after = std::lower_bound(
            path.begin(), path.end(), position.x(), [](const QPointF& point, double x) { return point.x() < x; });
        double y = 0;
        if (after == path.begin())
            y = after->x() - position.x() <= lineHoverDistance ? after->y() : qInf();
        else if (after == path.end())
            y = position.x() - path.back().x() <= lineHoverDistance ? path.back().y() : qInf();
        else {
            const QPointF& a = *(after - 1);
            const QPointF& b = *after;
            const double t = b.x() > a.x() ? (position.x() - a.x()) / (b.x() - a.x()) : 0;
            y = a.y() + t * (b.y() - a.y());
        }
        const double distance = std::abs(y - position.y());
        if (distance <= best) {
            best = distance;
            nearest = s;
        }
    }
    return nearest;
}

void ChartView::pointerMoved(QPointF position)
{
    const QRectF plot = m_mapper.plot();
    const bool inPlot = plot.contains(position) && plot.width() > 0;
    std::optional<QString> hovered = m_labels.tickerAt(position);
    if (inPlot) {
        m_pointer = position;
        const double x = (position.x() - plot.left()) / plot.width() * m_axis.span();
        const qsizetype index = m_axis.nearestIndex(x);
        if (index != m_readoutIndex) {
            m_readoutIndex = index;
            if (index >= 0)
                m_readout.rank(m_comparison->series, m_axis.dates()[static_cast<std::size_t>(index)]);
        }
        if (const auto line = lineNear(position))
            hovered = m_comparison->series[*line].ticker;
    } else {
        m_pointer.reset();
        m_readoutIndex = -1;
        m_readout.clear();
    }
    m_focus->setChartHovering(inPlot);
    if (hovered)
        m_focus->setHovered(hovered, true);
    else if (m_focus->hoverFromChart())
        m_focus->setHovered(std::nullopt);
    const bool clickable = hovered.has_value() || m_labels.arrowAt(position) != 0;
    setCursor(clickable ? Qt::PointingHandCursor : Qt::ArrowCursor);
    update();
}

void ChartView::mouseMoveEvent(QMouseEvent* event)
{
    m_forcedHover.reset();
    pointerMoved(event->position());
}

void ChartView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return QWidget::mousePressEvent(event);
    const QPointF position = event->position();
    if (const int step = m_labels.arrowAt(position)) {
        showLabelPage(m_labelPage + step);
        return;
    }
    if (const auto ticker = m_labels.tickerAt(position)) {
        m_focus->togglePinned(*ticker);
        return;
    }
    if (m_mapper.plot().contains(position))
        if (const auto line = lineNear(position))
            m_focus->togglePinned(m_comparison->series[*line].ticker);
}

void ChartView::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    m_pointer.reset();
    m_readoutIndex = -1;
    m_readout.clear();
    m_focus->setChartHovering(false);
    if (m_focus->hoverFromChart())
        m_focus->setHovered(std::nullopt);
    if (m_forcedHover)
        applyForcedHover();
    update();
}

void ChartView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        resetHighlights();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace tessary
