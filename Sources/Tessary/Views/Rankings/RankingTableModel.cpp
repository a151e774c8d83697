#include "RankingTableModel.h"

#include "RankingHeader.h"

#include "Tessary/Model/Format.h"
#include "Tessary/Model/Palette.h"
#include "TessaryWire/MarketTime.h"

namespace tessary {

namespace {

const QString volatilityShortHeading = QStringLiteral("VOL");

const QString incompleteStarts = QStringLiteral("'s data starts on");
const QString incompleteEnd
    = QStringLiteral(", after this period begins, so its metrics show NA and it's listed last.");

int indexOf(RankColumn column)
{
    return static_cast<int>(column);
}

} // namespace

RankingTableModel::RankingTableModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void RankingTableModel::setInput(Input input)
{
    beginResetModel();
    m_input = std::move(input);
    rebuild();
    endResetModel();
}

void RankingTableModel::setSort(Column column, bool ascending)
{
    if (indexOf(column) < 0 || column >= RankColumn::count)
        return;
    beginResetModel();
    m_sortColumn = column;
    m_ascending = ascending;
    rebuild();
    endResetModel();
    // The chevron moves with the sort column.
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, columns - 1);
}

void RankingTableModel::clickHeading(Column column)
{
    if (column == m_sortColumn)
        setSort(column, !m_ascending);
    else
        setSort(column, firstClickAscending(column));
}

void RankingTableModel::sort(int column, Qt::SortOrder order)
{
    setSort(static_cast<Column>(column), order == Qt::AscendingOrder);
}

int RankingTableModel::rowOf(const QString& ticker) const
{
    for (std::size_t i = 0; i < m_rows.size(); ++i)
        if (m_rows[i].ticker == ticker)
            return static_cast<int>(i);
    return -1;
}

void RankingTableModel::rebuild()
{
    const std::vector<RankRow> all = rowsWithBenchmark(m_input.rows, m_input.benchmarkRow);
    m_ranks.clear();
    m_rankCounts.fill(0);
    for (const RankRow& row : all)
        m_ranks[row.ticker].fill(0);
    for (int column = indexOf(RankColumn::netReturn); column < columns; ++column) {
        const std::vector<int> places = rankPositions(all, static_cast<RankColumn>(column), &m_rankCounts[column]);
        for (std::size_t i = 0; i < all.size(); ++i)
            m_ranks[all[i].ticker][column] = places[i];
    }
    m_rows = sortRankRows(all, m_sortColumn, m_ascending);
}

int RankingTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int RankingTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : columns;
}

QString RankingTableModel::displayText(const RankRow& row, Column column) const
{
    if (column == RankColumn::ticker)
        return row.ticker;
    const std::optional<double> value = rankValue(row, column);
    switch (column) {
    case RankColumn::price:
        return Format::price(value);
    case RankColumn::marketCap:
        return value ? Format::marketCap(value) : QString();
    default:
        break;
    }
    if (!value)
        return missingText.toString();
    if (column == RankColumn::sharpe)
        return Format::ratio(value);
    return Format::percent(
        value, column == RankColumn::netReturn || column == RankColumn::vsBenchmark || column == RankColumn::cagr);
}

QVariant RankingTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const RankRow& row = rowAt(index.row());
    const auto column = static_cast<Column>(index.column());
    const int rank = m_ranks.value(row.ticker)[indexOf(column)];
    switch (role) {
    case Qt::DisplayRole:
        return displayText(row, column);
    case Qt::ToolTipRole:
        return row.incomplete ? incompleteText(row) : QVariant();
    case Qt::TextAlignmentRole:
        return QVariant::fromValue(
            column == RankColumn::ticker ? Qt::AlignLeft | Qt::AlignVCenter : Qt::AlignRight | Qt::AlignVCenter);
    case Qt::ForegroundRole:
        return rank > 0 ? QVariant(Palette::rankColor(rank, m_rankCounts[indexOf(column)])) : QVariant();
    case TickerRole:
        return row.ticker;
    case ValueRole: {
        const auto value = rankValue(row, column);
        return value ? QVariant(*value) : QVariant();
    }
    case RankRole:
        return rank > 0 ? QVariant(rank) : QVariant();
    case RankCountRole:
        return isRankedColumn(column) ? QVariant(m_rankCounts[indexOf(column)]) : QVariant();
    case IncompleteRole:
        return row.incomplete;
    case BenchmarkRole:
        return row.ticker == m_input.benchmark;
    default:
        return {};
    }
}

QVariant RankingTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columns)
        return QAbstractTableModel::headerData(section, orientation, role);
    const auto column = static_cast<Column>(section);
    switch (role) {
    case Qt::DisplayRole:
        return rankColumnHeading(column, m_input.benchmark).toUpper();
    case Qt::ToolTipRole: {
        const QString help = helpText(column);
        return help.isEmpty() ? QVariant() : QVariant(help);
    }
    case Qt::InitialSortOrderRole:
        return firstClickAscending(column) ? Qt::AscendingOrder : Qt::DescendingOrder;
    case RankingHeader::shortHeadingRole:
        return column == Column::volatility ? volatilityShortHeading : QVariant();
    default:
        return {};
    }
}

QString RankingTableModel::incompleteText(const RankRow& row)
{
    const QString start = row.startDate ? MarketTime::formatDate(*row.startDate) : QStringLiteral("a later day");
    return row.ticker + incompleteStarts + u' ' + start + incompleteEnd;
}

QString RankingTableModel::helpText(Column column)
{
    switch (column) {
    case RankColumn::netReturn:
        return QStringLiteral("How much the price grew over the period, dividends reinvested.");
    case RankColumn::vsBenchmark:
        return QStringLiteral("The ticker's return minus the benchmark's over the same days.");
    case RankColumn::cagr:
        return QStringLiteral("The yearly growth rate that compounds to the same result; needs a year of data.");
    case RankColumn::volatility:
        return QStringLiteral("How much the price swings, as a yearly standard deviation. Lower is calmer.");
    case RankColumn::sharpe:
        return QStringLiteral("Return earned per unit of volatility. Higher pays better for the swings.");
    case RankColumn::maxDrawdown:
        return QStringLiteral("The deepest fall from a high to a later low within the period.");
    default:
        return {};
    }
}

} // namespace tessary
