#include "RankingTable.h"

#include "RankingHeader.h"

#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QKeyEvent>
#include <QMenu>

#include "Tessary/Views/Chart/ChartFocus.h"

namespace tessary {

RankingTable::RankingTable(ChartFocus& focus, QWidget* parent)
    : RankView(focus, new RankingTableModel,
        { RankingTableModel::TickerRole, RankingTableModel::RankRole, RankingTableModel::RankCountRole }, rowHeight,
        parent)
    , m_model(static_cast<RankingTableModel*>(model()))
{
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    connect(this, &QAbstractItemView::entered, this, &RankingTable::hoverRow);
    syncHeader();
}

void RankingTable::headingClicked(int section)
{
    m_model->clickHeading(static_cast<RankingTableModel::Column>(section));
    syncHeader();
}

QString RankingTable::helpTopic(int section) const
{
    switch (static_cast<RankingTableModel::Column>(section)) {
    case RankColumn::netReturn:
        return QStringLiteral("netReturn");
    case RankColumn::vsBenchmark:
        return QStringLiteral("vsBenchmark");
    case RankColumn::cagr:
        return QStringLiteral("cagr");
    case RankColumn::volatility:
        return QStringLiteral("volatility");
    case RankColumn::sharpe:
        return QStringLiteral("sharpe");
    case RankColumn::maxDrawdown:
        return QStringLiteral("maxDrawdown");
    default:
        return {};
    }
}

void RankingTable::setInput(RankingTableModel::Input input)
{
    m_model->setInput(std::move(input));
    syncHeader();
}

void RankingTable::syncHeader()
{
    header().setSortState(static_cast<int>(m_model->sortColumn()), m_model->ascending());
}

void RankingTable::hoverRow(const QModelIndex& index)
{
    const QString ticker = tickerAt(index);
    if (m_hovered == ticker)
        return;
    m_hovered = ticker;
    focus().setHovered(ticker);
}

void RankingTable::leaveEvent(QEvent* event)
{
    // Only clear what this table set: the chart may have moved the hover on since.
    if (m_hovered && focus().hovered() == m_hovered)
        focus().setHovered(std::nullopt);
    m_hovered.reset();
    QTableView::leaveEvent(event);
}

QMenu* RankingTable::contextMenuFor(int row)
{
    if (row < 0 || row >= m_model->rowCount())
        return nullptr;
    const QString ticker = m_model->rowAt(row).ticker;
    auto* menu = new QMenu(this);
    for (const QuoteLink& link : quoteLinks(ticker, m_exchange ? m_exchange(ticker) : std::nullopt, m_hosts)) {
        const QUrl url = link.url;
        menu->addAction(link.text, menu, [url] { QDesktopServices::openUrl(url); });
    }
    menu->addSeparator();
    actionsFor(ticker).addTo(*menu, ticker);
    return menu;
}

TickerActions RankingTable::actionsFor(const QString& ticker)
{
    const auto& input = m_model->input();
    TickerActions actions;
    if (!input.editable || ticker == input.benchmark)
        return actions;
    actions.makeBenchmark = [this](const QString& symbol) { Q_EMIT makeBenchmarkRequested(symbol); };
    if (input.tickers.contains(ticker))
        actions.remove = [this](const QString& symbol) { Q_EMIT removeRequested(symbol); };
    return actions;
}

void RankingTable::keyPressEvent(QKeyEvent* event)
{
    const bool remove = event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace;
    const QModelIndex current = currentIndex();
    if (remove && current.isValid()) {
        const QString ticker = m_model->rowAt(current.row()).ticker;
        if (const TickerActions actions = actionsFor(ticker); actions.remove) {
            actions.remove(ticker);
            return;
        }
    }
    RankView::keyPressEvent(event);
}

void RankingTable::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu* menu = contextMenuFor(indexAt(event->pos()).row());
    if (!menu)
        return;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

QSize RankingTable::sizeHint() const
{
    const int rows = std::min(m_model->rowCount(), 8);
    return { 900, header().sizeHint().height() + std::max(rows, 3) * rowHeight + 2 * frameWidth() };
}

} // namespace tessary
