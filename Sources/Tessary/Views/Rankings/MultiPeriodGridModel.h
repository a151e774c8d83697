#pragma once

#include "GridLines.h"

#include <QAbstractTableModel>
#include <QColor>
#include <QHash>

namespace tessary {

// The multi-period grid: the ticker, one column per period shown, then the average rank and
// the beat count. Lines are kept sorted by the current key.
class MultiPeriodGridModel : public QAbstractTableModel {
    Q_OBJECT

public:
    // The fixed columns; the period columns sit between `ticker` and `averageRank`.
    enum Column { ticker, averageRank, beats, count };

    enum Role {
        TickerRole = Qt::UserRole,
        RankRole, // rank in the period, invalid when NA
        RankCountRole, // rows ranked in the period; valid on every period cell
        ReturnRole, // the period's return, invalid when NA
        SortValueRole, // average rank, or the fraction of periods beaten
    };

    struct Input {
        std::vector<RankRow> rows;
        std::optional<RankRow> benchmarkRow;
        QString benchmark;
        std::vector<Timeframe> periods;
        QHash<QString, QColor> colors; // the chart's colour of each list ticker
    };

    static constexpr QStringView helpText
        = u"Avg rank is the ticker's average rank across the periods shown, so lower is better. Beat shows in how many "
          u"of those periods it returned more than the benchmark.";
    static constexpr QStringView missingHelpText = u"NA means the ticker doesn't have that much history.";
    static constexpr QStringView missingText = u"NA";
    // Labels of the benchmark and of symbols outside the list.
    static QColor secondaryColor() { return QColor(0x8A, 0x8F, 0x98); }

    explicit MultiPeriodGridModel(QObject* parent = nullptr);

    void setInput(Input input);
    const Input& input() const { return m_input; }

    const GridSortKey& sortKey() const { return m_key; }
    bool ascending() const { return m_ascending; }
    void setSort(const GridSortKey& key, bool ascending);
    // A heading click: a new key sorts best first, the current one flips.
    void clickHeading(int column);

    GridSortKey keyOfColumn(int column) const;
    int columnOfKey(const GridSortKey& key) const;
    // The period of a column, or none for the fixed columns.
    std::optional<Timeframe> periodOfColumn(int column) const;
    const GridLine& lineAt(int row) const { return m_lines[static_cast<std::size_t>(row)]; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    void rebuild();
    QVariant periodData(const GridLine& line, std::size_t period, int role) const;

    Input m_input;
    GridSortKey m_key;
    bool m_ascending = true;
    std::vector<GridLine> m_lines;
};

} // namespace tessary
