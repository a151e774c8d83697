#include "MultiPeriodGrid.h"

#include "RankingHeader.h"

#include "Tessary/Views/Chart/ChartFocus.h"

namespace tessary {

MultiPeriodGrid::MultiPeriodGrid(ChartFocus& focus, QWidget* parent)
    : RankView(focus, new MultiPeriodGridModel,
        { MultiPeriodGridModel::TickerRole, MultiPeriodGridModel::RankRole, MultiPeriodGridModel::RankCountRole },
        rowHeight, parent)
    , m_model(static_cast<MultiPeriodGridModel*>(model()))
{
    connect(this, &QAbstractItemView::entered, this, &MultiPeriodGrid::hoverCell);
    syncHeader();
}

void MultiPeriodGrid::headingClicked(int section)
{
    m_model->clickHeading(section);
    syncHeader();
}

QString MultiPeriodGrid::helpTopic(int section) const
{
    switch (m_model->keyOfColumn(section).kind) {
    case GridSortKey::Kind::averageRank:
        return QStringLiteral("averageRank");
    case GridSortKey::Kind::beats:
        return QStringLiteral("beats");
    default:
        return {};
    }
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
    header().setSortState(m_model->columnOfKey(m_model->sortKey()), m_model->ascending());
}

void MultiPeriodGrid::hoverCell(const QModelIndex& index)
{
    setHover({ tickerAt(index), m_model->periodOfColumn(index.column()) });
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
            focus().setHovered(hover.ticker);
        else if (focus().hovered() == previous)
            focus().setHovered(std::nullopt);
    }
    Q_EMIT hoverChanged(m_hover);
}

void MultiPeriodGrid::leaveEvent(QEvent* event)
{
    setHover({});
    QTableView::leaveEvent(event);
}

} // namespace tessary
