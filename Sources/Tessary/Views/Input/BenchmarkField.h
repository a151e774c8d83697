#pragma once

#include "TessaryWire/WireRecords.h"

#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;

namespace tessary {

class Store;
class SuggestionList;

// The list's benchmark, editable in the list header: it searches the universe as the ticker
// field does, and Enter (or a click on a row) makes the symbol the benchmark. A symbol the
// universe does not know is refused with a line under the field, and the benchmark stays.
class BenchmarkField : public QWidget {
    Q_OBJECT

public:
    static constexpr int suggestionLimit = 8;
    static constexpr QStringView labelText = u"Benchmark";
    static constexpr QStringView notFoundPrefix = u"Not found: ";

    explicit BenchmarkField(Store& store, QWidget* parent = nullptr);

    QLineEdit* field() const { return m_field; }
    SuggestionList* suggestionList() const { return m_list; }
    QString notice() const;

    void submit();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void choose(const QString& symbol);
    void revert();
    void refreshSuggestions();
    void refreshForSelection();

    Store& m_store;
    QLineEdit* m_field = nullptr;
    QLabel* m_notice = nullptr;
    SuggestionList* m_list = nullptr;
    std::vector<TickerInfo> m_suggestions;
    int m_highlight = 0;
};

} // namespace tessary
