#pragma once

#include <QHeaderView>

namespace tessary {

// Column headings of the rankings displays: upper-case, slightly spaced and muted, with a
// small bold chevron on the sort column and a help mark on columns that explain themselves
// in their tool tip; a click on the mark asks for the explanation and sorts nothing.
class RankingHeader : public QHeaderView {
    Q_OBJECT

public:
    // A shorter heading (header data in this role) shown when the whole one does not fit.
    static constexpr int shortHeadingRole = Qt::UserRole + 64;

    explicit RankingHeader(QWidget* parent = nullptr);

    // The width a section needs for its heading with its marks, whole or shortened.
    int headingWidth(int logicalIndex, bool shortened) const;

    void setSortState(int section, bool ascending);
    int sortSection() const { return m_section; }
    bool sortAscending() const { return m_ascending; }
    // The chevron drawn on the sort column: ▲ ascending, ▼ descending.
    static QString chevron(bool ascending);
    // Where a section's help mark is, in viewport coordinates; empty when it has none.
    QRect helpMarkRect(int logicalIndex) const;

Q_SIGNALS:
    // A click on a help mark: it explains the column instead of sorting it.
    void helpRequested(int logicalIndex);

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    QSize sectionSizeFromContents(int logicalIndex) const override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    bool hasHelp(int logicalIndex) const;
    int helpMarkAt(const QPoint& position) const;

    int m_section = -1;
    bool m_ascending = false;
    int m_helpPressed = -1;
};

} // namespace tessary
