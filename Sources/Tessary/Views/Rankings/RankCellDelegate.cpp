#include "RankCellDelegate.h"

#include <QPainter>
#include <QPainterPath>

#include "Tessary/Views/Chart/ChartFocus.h"

namespace tessary {

namespace {

QColor secondaryText(const QPalette& palette)
{
    QColor color = palette.color(QPalette::Text);
    color.setAlphaF(0.55f);
    return color;
}

} // namespace

RankCellDelegate::RankCellDelegate(Roles roles, const ChartFocus* focus, QObject* parent)
    : QStyledItemDelegate(parent)
    , m_roles(roles)
    , m_focus(focus)
{
}

void RankCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRect cell = option.rect;
    const QString ticker = index.data(m_roles.ticker).toString();
    if (m_focus && m_focus->isHighlighted(ticker)) {
        QColor lift = option.palette.color(QPalette::Highlight);
        lift.setAlphaF(0.12f);
        painter->fillRect(cell, lift);
    } else if (option.state & QStyle::State_MouseOver) {
        QColor hover = option.palette.color(QPalette::Text);
        hover.setAlphaF(0.05f);
        painter->fillRect(cell, hover);
    }

    const QString text = index.data(Qt::DisplayRole).toString();
    const QVariant rank = index.data(m_roles.rank);
    const QVariant foreground = index.data(Qt::ForegroundRole);
    const auto alignment = Qt::Alignment(index.data(Qt::TextAlignmentRole).toInt());
    QRect textRect = cell.adjusted(inset, 0, -inset, 0);
    QColor textColor = option.palette.color(QPalette::Text);
    if (index.data(m_roles.count).isValid() && !rank.isValid())
        textColor = secondaryText(option.palette); // a ranked column without a value: "NA"
    else if (foreground.canConvert<QColor>())
        textColor = foreground.value<QColor>();

    if (rank.isValid()) {
        const QRect badge(cell.left() + inset / 2, cell.center().y() - 9, badgeWidth - inset, 18);
        QColor fill = textColor;
        fill.setAlphaF(0.16f);
        QPainterPath path;
        path.addRoundedRect(QRectF(badge), 5, 5);
        painter->fillPath(path, fill);
        QFont small = option.font;
        small.setPointSizeF(small.pointSizeF() * 0.8);
        small.setBold(true);
        painter->setFont(small);
        painter->setPen(textColor);
        painter->drawText(badge, Qt::AlignCenter, QString::number(rank.toInt()));
        textRect.setLeft(cell.left() + badgeWidth);
    }
    painter->setFont(option.font);
    painter->setPen(textColor);
    painter->drawText(textRect, alignment ? alignment : Qt::AlignLeft | Qt::AlignVCenter,
        option.fontMetrics.elidedText(text, Qt::ElideRight, textRect.width()));
    painter->restore();
}

QSize RankCellDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QSize base = QStyledItemDelegate::sizeHint(option, index);
    const int badge = index.data(m_roles.count).isValid() ? badgeWidth : 0;
    return { base.width() + badge + 2 * inset, base.height() };
}

} // namespace tessary
