#include "ChartReadout.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

#include "ChartMapper.h"
#include "ChartScale.h"
#include "Tessary/Model/Comparison.h"
#include "Tessary/Model/Format.h"
#include "Tessary/Model/Palette.h"

namespace tessary {

namespace {

constexpr double boxWidth = 340;
constexpr double padding = 8;
constexpr double headerHeight = 22;
constexpr double gapToCrosshair = 12;

} // namespace

void ChartReadout::rank(std::span<const ChartSeries> series, double date)
{
    m_rows.clear();
    m_date = date;
    for (std::size_t s = 0; s < series.size(); ++s) {
        const auto& points = series[s].points;
        const auto found = std::ranges::lower_bound(points, date, {}, &ChartPoint::date);
        if (found == points.end() || found->date != date)
            continue;
        m_rows.push_back(Row { 0, s, found->value, found->price() });
    }
    std::ranges::stable_sort(m_rows, std::greater<> {}, &Row::value);
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        m_rows[i].rank = static_cast<int>(i) + 1;
}

void ChartReadout::clear()
{
    m_rows.clear();
    m_date.reset();
}

int ChartReadout::capacity(double plotHeight)
{
    const double fit = std::floor((plotHeight - ChartScale::readoutChrome) / ChartScale::readoutRowHeight);
    return std::max(static_cast<int>(std::max(fit, 0.0)), ChartScale::readoutMinimumRows);
}

ChartReadout::Visible ChartReadout::visible(int capacity, const Highlighted& highlighted) const
{
    Visible result;
    const auto count = m_rows.size();
    const auto room = static_cast<std::size_t>(std::max(capacity, 1));
    if (count <= room) {
        for (std::size_t i = 0; i < count; ++i)
            result.rows.push_back(i);
        return result;
    }
    const std::size_t slots = room - 1;
    std::size_t highlightedCount = 0;
    if (highlighted)
        for (const Row& row : m_rows)
            highlightedCount += highlighted(row.series) ? 1 : 0;
    // A pinned ticker far down the ranking is the one the user is following: it takes the
    // place of the lowest plain row rather than vanishing into "N more".
    const std::size_t plainSlots = slots - std::min(highlightedCount, slots);
    std::size_t plainTaken = 0;
    std::size_t highlightedTaken = 0;
    for (std::size_t i = 0; i < count && result.rows.size() < slots; ++i) {
        if (highlighted && highlighted(m_rows[i].series)) {
            if (highlightedTaken++ < slots)
                result.rows.push_back(i);
        } else if (plainTaken < plainSlots) {
            ++plainTaken;
            result.rows.push_back(i);
        }
    }
    result.more = static_cast<qsizetype>(count - result.rows.size());
    return result;
}

QString ChartReadout::shortName(const QString& name)
{
    static const QRegularExpression suffix(
        QStringLiteral(
            R"(,?\s+(inc|incorporated|corp|corporation|co|company|ltd|limited|plc|holdings?|group|n\.?v|s\.?a|ag|se)\.?$)"),
        QRegularExpression::CaseInsensitiveOption);
    QString shortened = name.trimmed();
    shortened.remove(suffix);
    return shortened;
}

void ChartReadout::paint(QPainter& painter, const ChartMapper& mapper, std::span<const ChartSeries> series,
    double pointerX, const Style& style) const
{
    const QRectF plot = mapper.plot();
    if (!m_date)
        return;
    const double x = mapper.x(*m_date);

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    QPen crosshair(style.secondary, 1);
    painter.setPen(crosshair);
    painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));

    const Visible shown = visible(capacity(plot.height()), style.highlighted);
    const auto colorOf
        = [&](std::size_t s) { return style.colors.empty() ? style.text : style.colors[s % style.colors.size()]; };
    for (const std::size_t index : shown.rows) {
        const Row& row = m_rows[index];
        painter.setPen(QPen(style.background, 1.5));
        painter.setBrush(colorOf(row.series));
        painter.drawEllipse(QPointF(x, mapper.y(row.value)), 3.5, 3.5);
    }

    const double lines = static_cast<double>(shown.rows.size()) + (shown.more > 0 ? 1 : 0);
    const double height = headerHeight + lines * ChartScale::readoutRowHeight + 2 * padding;
    const double width = std::min(boxWidth, std::max(plot.width() - 2 * padding, 120.0));
    // The box stays beside the crosshair, flipping to the left when it would leave the plot.
    double left = pointerX + gapToCrosshair;
    if (left + width > plot.right())
        left = pointerX - gapToCrosshair - width;
    left = std::max(left, plot.left());
    const QRectF box(left, plot.top() + padding, width, height);
    QColor fill = style.background;
    fill.setAlphaF(0.94f);
    painter.setPen(QPen(style.secondary.lighter(140), 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(box, 6, 6);

    QFont font = painter.font();
    font.setPointSizeF(11);
    QFont bold = font;
    bold.setWeight(QFont::DemiBold);
    const QFontMetricsF metrics(font);
    const QFontMetricsF boldMetrics(bold);
    const QRectF content = box.adjusted(padding, padding, -padding, -padding);
    painter.setFont(bold);
    painter.setPen(style.text);
    painter.drawText(QRectF(content.left(), content.top(), content.width(), headerHeight),
        Qt::AlignLeft | Qt::AlignVCenter, style.header);

    const double rankWidth = metrics.horizontalAdvance(QStringLiteral("000")) + 4;
    // As wide as the widest symbol shown, so a five-letter one never runs into its name.
    double tickerWidth = 40;
    for (const std::size_t index : shown.rows)
        tickerWidth = std::max(tickerWidth, boldMetrics.horizontalAdvance(series[m_rows[index].series].ticker) + 6);
    const double priceWidth = 72;
    const double returnWidth = 68;
    double top = content.top() + headerHeight;
    for (const std::size_t index : shown.rows) {
        const Row& row = m_rows[index];
        const ChartSeries& line = series[row.series];
        const bool emphasised = style.highlighted && style.highlighted(row.series);
        const QRectF rowRect(content.left(), top, content.width(), ChartScale::readoutRowHeight);
        double cursor = rowRect.left();
        painter.setFont(font);
        painter.setPen(style.secondary);
        painter.drawText(QRectF(cursor, top, rankWidth, rowRect.height()), Qt::AlignLeft | Qt::AlignVCenter,
            QString::number(row.rank));
        cursor += rankWidth;
        painter.setFont(bold);
        painter.setPen(colorOf(row.series));
        painter.drawText(
            QRectF(cursor, top, tickerWidth, rowRect.height()), Qt::AlignLeft | Qt::AlignVCenter, line.ticker);
        cursor += tickerWidth;
        const double nameWidth = rowRect.right() - cursor - priceWidth - returnWidth;
        painter.setFont(emphasised ? bold : font);
        painter.setPen(emphasised ? style.text : style.secondary);
        if (style.names && nameWidth > 12) {
            const QString name = (emphasised ? boldMetrics : metrics)
                                     .elidedText(shortName(style.names(line.ticker)), Qt::ElideRight, nameWidth);
            painter.drawText(QRectF(cursor, top, nameWidth, rowRect.height()), Qt::AlignLeft | Qt::AlignVCenter, name);
        }
        painter.setPen(style.text);
        painter.drawText(QRectF(rowRect.right() - priceWidth - returnWidth, top, priceWidth, rowRect.height()),
            Qt::AlignRight | Qt::AlignVCenter, Format::price(row.price));
        painter.setFont(bold);
        painter.setPen(row.value < 0 ? Palette::negative() : Palette::positive());
        painter.drawText(QRectF(rowRect.right() - returnWidth, top, returnWidth, rowRect.height()),
            Qt::AlignRight | Qt::AlignVCenter, Format::percent(row.value, true));
        top += ChartScale::readoutRowHeight;
    }
    if (shown.more > 0) {
        painter.setFont(font);
        painter.setPen(style.secondary);
        painter.drawText(QRectF(content.left(), top, content.width(), ChartScale::readoutRowHeight),
            Qt::AlignLeft | Qt::AlignVCenter, QString::number(shown.more).append(moreSuffix));
    }
    painter.restore();
}

} // namespace tessary
