#pragma once

#include "Tessary/Model/ComparisonList.h"
#include "TessaryWire/WireRecords.h"

#include <QWidget>

#include <vector>

namespace tessary {

// The rows under the ticker field: symbol, name, an "ETF" tag and a mark for symbols that the
// list already has. It never takes focus, so clicking a row leaves the caret in the field.
class SuggestionList : public QWidget {
    Q_OBJECT

public:
    enum class Mark { none, benchmark, alreadyInList };
    struct Row {
        TickerInfo info;
        Mark mark = Mark::none;
    };

    explicit SuggestionList(QWidget* parent = nullptr);

    void setRows(std::vector<Row> rows);
    // Rows for these suggestions, marked against the list they would go into (none: no marks).
    void setSuggestions(const std::vector<TickerInfo>& suggestions, const ComparisonList* list);
    // The highlight after an Up or Down key, kept within the rows.
    int highlightAfter(int key) const;
    const std::vector<Row>& rows() const { return m_rows; }
    void setHighlight(int row);
    int highlight() const { return m_highlight; }
    QRect rowRect(int row) const;
    QSize sizeHint() const override;
    // Shows the rows floating under `field`, over whatever lies below it, instead of pushing
    // the chart down; or hides them.
    void showBelow(QWidget& field, bool show);

Q_SIGNALS:
    void clicked(int row);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    int rowHeight() const;
    int symbolWidth() const;

    std::vector<Row> m_rows;
    int m_highlight = 0;
};

} // namespace tessary
