#pragma once

#include <QToolButton>

namespace tessary {

class ChartFocus;
class ChartView;

// A small switch above the chart that fits the y-range to the highlighted tickers. It is a
// beta feature: shown only while that flag is on, and turning the flag off also turns the
// zoom off, so the chart never stays zoomed by a control the user can no longer see.
class ZoomToHighlightedButton : public QToolButton {
    Q_OBJECT

public:
    static constexpr QStringView text = u"Zoom to Highlighted";
    static constexpr QStringView tip = u"Fit the chart's range to the highlighted tickers";

    // `focus` and `chart` must outlive the button.
    ZoomToHighlightedButton(ChartFocus& focus, ChartView& chart, QWidget* parent = nullptr);

private:
    void refresh();

    ChartFocus& m_focus;
    ChartView& m_chart;
};

} // namespace tessary
