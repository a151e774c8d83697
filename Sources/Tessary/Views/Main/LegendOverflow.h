#pragma once

#include <QFrame>

class QLineEdit;
class QListWidget;

namespace tessary {

class ChartFocus;
struct Comparison;

// Every line of the chart in a searchable, scrolling list, for the chips the legend has no
// room for: ticking a row pins its line, unticking unpins it.
class LegendOverflow : public QFrame {
    Q_OBJECT

public:
    LegendOverflow(const Comparison& comparison, ChartFocus& focus, QWidget* parent = nullptr);

    QLineEdit* searchField() const { return m_search; }
    QListWidget* list() const { return m_list; }

private:
    void filter(const QString& text);
    void refreshChecks();

    ChartFocus& m_focus;
    QLineEdit* m_search = nullptr;
    QListWidget* m_list = nullptr;
};

} // namespace tessary
