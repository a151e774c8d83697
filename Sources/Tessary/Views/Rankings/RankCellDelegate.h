#pragma once

#include <QStyledItemDelegate>

namespace tessary {

class ChartFocus;

// Paints a metric cell the way both rankings displays show it: the value tinted by its rank
// colour with the rank itself in a small badge, "NA" in the secondary colour, and the row of
// a highlighted ticker lifted slightly.
class RankCellDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    // Which of the model's roles carry the ticker, the rank and the ranked count.
    struct Roles {
        int ticker = 0;
        int rank = 0;
        int count = 0;
    };

    static constexpr int badgeWidth = 36;
    static constexpr int inset = 10;

    RankCellDelegate(Roles roles, const ChartFocus* focus, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    Roles m_roles;
    const ChartFocus* m_focus = nullptr;
};

} // namespace tessary
