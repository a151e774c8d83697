#pragma once

#include "Tessary/Model/RankSort.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QStringList>

#include <array>
#include <vector>

namespace tessary {

// The rows of the rankings table in display order, with each ranked cell's place among the
// rows that have a value there. Sorting lives here rather than in a proxy so that the rules
// (strict "less than", the whole order reversed, incomplete rows last) stay in one place.
class RankingTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    // The columns are the rank columns, in their order.
    using Column = RankColumn;
    static constexpr int columns = static_cast<int>(RankColumn::count);

    enum Role {
        TickerRole = Qt::UserRole,
        ValueRole, // the metric as a double, invalid when missing
        RankRole, // 1 = best; invalid when the cell has no rank
        RankCountRole, // how many rows were ranked in the column
        IncompleteRole,
        BenchmarkRole, // the row is the benchmark's own
    };

    struct Input {
        std::vector<RankRow> rows;
        std::optional<RankRow> benchmarkRow;
        QStringList tickers;
        QString benchmark;
        bool editable = false;
    };

    // The text a missing metric shows.
    static constexpr QStringView missingText = u"NA";

    explicit RankingTableModel(QObject* parent = nullptr);

    void setInput(Input input);
    const Input& input() const { return m_input; }

    Column sortColumn() const { return m_sortColumn; }
    bool ascending() const { return m_ascending; }
    void setSort(Column column, bool ascending);
    // A heading click: a new column sorts its best values first, the current one flips.
    void clickHeading(Column column);

    const RankRow& rowAt(int row) const { return m_rows[static_cast<std::size_t>(row)]; }
    // The display row of a ticker, or -1.
    int rowOf(const QString& ticker) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    void sort(int column, Qt::SortOrder order) override;

    // Why an incomplete row shows NA, as its hover text.
    static QString incompleteText(const RankRow& row);
    // A short note on what a metric column measures, shown on its heading.
    static QString helpText(Column column);

private:
    void rebuild();
    QString displayText(const RankRow& row, Column column) const;

    Input m_input;
    Column m_sortColumn = RankColumn::netReturn;
    bool m_ascending = false;
    std::vector<RankRow> m_rows; // display order
    // Ticker → rank per column (0 = none), counted over every row of the table.
    QHash<QString, std::array<int, columns>> m_ranks;
    std::array<int, columns> m_rankCounts {};
};

} // namespace tessary
