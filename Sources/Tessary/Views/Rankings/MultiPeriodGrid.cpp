#include "MultiPeriodGrid.h"

#include "RankCellDelegate.h"
#include "RankingHeader.h"

#include "Tessary/Views/Chart/ChartFocus.h"

namespace tessary {

MultiPeriodGrid::MultiPeriodGrid(ChartFocus& focus, QWidget* parent)
    : QTableView(parent)
    , m_focus(focus)
    , m_model(new MultiPeriodGridModel(this))
    , m_header(new RankingHeader(this))
{
    setModel(m_model);
    setHorizontalHeader(m_header);
    using Roles = RankCellDelegate::Roles;
    setItemDelegate(new RankCellDelegate(
        Roles { MultiPeriodGridModel::TickerRole, MultiPeriodGridModel::RankRole, MultiPeriodGridModel::RankCountRole },
        &focus, this));
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(rowHeight);
    m_header->setSectionResizeMode(QHeaderView::Stretch);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setShowGrid(false);
    setFocusPolicy(Qt::NoFocus);
    setMouseTracking(true);

    connect(this, &QAbstractItemView::entered, this, &MultiPeriodGrid::hoverCell);
    connect(this, &QAbstractItemView::clicked, this, [this](const QModelIndex& index) {
        m_focus.togglePinned(index.data(MultiPeriodGridModel::TickerRole).toString());
    });
    connect(m_header, &QHeaderView::sectionClicked, this, [this](int section) {
        m_model->clickHeading(section);
        syncHeader();
    });
    auto repaint = [this] { viewport()->update(); };
    connect(&m_focus, &ChartFocus::pinnedChanged, this, repaint);
    connect(&m_focus, &ChartFocus::hoveredChanged, this, repaint);
    syncHeader();
}

void MultiPeriodGrid::setInput(MultiPeriodGridModel::Input input)
{
    m_model->setInput(std::move(input));
    syncHeader();
}

void MultiPeriodGrid::sortByPeriod(Timeframe period)
{
    const GridSortKey key { GridSortKey::Kind::period, period };
    m_model->clickHeading(m_model->columnOfKey(key));
    syncHeader();
}

void MultiPeriodGrid::syncHeader()
{
    m_header->setSortState(m_model->columnOfKey(m_model->sortKey()), m_model->ascending());
}

void MultiPeriodGrid::hoverCell(const QModelIndex& index)
{
    setHover({ index.data(MultiPeriodGridModel::TickerRole).toString(), m_model->periodOfColumn(index.column()) });
}

void MultiPeriodGrid::setHover(const GridHover& hover)
{
    if (hover == m_hover)
        return;
    const bool tickerChanged = hover.ticker != m_hover.ticker;
    const std::optional<QString> previous = m_hover.ticker;
    m_hover = hover;
    if (tickerChanged) {
        if (hover.ticker)
            m_focus.setHovered(hover.ticker);
        else if (m_focus.hovered() == previous)
            m_focus.setHovered(std::nullopt);
    }
    Q_EMIT hoverChanged(m_hover);
}

void MultiPeriodGrid::leaveEvent(QEvent* event)
{
    setHover({});
    QTableView::leaveEvent(event);
}

} // namespace tessary
