#include "MultiPeriodGridModel.h"

#include "RankingHeader.h"

#include "Tessary/Model/Format.h"
#include "Tessary/Model/Palette.h"

namespace tessary {

namespace {

const QString tickerHeading = QStringLiteral("Ticker");
const QString averageHeading = QStringLiteral("Avg rank");
const QString averageShortHeading = QStringLiteral("Avg");
const QString beatHeading = QStringLiteral("Beat");
const QString ofText = QStringLiteral(" of ");

} // namespace

MultiPeriodGridModel::MultiPeriodGridModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void MultiPeriodGridModel::setInput(Input input)
{
    beginResetModel();
    m_input = std::move(input);
    // A period that is no longer shown cannot stay the sort key.
    if (m_key.kind == GridSortKey::Kind::period && columnOfKey(m_key) < 0)
        m_key = {};
    rebuild();
    endResetModel();
}

void MultiPeriodGridModel::setSort(const GridSortKey& key, bool ascending)
{
    beginResetModel();
    m_key = key;
    m_ascending = ascending;
    rebuild();
    endResetModel();
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
}

void MultiPeriodGridModel::clickHeading(int column)
{
    if (column < 0 || column >= columnCount())
        return;
    const GridSortKey key = keyOfColumn(column);
    setSort(key, key == m_key ? !m_ascending : true);
}

void MultiPeriodGridModel::rebuild()
{
    m_lines = sortGridLines(gridLines(m_input.rows, m_input.benchmarkRow, m_input.benchmark, m_input.periods), m_key,
        m_ascending, m_input.periods);
}

GridSortKey MultiPeriodGridModel::keyOfColumn(int column) const
{
    const int periods = static_cast<int>(m_input.periods.size());
    if (column <= 0)
        return { GridSortKey::Kind::ticker };
    if (column <= periods)
        return { GridSortKey::Kind::period, m_input.periods[static_cast<std::size_t>(column - 1)] };
    return { column == periods + 1 ? GridSortKey::Kind::averageRank : GridSortKey::Kind::beats };
}

int MultiPeriodGridModel::columnOfKey(const GridSortKey& key) const
{
    const int periods = static_cast<int>(m_input.periods.size());
    switch (key.kind) {
    case GridSortKey::Kind::ticker:
        return 0;
    case GridSortKey::Kind::averageRank:
        return periods + 1;
    case GridSortKey::Kind::beats:
        return periods + 2;
    case GridSortKey::Kind::period:
        break;
    }
    const auto at = std::find(m_input.periods.begin(), m_input.periods.end(), key.period);
    return at == m_input.periods.end() ? -1 : static_cast<int>(at - m_input.periods.begin()) + 1;
}

std::optional<Timeframe> MultiPeriodGridModel::periodOfColumn(int column) const
{
    const GridSortKey key = keyOfColumn(column);
    return key.kind == GridSortKey::Kind::period ? std::optional(key.period) : std::nullopt;
}

int MultiPeriodGridModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_lines.size());
}

int MultiPeriodGridModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_input.periods.size()) + Column::count;
}

QVariant MultiPeriodGridModel::periodData(const GridLine& line, std::size_t period, int role) const
{
    const auto& place = line.places[period];
    const auto& value = line.returns[period];
    switch (role) {
    case Qt::DisplayRole:
        return value ? Format::percent(value, true) : missingText.toString();
    case Qt::ForegroundRole:
        return place ? QVariant(Palette::rankColor(place->rank, place->total)) : QVariant();
    case Qt::ToolTipRole:
        if (!place)
            return missingHelpText.toString();
        return QStringLiteral("%1 · %2: %3, rank %4 of %5")
            .arg(line.ticker, Timeframes::rawValue(m_input.periods[period]), Format::percent(value, true))
            .arg(place->rank)
            .arg(place->total);
    case RankRole:
        return place ? QVariant(place->rank) : QVariant();
    case RankCountRole:
        return place ? place->total : 0;
    case ReturnRole:
        return value ? QVariant(*value) : QVariant();
    default:
        return {};
    }
}

QVariant MultiPeriodGridModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const GridLine& line = lineAt(index.row());
    if (role == TickerRole)
        return line.ticker;
    if (const auto period = periodOfColumn(index.column()))
        return periodData(line, static_cast<std::size_t>(index.column() - 1), role);
    const GridSortKey::Kind kind = keyOfColumn(index.column()).kind;
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(
            kind == GridSortKey::Kind::ticker ? Qt::AlignLeft | Qt::AlignVCenter : Qt::AlignRight | Qt::AlignVCenter);
    switch (kind) {
    case GridSortKey::Kind::ticker:
        if (role == Qt::DisplayRole)
            return line.ticker;
        if (role == Qt::ForegroundRole)
            return m_input.colors.value(line.ticker, secondaryColor());
        return {};
    case GridSortKey::Kind::averageRank:
        if (role == Qt::DisplayRole)
            return line.averageRank ? QString::number(*line.averageRank, 'f', 1) : missingText.toString();
        if (role == SortValueRole && line.averageRank)
            return *line.averageRank;
        return {};
    case GridSortKey::Kind::beats:
        if (role == Qt::DisplayRole)
            return line.beats ? QString::number(line.beats->beaten) + ofText + QString::number(line.beats->compared)
                              : missingText.toString();
        if (role == SortValueRole && line.beats)
            return static_cast<double>(line.beats->beaten) / line.beats->compared;
        return {};
    case GridSortKey::Kind::period:
        break;
    }
    return {};
}

QVariant MultiPeriodGridModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= columnCount())
        return QAbstractTableModel::headerData(section, orientation, role);
    const GridSortKey key = keyOfColumn(section);
    if (role == Qt::ToolTipRole) {
        if (key.kind == GridSortKey::Kind::averageRank || key.kind == GridSortKey::Kind::beats)
            return helpText.toString();
        return {};
    }
    if (role == RankingHeader::shortHeadingRole) {
        if (key.kind == GridSortKey::Kind::averageRank)
            return averageShortHeading.toUpper();
        if (key.kind == GridSortKey::Kind::beats)
            return beatHeading.toUpper();
        return {};
    }
    if (role != Qt::DisplayRole)
        return {};
    switch (key.kind) {
    case GridSortKey::Kind::ticker:
        return tickerHeading.toUpper();
    case GridSortKey::Kind::period:
        return Timeframes::rawValue(key.period);
    case GridSortKey::Kind::averageRank:
        return averageHeading.toUpper();
    case GridSortKey::Kind::beats:
        return (beatHeading + u' ' + m_input.benchmark).trimmed().toUpper();
    }
    return {};
}

} // namespace tessary
