#include "EndLabels.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

#include "ChartScale.h"
#include "ChartWideLine.h"

namespace tessary {

namespace {

constexpr double arrowSize = 16;
constexpr double labelInset = 6;

} // namespace

int EndLabels::capacity(double plotHeight)
{
    return std::max(static_cast<int>(std::floor(plotHeight / ChartScale::labelHeight)), 1);
}

EndLabels::Layout EndLabels::layout(std::span<const Input> inputs, double top, double bottom, int page)
{
    constexpr double pitch = ChartScale::labelHeight;
    Layout result;
    std::vector<std::size_t> pinned;
    std::vector<std::size_t> plain;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (inputs[i].pinned)
            pinned.push_back(i);
        else if (inputs[i].y >= top && inputs[i].y <= bottom)
            plain.push_back(i);
    }
    const auto byHeight = [&](std::size_t a, std::size_t b) { return inputs[a].y < inputs[b].y; };
    std::ranges::stable_sort(plain, byHeight);

    const auto room = static_cast<std::size_t>(capacity(bottom - top));
    std::vector<std::size_t> chosen = pinned;
    if (pinned.size() + plain.size() <= room) {
        chosen.insert(chosen.end(), plain.begin(), plain.end());
    } else {
        const std::size_t perPage = std::max<std::size_t>(room - std::min(room, pinned.size()), 1);
        const std::size_t pages = (plain.size() + perPage - 1) / perPage;
        result.pageCount = static_cast<int>(std::max<std::size_t>(pages, 1));
        result.page = std::clamp(page, 0, result.pageCount - 1);
        const std::size_t first = static_cast<std::size_t>(result.page) * perPage;
        const std::size_t last = std::min(first + perPage, plain.size());
        chosen.insert(chosen.end(), plain.begin() + static_cast<std::ptrdiff_t>(first),
            plain.begin() + static_cast<std::ptrdiff_t>(last));
    }
    std::ranges::stable_sort(chosen, byHeight);

    // Push down from the top so none overlap, pull back up from the bottom edge, and let
    // the top edge win if they cannot all fit.
    std::vector<double> centres;
    centres.reserve(chosen.size());
    for (const std::size_t i : chosen)
        centres.push_back(std::max(top + pitch / 2, std::min(inputs[i].y, bottom - pitch / 2)));
    for (std::size_t i = 1; i < centres.size(); ++i)
        centres[i] = std::max(centres[i], centres[i - 1] + pitch);
    if (!centres.empty())
        centres.back() = std::min(centres.back(), bottom - pitch / 2);
    for (std::size_t i = centres.size(); i-- > 1;)
        centres[i - 1] = std::min(centres[i - 1], centres[i] - pitch);
    if (!centres.empty())
        centres.front() = std::max(centres.front(), top + pitch / 2);
    for (std::size_t i = 1; i < centres.size(); ++i)
        centres[i] = std::max(centres[i], centres[i - 1] + pitch);

    for (std::size_t k = 0; k < chosen.size(); ++k)
        result.labels.push_back(Placed { chosen[k], centres[k] });
    return result;
}

void EndLabels::place(std::vector<Input> inputs, const QRectF& gutter, double plotTop, double plotBottom, int page)
{
    m_inputs = std::move(inputs);
    m_gutter = gutter;
    m_plotTop = plotTop;
    m_plotBottom = plotBottom;
    m_layout = layout(m_inputs, plotTop, plotBottom, page);
}

QRectF EndLabels::labelRect(const Placed& placed) const
{
    return QRectF(m_gutter.left() + labelInset, placed.y - ChartScale::labelHeight / 2, m_gutter.width() - labelInset,
        ChartScale::labelHeight);
}

QRectF EndLabels::previousArrow() const
{
    return QRectF(m_gutter.left() + labelInset, m_plotBottom + 4, arrowSize, arrowSize);
}

QRectF EndLabels::nextArrow() const
{
    return QRectF(m_gutter.right() - arrowSize, m_plotBottom + 4, arrowSize, arrowSize);
}

void EndLabels::paint(
    QPainter& painter, bool anyHighlighted, const QColor& text, const QColor& secondary, bool pageArrows) const
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    QFont font = painter.font();
    font.setPointSizeF(10.5);
    QFont bold = font;
    bold.setWeight(QFont::DemiBold);
    // The leaders go straight into the image's pixels where the painter draws on one: the
    // raster engine's stroker hands each of these short lines to its thread pool at a pixel
    // ratio of 2 and waits, which made them most of the cost of a change of highlights.
    auto direct = ChartWideLine::onto(painter, m_gutter.adjusted(-1, -1, 1, 1));
    for (const Placed& placed : m_layout.labels) {
        const Input& input = m_inputs[placed.input];
        const QRectF rect = labelRect(placed);
        // A short leader ties the label to where its line ends when stacking moved it.
        QColor leader = input.color;
        leader.setAlphaF(anyHighlighted && !input.highlighted ? 0.25f : 0.6f);
        const std::array ends { QPointF(m_gutter.left(), std::clamp(input.y, m_plotTop, m_plotBottom)),
            QPointF(rect.left(), placed.y) };
        if (direct) {
            direct->stroke(ends, 1, leader);
        } else {
            painter.setPen(QPen(leader, 1));
            painter.drawLine(ends[0], ends[1]);
        }
        QColor color = input.color;
        if (anyHighlighted && !input.highlighted)
            color.setAlphaF(0.35f);
        const QFontMetricsF metrics(input.highlighted ? bold : font);
        const QString label = metrics.elidedText(input.ticker, Qt::ElideRight, rect.width() - 6);
        if (input.pinned) {
            const QRectF pill(rect.left(), rect.top() + 1, metrics.horizontalAdvance(label) + 8, rect.height() - 2);
            painter.setPen(Qt::NoPen);
            painter.setBrush(input.color);
            painter.drawRoundedRect(pill, 3, 3);
            painter.setPen(Qt::white);
            painter.setFont(bold);
            painter.drawText(pill, Qt::AlignCenter, label);
            continue;
        }
        painter.setFont(input.highlighted ? bold : font);
        painter.setPen(color);
        painter.drawText(rect.adjusted(4, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, label);
    }
    if (pageArrows && m_layout.pageCount > 1) {
        painter.setFont(font);
        painter.setPen(m_layout.page > 0 ? text : secondary);
        painter.drawText(previousArrow(), Qt::AlignCenter, QStringLiteral("\u25B2"));
        painter.setPen(m_layout.page + 1 < m_layout.pageCount ? text : secondary);
        painter.drawText(nextArrow(), Qt::AlignCenter, QStringLiteral("\u25BC"));
        painter.setPen(secondary);
        const QRectF between(
            previousArrow().right(), previousArrow().top(), nextArrow().left() - previousArrow().right(), arrowSize);
        painter.drawText(
            between, Qt::AlignCenter, QStringLiteral("%1/%2").arg(m_layout.page + 1).arg(m_layout.pageCount));
    }
    painter.restore();
}

std::optional<QString> EndLabels::tickerAt(QPointF point) const
{
    for (const Placed& placed : m_layout.labels)
        if (labelRect(placed).contains(point))
            return m_inputs[placed.input].ticker;
    return std::nullopt;
}

int EndLabels::arrowAt(QPointF point) const
{
    if (m_layout.pageCount <= 1)
        return 0;
    if (previousArrow().contains(point))
        return -1;
    if (nextArrow().contains(point))
        return 1;
    return 0;
}

} // namespace tessary
