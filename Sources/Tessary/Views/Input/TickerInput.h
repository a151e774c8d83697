#pragma once

#include "Tessary/Store/Store.h"
#include "TessaryWire/WireRecords.h"

#include <QWidget>

#include <optional>
#include <vector>

class QLineEdit;
class QTimer;

namespace tessary {

class NoticeLabel;
class SuggestionList;
struct Environment;

// The one field through which tickers enter the selected list: it searches the universe for
// the last thing typed and adds everything typed or pasted on Enter. It hides itself while the
// selection cannot be edited.
class TickerInput : public QWidget {
    Q_OBJECT

public:
    static constexpr int suggestionLimit = 8;

    explicit TickerInput(Store& store, QWidget* parent = nullptr);

    QLineEdit* field() const { return m_field; }
    SuggestionList* suggestionList() const { return m_list; }
    const std::vector<TickerInfo>& suggestions() const { return m_suggestions; }
    int highlight() const { return m_highlight; }
    const QString& notice() const;

    // TESSARY_TICKER_QUERY: a search typed in by itself shortly after the field first appears.
    void useEnvironment(const Environment& environment);

    void submit();
    void pick(const TickerInfo& suggestion);

public Q_SLOTS:
    // The Ctrl+K command.
    void focusField();

Q_SIGNALS:
    void noticeChanged(const QString& notice);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    bool handleKey(QKeyEvent* event);
    void add(const QString& symbol, bool replacingLastToken);
    void apply(const Store::AddResult& result);
    void setNotice(const QString& notice);
    void refreshSuggestions();
    void refreshForSelection();
    void placeList();

    Store& m_store;
    QLineEdit* m_field = nullptr;
    NoticeLabel* m_notice = nullptr;
    SuggestionList* m_list = nullptr;
    QTimer* m_noticeTimer = nullptr;
    std::vector<TickerInfo> m_suggestions;
    int m_highlight = 0;
    std::optional<QString> m_startQuery;
    bool m_appeared = false;
};

} // namespace tessary
