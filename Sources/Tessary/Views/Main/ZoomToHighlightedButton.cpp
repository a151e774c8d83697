#include "ZoomToHighlightedButton.h"

#include "Tessary/Shell/FeatureFlags.h"
#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Chart/ChartView.h"

namespace tessary {

ZoomToHighlightedButton::ZoomToHighlightedButton(ChartFocus& focus, ChartView& chart, QWidget* parent)
    : QToolButton(parent)
    , m_focus(focus)
    , m_chart(chart)
{
    setObjectName(QStringLiteral("zoomToHighlighted"));
    QToolButton::setText(text.toString());
    setToolTip(tip.toString());
    setCheckable(true);
    setAutoRaise(true);
    connect(this, &QToolButton::toggled, &m_chart, &ChartView::setZoomToPinned);
    connect(&m_focus, &ChartFocus::pinnedChanged, this, &ZoomToHighlightedButton::refresh);
    connect(&FeatureFlags::shared(), &FeatureFlags::changed, this, &ZoomToHighlightedButton::refresh);
    refresh();
}

void ZoomToHighlightedButton::refresh()
{
    const bool offered = FeatureFlags::shared().isEnabled(Feature::highlightZoom);
    if (!offered)
        setChecked(false);
    setVisible(offered);
    // With nothing highlighted the zoom would fit every line, which is what the chart does anyway.
    setEnabled(!m_focus.pinned().isEmpty());
}

} // namespace tessary
