#include "SuggestionList.h"

#include <QMouseEvent>
#include <QPainter>

namespace tessary {

namespace {

const QString etfTag = QStringLiteral("ETF");
const QString benchmarkMark = QStringLiteral("⚑ Benchmark");
const QString alreadyInListMark = QStringLiteral("✓ Already in list");
constexpr int padding = 8;

} // namespace

SuggestionList::SuggestionList(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("tickerSuggestions"));
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::PointingHandCursor);
}

void SuggestionList::setRows(std::vector<Row> rows)
{
    m_rows = std::move(rows);
    updateGeometry();
    update();
}

void SuggestionList::setSuggestions(const std::vector<TickerInfo>& suggestions, const ComparisonList* list)
{
    std::vector<Row> rows;
    rows.reserve(suggestions.size());
    for (const TickerInfo& info : suggestions) {
        auto mark = Mark::none;
        if (list && info.symbol == list->benchmark)
            mark = Mark::benchmark;
        else if (list && list->tickers.contains(info.symbol))
            mark = Mark::alreadyInList;
        rows.push_back({ info, mark });
    }
    setRows(std::move(rows));
}

int SuggestionList::highlightAfter(int key) const
{
    const int last = static_cast<int>(m_rows.size()) - 1;
    return key == Qt::Key_Down ? std::min(m_highlight + 1, last) : std::max(m_highlight - 1, 0);
}

void SuggestionList::setHighlight(int row)
{
    if (m_highlight == row)
        return;
    m_highlight = row;
    update();
}

int SuggestionList::rowHeight() const
{
    return fontMetrics().height() + 10;
}

int SuggestionList::symbolWidth() const
{
    // Wide enough for the longest common symbols, so that names line up.
    return fontMetrics().horizontalAdvance(QStringLiteral("WWWWWW"));
}

QRect SuggestionList::rowRect(int row) const
{
    return QRect(1, 1 + row * rowHeight(), width() - 2, rowHeight());
}

void SuggestionList::showBelow(QWidget& field, bool show)
{
    if (!show || !field.isVisible()) {
        hide();
        return;
    }
    QWidget* host = field.window();
    if (parentWidget() != host)
        setParent(host);
    const QPoint topLeft = field.mapTo(host, QPoint(0, field.height() + 2));
    // A narrow field still shows whole names; the rows keep inside the window.
    const int width = std::max(field.width(), sizeHint().width());
    const int left = std::clamp(topLeft.x(), 0, std::max(0, host->width() - width));
    setGeometry(QRect(QPoint(left, topLeft.y()), QSize(width, sizeHint().height())));
    this->show();
    raise();
}

QSize SuggestionList::sizeHint() const
{
    return QSize(420, static_cast<int>(m_rows.size()) * rowHeight() + 2);
}

void SuggestionList::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QPalette& colors = palette();
    painter.fillRect(rect(), colors.base());
    painter.setPen(colors.mid().color());
    painter.drawRect(rect().adjusted(0, 0, -1, -1));

    QFont bold = font();
    bold.setBold(true);
    QFont small = font();
    small.setPointSizeF(font().pointSizeF() * 0.85);
    for (int row = 0; row < static_cast<int>(m_rows.size()); ++row) {
        const Row& entry = m_rows[static_cast<std::size_t>(row)];
        const QRect area = rowRect(row);
        const bool highlighted = row == m_highlight;
        if (highlighted)
            painter.fillRect(area, colors.highlight());
        const QColor text = highlighted ? colors.highlightedText().color() : colors.text().color();
        const QColor secondary = highlighted ? text : colors.placeholderText().color();

        QRect cursor = area.adjusted(padding, 0, -padding, 0);
        painter.setFont(bold);
        painter.setPen(text);
        painter.drawText(cursor.adjusted(0, 0, -(cursor.width() - symbolWidth()), 0), Qt::AlignVCenter | Qt::AlignLeft,
            entry.info.symbol);
        cursor.setLeft(cursor.left() + symbolWidth() + padding);

        painter.setFont(small);
        if (entry.mark != Mark::none) {
            const QString mark = entry.mark == Mark::benchmark ? benchmarkMark : alreadyInListMark;
            const int markWidth = painter.fontMetrics().horizontalAdvance(mark);
            painter.setPen(secondary);
            painter.drawText(cursor, Qt::AlignVCenter | Qt::AlignRight, mark);
            cursor.setRight(cursor.right() - markWidth - padding);
        }
        if (entry.info.isEtf) {
            const int tagWidth = painter.fontMetrics().horizontalAdvance(etfTag) + 8;
            const QRect tag(cursor.right() - tagWidth, area.center().y() - painter.fontMetrics().height() / 2, tagWidth,
                painter.fontMetrics().height());
            painter.setPen(secondary);
            painter.drawRoundedRect(tag, 3, 3);
            painter.drawText(tag, Qt::AlignCenter, etfTag);
            cursor.setRight(tag.left() - padding);
        }
        painter.setFont(font());
        painter.setPen(secondary);
        painter.drawText(cursor, Qt::AlignVCenter | Qt::AlignLeft,
            painter.fontMetrics().elidedText(entry.info.name, Qt::ElideRight, cursor.width()));
    }
}

void SuggestionList::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const int row = (event->position().toPoint().y() - 1) / rowHeight();
    if (row >= 0 && row < static_cast<int>(m_rows.size()))
        Q_EMIT clicked(row);
}

} // namespace tessary
