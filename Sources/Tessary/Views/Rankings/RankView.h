#pragma once

#include "RankCellDelegate.h"

#include <QTableView>

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

protected:
    // Takes ownership of `model`.
    RankView(
        ChartFocus& focus, QAbstractItemModel* model, RankCellDelegate::Roles roles, int rowHeight, QWidget* parent);

    ChartFocus& focus() const { return m_focus; }
    QString tickerAt(const QModelIndex& index) const { return index.data(m_tickerRole).toString(); }
    virtual void headingClicked(int section) = 0;
    // The help topic a heading's "?" opens; empty for none.
    virtual QString helpTopic(int section) const = 0;

private:
    ChartFocus& m_focus;
    RankingHeader* m_header = nullptr;
    int m_tickerRole = 0;
};

} // namespace tessary
