#pragma once

#include <QWidget>

class QLabel;

namespace tessary {

class ChartView;

// The values under the pointer, in a small window beside the widget rather than over its
// chart, which is too small to give room to a readout.
class WidgetReadout : public QWidget {
    Q_OBJECT

public:
    // Follows the pointer over `chart`; `anchor` is the panel it sits beside.
    WidgetReadout(ChartView& chart, QWidget& anchor);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow();

    ChartView& m_chart;
    QWidget& m_anchor;
    QLabel* m_text = nullptr;
};

} // namespace tessary
