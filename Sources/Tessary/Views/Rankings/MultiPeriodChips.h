#pragma once

#include "TessaryWire/Timeframe.h"

#include <QWidget>

class QHBoxLayout;
class QToolButton;

namespace tessary {

class MultiPeriodChoice;
class MultiPeriodMenu;

// The chosen periods as small buttons beside the grid, and a button that opens the period
// menu. Clicking a chip sorts the grid by that period.
class MultiPeriodChips : public QWidget {
    Q_OBJECT

public:
    explicit MultiPeriodChips(MultiPeriodChoice& choice, QWidget* parent = nullptr);

    QList<QToolButton*> chips() const { return m_chips; }
    QToolButton* menuButton() const { return m_menuButton; }
    MultiPeriodMenu* menu() const { return m_menu; }

Q_SIGNALS:
    void periodClicked(Timeframe period);

private:
    void rebuild();

    MultiPeriodChoice& m_choice;
    QHBoxLayout* m_row = nullptr;
    QList<QToolButton*> m_chips;
    QToolButton* m_menuButton = nullptr;
    MultiPeriodMenu* m_menu = nullptr;
};

} // namespace tessary
