#pragma once

#include "RankCellDelegate.h"

#include <QTableView>

#include <vector>

namespace tessary {

class ChartFocus;
class RankingHeader;

// What the rankings table and the multi-period grid share: rank-painted cells, the spaced
// headings with a chevron, and rows that follow the shared focus (a click pins the ticker,
// a change of focus repaints).
class RankView : public QTableView {
    Q_OBJECT

public:
    RankingHeader& header() const { return *m_header; }
    // The headings and one row: the chart above may take the rest of the height.
    QSize minimumSizeHint() const override;

protected:
    // Takes ownership of `model`.
    RankView(
        ChartFocus& focus, QAbstractItemModel* model, RankCellDelegate::Roles roles, int rowHeight, QWidget* parent);

    ChartFocus& focus() const { return m_focus; }
    void resizeEvent(QResizeEvent* event) override;
    QString tickerAt(const QModelIndex& index) const { return index.data(m_tickerRole).toString(); }
    virtual void headingClicked(int section) = 0;
    // The help topic a heading's "?" opens; empty for none.
    virtual QString helpTopic(int section) const = 0;

private:
    // Columns as wide as their values and headings: whole headings when the view is wide
    // enough, short ones when not, and past that a horizontal scroll rather than cut values.
    // The space left over is shared out, so a wide view has no empty band on the right.
    void fitColumns();

    ChartFocus& m_focus;
    std::vector<int> m_valueWidths; // widest value of each column; empty when to be measured
    RankingHeader* m_header = nullptr;
    int m_tickerRole = 0;
};

} // namespace tessary
