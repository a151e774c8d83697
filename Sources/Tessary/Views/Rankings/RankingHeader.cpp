#include "RankingHeader.h"

#include <QMouseEvent>
#include <QPainter>

namespace tessary {

namespace {

constexpr int sideInset = 10;
constexpr int chevronGap = 4;
constexpr qreal chevronPoints = 8;

QFont headingFont(QFont font)
{
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0.5);
    font.setPointSizeF(font.pointSizeF() * 0.85);
    font.setWeight(QFont::DemiBold);
    return font;
}

QFont markFont(QFont font)
{
    font.setPointSizeF(chevronPoints);
    font.setBold(true);
    return font;
}

// The help mark at the right end of a section drawn in `rect`.
QRect markIn(const QRect& rect, const QFont& font)
{
    const int size = QFontMetrics(markFont(headingFont(font))).height();
    return { rect.right() - sideInset - size, rect.center().y() - size / 2, size, size };
}

} // namespace

RankingHeader::RankingHeader(QWidget* parent)
    : QHeaderView(Qt::Horizontal, parent)
{
    setSectionsClickable(true);
    setHighlightSections(false);
}

void RankingHeader::setSortState(int section, bool ascending)
{
    m_section = section;
    m_ascending = ascending;
    viewport()->update();
}

QString RankingHeader::chevron(bool ascending)
{
    return ascending ? QStringLiteral("\u25B2") : QStringLiteral("\u25BC");
}

void RankingHeader::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const
{
    if (!model())
        return;
    painter->save();
    painter->fillRect(rect, palette().color(QPalette::Base));
    QColor text = palette().color(QPalette::Text);
    text.setAlphaF(0.7f);
    painter->setPen(text);
    const QFont font = headingFont(this->font());
    painter->setFont(font);
    const QString heading = model()->headerData(logicalIndex, orientation(), Qt::DisplayRole).toString();
    const bool hasHelp = this->hasHelp(logicalIndex);
    QRect area = rect.adjusted(sideInset, 0, -sideInset, 0);

    const QFont small = markFont(font);
    const QFontMetrics smallMetrics(small);
    if (hasHelp) {
        const QRect mark = markIn(rect, this->font());
        painter->setFont(small);
        painter->drawEllipse(mark.adjusted(1, 1, -1, -1));
        painter->drawText(mark, Qt::AlignCenter, QStringLiteral("?"));
        area.setRight(mark.left() - chevronGap);
    }
    if (logicalIndex == m_section) {
        const QString mark = chevron(m_ascending);
        const int width = smallMetrics.horizontalAdvance(mark);
        painter->setFont(small);
        painter->drawText(QRect(area.right() - width, area.top(), width, area.height()), Qt::AlignCenter, mark);
        area.setRight(area.right() - width - chevronGap);
    }
    painter->setFont(font);
    const QFontMetrics metrics(font);
    QString shown = heading;
    if (metrics.horizontalAdvance(heading) > area.width()) {
        const QString shortened = model()->headerData(logicalIndex, orientation(), shortHeadingRole).toString();
        if (!shortened.isEmpty())
            shown = shortened;
    }
    painter->drawText(area, Qt::AlignVCenter | (logicalIndex == 0 ? Qt::AlignLeft : Qt::AlignRight),
        metrics.elidedText(shown, Qt::ElideRight, area.width()));
    painter->restore();
}

int RankingHeader::headingWidth(int logicalIndex, bool shortened) const
{
    if (!model())
        return 0;
    QString heading = model()->headerData(logicalIndex, orientation(), Qt::DisplayRole).toString();
    if (shortened) {
        const QString shorter = model()->headerData(logicalIndex, orientation(), shortHeadingRole).toString();
        if (!shorter.isEmpty())
            heading = shorter;
    }
    QFont small = font();
    small.setPointSizeF(chevronPoints);
    small.setBold(true);
    const QFontMetrics smallMetrics(small);
    // Room for the chevron always, so that sorting by a column does not cut its heading.
    int marks = smallMetrics.horizontalAdvance(chevron(false)) + chevronGap;
    if (model()->headerData(logicalIndex, orientation(), Qt::ToolTipRole).isValid())
        marks += smallMetrics.height() + chevronGap;
    return QFontMetrics(headingFont(font())).horizontalAdvance(heading) + 2 * sideInset + marks + 1;
}

QSize RankingHeader::sectionSizeFromContents(int logicalIndex) const
{
    const QString heading = model() ? model()->headerData(logicalIndex, orientation()).toString() : QString();
    const QFontMetrics metrics(headingFont(font()));
    return { metrics.horizontalAdvance(heading) + 2 * sideInset + 32, metrics.height() + 12 };
}

bool RankingHeader::hasHelp(int logicalIndex) const
{
    return model() && model()->headerData(logicalIndex, orientation(), Qt::ToolTipRole).isValid();
}

QRect RankingHeader::helpMarkRect(int logicalIndex) const
{
    if (!hasHelp(logicalIndex) || isSectionHidden(logicalIndex))
        return {};
    return markIn(QRect(sectionViewportPosition(logicalIndex), 0, sectionSize(logicalIndex), height()), font());
}

int RankingHeader::helpMarkAt(const QPoint& position) const
{
    const int section = logicalIndexAt(position);
    // A little slack around the mark: it is small, and a near miss should not sort instead.
    return section >= 0 && helpMarkRect(section).adjusted(-3, -3, 3, 3).contains(position) ? section : -1;
}

void RankingHeader::mousePressEvent(QMouseEvent* event)
{
    m_helpPressed = event->button() == Qt::LeftButton ? helpMarkAt(event->position().toPoint()) : -1;
    if (m_helpPressed < 0)
        QHeaderView::mousePressEvent(event);
}

void RankingHeader::mouseReleaseEvent(QMouseEvent* event)
{
    if (m_helpPressed < 0) {
        QHeaderView::mouseReleaseEvent(event);
        return;
    }
    const int pressed = std::exchange(m_helpPressed, -1);
    if (helpMarkAt(event->position().toPoint()) == pressed)
        Q_EMIT helpRequested(pressed);
}

} // namespace tessary
