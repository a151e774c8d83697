#pragma once

#include <QHeaderView>

namespace tessary {

// Column headings of the rankings displays: upper-case, slightly spaced and muted, with a
// small bold chevron on the sort column and a help mark on columns that explain themselves
// in their tool tip.
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

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    QSize sectionSizeFromContents(int logicalIndex) const override;

private:
    int m_section = -1;
    bool m_ascending = false;
};

} // namespace tessary
