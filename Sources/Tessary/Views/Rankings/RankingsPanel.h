#pragma once

#include <QWidget>

namespace tessary {

class ChartFocus;
class MultiPeriodChips;
class MultiPeriodChoice;
class MultiPeriodGrid;
class Preferences;
class RankingTable;
class Store;
class SummaryCards;

// Everything under the chart that ranks the loaded comparison: the summary cards, the
// rankings table and, beside it, the multi-period grid with its period chips. It follows the
// store by itself; the window only has to place it.
class RankingsPanel : public QWidget {
    Q_OBJECT

public:
    RankingsPanel(Store& store, ChartFocus& focus, Preferences& preferences, QWidget* parent = nullptr);

    SummaryCards& cards() const { return *m_cards; }
    RankingTable& table() const { return *m_table; }
    MultiPeriodGrid& grid() const { return *m_grid; }
    MultiPeriodChips& chips() const { return *m_chips; }
    MultiPeriodChoice& periodChoice() const { return *m_choice; }

private:
    void refresh();
    void refreshGrid();

    Store& m_store;
    MultiPeriodChoice* m_choice = nullptr;
    SummaryCards* m_cards = nullptr;
    RankingTable* m_table = nullptr;
    MultiPeriodChips* m_chips = nullptr;
    MultiPeriodGrid* m_grid = nullptr;
};

} // namespace tessary
