#pragma once

#include "MultiPeriodGridModel.h"
#include "RankView.h"

namespace tessary {

class ChartFocus;

// What the pointer is over in the grid: a line, and the period of the cell when it is one.
struct GridHover {
    std::optional<QString> ticker;
    std::optional<Timeframe> period;

    friend bool operator==(const GridHover&, const GridHover&) = default;
};

// Ranks across several periods beside the rankings table. Rows follow the chart's focus
// like the table's do; a heading click sorts by that column and a second click reverses.
class MultiPeriodGrid : public RankView {
    Q_OBJECT

public:
    static constexpr int rowHeight = 32;

    explicit MultiPeriodGrid(ChartFocus& focus, QWidget* parent = nullptr);

    MultiPeriodGridModel& gridModel() const { return *m_model; }
    void setInput(MultiPeriodGridModel::Input input);
    void sortByPeriod(Timeframe period);
    const GridHover& hover() const { return m_hover; }

Q_SIGNALS:
    void hoverChanged(const GridHover& hover);

protected:
    void leaveEvent(QEvent* event) override;
    void headingClicked(int section) override;
    QString helpTopic(int section) const override;

private:
    void hoverCell(const QModelIndex& index);
    void setHover(const GridHover& hover);
    void syncHeader();

    MultiPeriodGridModel* m_model = nullptr;
    GridHover m_hover;
};

} // namespace tessary
