#pragma once

#include <QWidget>

class QTreeWidget;
class QTreeWidgetItem;
class QLabel;
class QPushButton;

namespace tessary {

class Store;

// The user's lists, most recently opened first, and the curated catalog by category. Lists
// are renamed in place; curated lists open read-only.
class Sidebar : public QWidget {
    Q_OBJECT

public:
    explicit Sidebar(Store& store, QWidget* parent = nullptr);

    QTreeWidget* tree() const { return m_tree; }
    // The item showing a sidebar key ("list:…", "featured:…"), for tests and keyboard focus.
    QTreeWidgetItem* itemForKey(const QString& key) const;
    void startRenaming(const QUuid& id);

private:
    void refreshAccountState();
    void scheduleRebuild();
    void rebuild();
    void syncSelection();
    void itemActivated(QTreeWidgetItem* item);
    void itemEdited(QTreeWidgetItem* item, int column);
    void showContextMenu(const QPoint& position);
    QTreeWidgetItem* addSection(const QString& title);

    Store& m_store;
    QTreeWidget* m_tree = nullptr;
    QPushButton* m_newList = nullptr;
    QWidget* m_importOffer = nullptr;
    QLabel* m_importOfferLabel = nullptr;
    QPushButton* m_importButton = nullptr;
    QLabel* m_syncStatus = nullptr;
    bool m_rebuilding = false;
    bool m_rebuildPending = false;
};

} // namespace tessary
