#include "WidgetReadout.h"

#include "Tessary/Model/DateLabel.h"
#include "Tessary/Model/Format.h"
#include "Tessary/Model/Palette.h"
#include "Tessary/Views/Chart/ChartView.h"
#include "TessaryWire/MarketTime.h"

#include <QEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

namespace tessary {

namespace {

constexpr int maximumRows = 12;
constexpr int gap = 8;

} // namespace

WidgetReadout::WidgetReadout(ChartView& chart, QWidget& anchor)
    : QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint)
    , m_chart(chart)
    , m_anchor(anchor)
{
    setObjectName(QStringLiteral("widgetReadout"));
    setAttribute(Qt::WA_ShowWithoutActivating);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 8);
    m_text = new QLabel(this);
    m_text->setTextFormat(Qt::RichText);
    layout->addWidget(m_text);
    setAutoFillBackground(true);
    m_chart.installEventFilter(this);
    connect(&anchor, &QObject::destroyed, this, &QObject::deleteLater);
}

bool WidgetReadout::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &m_chart) {
        if (event->type() == QEvent::MouseMove)
            // The chart ranks the hovered points in its own handler, which runs after this one.
            QTimer::singleShot(0, this, &WidgetReadout::follow);
        else if (event->type() == QEvent::Leave || event->type() == QEvent::Hide)
            hide();
    }
    return QWidget::eventFilter(watched, event);
}

void WidgetReadout::follow()
{
    const auto& readout = m_chart.readout();
    const auto& series = m_chart.comparison().series;
    if (!readout.date() || readout.rows().empty()) {
        hide();
        return;
    }
    const QDateTime when
        = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(*readout.date() * 1000), MarketTime::utc());
    QString html
        = QStringLiteral("<b>%1</b><table cellspacing=\"2\">").arg(DateLabel::display(MarketTime::dateOf(when)));
    const std::vector<QColor> colors = Palette::seriesColors(series);
    int shown = 0;
    for (const auto& row : readout.rows()) {
        if (++shown > maximumRows || row.series >= series.size())
            break;
        html += QStringLiteral("<tr><td style=\"color:%1\">●</td><td>%2</td><td align=\"right\">%3</td></tr>")
                    .arg(colors[row.series].name(), series[row.series].ticker.toHtmlEscaped(),
                        Format::percent(row.value, true));
    }
    html += QStringLiteral("</table>");
    m_text->setText(html);
    adjustSize();
    // Beside the panel, on whichever side has room.
    const QRect panel = m_anchor.frameGeometry();
    const QRect screen = m_anchor.screen() ? m_anchor.screen()->availableGeometry() : QRect();
    QPoint at(panel.right() + gap, panel.top());
    if (screen.isValid() && at.x() + width() > screen.right())
        at.setX(panel.left() - gap - width());
    move(at);
    show();
}

} // namespace tessary
