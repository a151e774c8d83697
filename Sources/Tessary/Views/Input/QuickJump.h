#pragma once

#include "JumpScore.h"

#include <QFrame>

#include <optional>
#include <vector>

class QLabel;
class QLineEdit;
class QListWidget;

namespace tessary {

class Store;
struct Environment;

// A small search panel over the main window: a few letters of a list's name, Enter, and that
// list is open. It searches the user's lists and the curated ones, each group best first.
class QuickJump : public QFrame {
    Q_OBJECT

public:
    QuickJump(Store& store, QWidget* over);

    // TESSARY_QUICKJUMP: the panel opens by itself once the window is up, with the variable's
    // value typed in, so that its look can be checked without a keyboard.
    void useEnvironment(const Environment& environment);

    QLineEdit* field() const { return m_field; }
    QListWidget* resultsView() const { return m_view; }
    // My lists first, then curated lists, as shown.
    const std::vector<JumpTarget>& results() const { return m_results; }
    int myListCount() const { return m_myListCount; }
    int highlight() const { return m_highlight; }
    // "No list matches “…”" when nothing matches, empty otherwise.
    QString emptyText() const;

public Q_SLOTS:
    void open();
    void dismiss();
    void openResult(int index);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool handleKey(QKeyEvent* event);
    void openWithStartQuery();
    void refresh();
    void setHighlight(int index);
    void place();

    Store& m_store;
    QWidget* m_over = nullptr;
    QLineEdit* m_field = nullptr;
    QListWidget* m_view = nullptr;
    QLabel* m_empty = nullptr;
    std::vector<JumpTarget> m_results;
    int m_myListCount = 0;
    int m_highlight = 0;
    std::optional<QString> m_startQuery;
};

} // namespace tessary
