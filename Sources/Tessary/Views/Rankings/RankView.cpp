#include "RankView.h"

#include "RankingHeader.h"

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
    m_header->setSectionResizeMode(QHeaderView::Stretch);
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
    auto repaint = [this] { viewport()->update(); };
    connect(&m_focus, &ChartFocus::pinnedChanged, this, repaint);
    connect(&m_focus, &ChartFocus::hoveredChanged, this, repaint);
}

} // namespace tessary
