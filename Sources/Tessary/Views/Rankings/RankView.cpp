#include "RankView.h"

#include "RankingHeader.h"

#include <numeric>

#include "Tessary/Views/Chart/ChartFocus.h"
#include "Tessary/Views/Common/HelpPopover.h"
#include "Tessary/Views/Common/HelpTopics.h"

namespace tessary {

RankView::RankView(
    ChartFocus& focus, QAbstractItemModel* model, RankCellDelegate::Roles roles, int rowHeight, QWidget* parent)
    : QTableView(parent)
    , m_focus(focus)
    , m_header(new RankingHeader(this))
    , m_tickerRole(roles.ticker)
{
    model->setParent(this);
    setModel(model);
    setHorizontalHeader(m_header);
    setItemDelegate(new RankCellDelegate(roles, &focus, this));
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(rowHeight);
    m_header->setSectionResizeMode(QHeaderView::Fixed);
    m_header->setMinimumSectionSize(1);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setShowGrid(false);
    setFocusPolicy(Qt::NoFocus);
    setMouseTracking(true);

    connect(this, &QAbstractItemView::clicked, this,
        [this](const QModelIndex& index) { m_focus.togglePinned(tickerAt(index)); });
    connect(m_header, &QHeaderView::sectionClicked, this, [this](int section) { headingClicked(section); });
    connect(m_header, &RankingHeader::helpRequested, this, [this](int section) {
        if (const HelpTopic* topic = findHelpTopic(helpTopic(section))) {
            const QRect mark = m_header->helpMarkRect(section);
            HelpPopover::open(*topic, m_header->viewport()->mapToGlobal(mark.bottomLeft() + QPoint(0, 4)), this);
        }
    });
    const auto remeasure = [this] {
        m_valueWidths.clear();
        fitColumns();
    };
    connect(model, &QAbstractItemModel::modelReset, this, remeasure);
    connect(model, &QAbstractItemModel::layoutChanged, this, remeasure);
    connect(model, &QAbstractItemModel::rowsInserted, this, remeasure);
    connect(model, &QAbstractItemModel::rowsRemoved, this, remeasure);
    connect(model, &QAbstractItemModel::dataChanged, this, remeasure);
    connect(model, &QAbstractItemModel::headerDataChanged, this, remeasure);
    auto repaint = [this] { viewport()->update(); };
    connect(&m_focus, &ChartFocus::pinnedChanged, this, repaint);
    connect(&m_focus, &ChartFocus::hoveredChanged, this, repaint);
}

QSize RankView::minimumSizeHint() const
{
    return { QTableView::minimumSizeHint().width(),
        m_header->sizeHint().height() + verticalHeader()->defaultSectionSize() + 2 * frameWidth() };
}

void RankView::resizeEvent(QResizeEvent* event)
{
    QTableView::resizeEvent(event);
    fitColumns();
}

void RankView::fitColumns()
{
    const int columns = model()->columnCount();
    if (static_cast<int>(m_valueWidths.size()) != columns) {
        // Every row, not only those on screen: a value scrolled out of sight still needs room.
        m_valueWidths.assign(static_cast<std::size_t>(columns), 0);
        QStyleOptionViewItem option;
        initViewItemOption(&option);
        for (int row = 0; row < model()->rowCount(); ++row) {
            for (int column = 0; column < columns; ++column) {
                const QModelIndex index = model()->index(row, column);
                int& widest = m_valueWidths[static_cast<std::size_t>(column)];
                widest = std::max(widest, itemDelegateForIndex(index)->sizeHint(option, index).width());
            }
        }
    }
    const auto widths = [&](bool shortened) {
        std::vector<int> result(static_cast<std::size_t>(columns));
        for (int column = 0; column < columns; ++column)
            result[static_cast<std::size_t>(column)]
                = std::max(m_valueWidths[static_cast<std::size_t>(column)], m_header->headingWidth(column, shortened));
        return result;
    };
    const auto total = [](const std::vector<int>& values) { return std::accumulate(values.begin(), values.end(), 0); };
    const int room = viewport()->width();
    std::vector<int> chosen = widths(false);
    if (total(chosen) > room)
        chosen = widths(true);
    const int spare = std::max(0, room - total(chosen));
    for (int column = 0; column < columns; ++column) {
        // Whole pixels, the remainder to the first columns, so the sections fill the view exactly.
        const int share = spare / columns + (column < spare % columns ? 1 : 0);
        m_header->resizeSection(column, chosen[static_cast<std::size_t>(column)] + share);
    }
}

} // namespace tessary
