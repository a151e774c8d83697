#include "Sidebar.h"

#include "Tessary/Store/Store.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace tessary {

namespace {

const QString newListText = QStringLiteral("New comparison list");
const QString myListsTitle = QStringLiteral("My Lists");
const QString noListsText = QStringLiteral("No lists yet");
const QString moreCollectionsTitle = QStringLiteral("More");
const QString importOfferText = QStringLiteral("Add your lists from this Mac?");
const QString importOneText = QStringLiteral("Add 1 List");
const QString importManyText = QStringLiteral("Add %1 Lists");
const QString declineText = QStringLiteral("Not Now");
const QString syncingText = QStringLiteral("Syncing…");
constexpr int keyRole = Qt::UserRole;

template <class T, class Key> void stableSortByOptional(std::vector<T>& items, Key key)
{
    // Items without a position keep their document order after those with one.
    std::stable_sort(items.begin(), items.end(), [&](const T& a, const T& b) {
        const auto left = key(a);
        const auto right = key(b);
        if (left.has_value() != right.has_value())
            return left.has_value();
        return left.has_value() && *left < *right;
    });
}

} // namespace

Sidebar::Sidebar(Store& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
{
    setObjectName(QStringLiteral("sidebar"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(8);

    m_newList = new QPushButton(QStringLiteral("+  ") + newListText, this);
    m_newList->setObjectName(QStringLiteral("newListButton"));
    m_newList->setToolTip(newListText + QStringLiteral(" (Ctrl+N)"));
    connect(m_newList, &QPushButton::clicked, this, [this] { m_store.addList(); });
    layout->addWidget(m_newList);

    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(QStringLiteral("sidebarTree"));
    m_tree->setHeaderHidden(true);
    m_tree->setRootIsDecorated(false);
    m_tree->setIndentation(10);
    m_tree->setUniformRowHeights(true);
    m_tree->setFrameShape(QFrame::NoFrame);
    m_tree->setContextMenuPolicy(Qt::CustomContextMenu);
    m_tree->setEditTriggers(QAbstractItemView::EditKeyPressed);
    m_tree->header()->setStretchLastSection(true);
    layout->addWidget(m_tree, 1);

    m_importOffer = new QWidget(this);
    m_importOffer->setObjectName(QStringLiteral("importOffer"));
    auto* offerLayout = new QVBoxLayout(m_importOffer);
    offerLayout->setContentsMargins(0, 0, 0, 0);
    m_importOfferLabel = new QLabel(m_importOffer);
    m_importOfferLabel->setWordWrap(true);
    auto* offerButtons = new QHBoxLayout;
    m_importButton = new QPushButton(m_importOffer);
    auto* accept = m_importButton;
    accept->setObjectName(QStringLiteral("importLists"));
    auto* decline = new QPushButton(declineText, m_importOffer);
    connect(accept, &QPushButton::clicked, &m_store, &Store::importLocalLists);
    connect(decline, &QPushButton::clicked, &m_store, &Store::declineImport);
    offerButtons->addWidget(accept);
    offerButtons->addWidget(decline);
    offerLayout->addWidget(m_importOfferLabel);
    offerLayout->addLayout(offerButtons);
    layout->addWidget(m_importOffer);

    m_syncStatus = new QLabel(this);
    m_syncStatus->setObjectName(QStringLiteral("syncStatus"));
    m_syncStatus->setWordWrap(true);
    layout->addWidget(m_syncStatus);
    connect(&m_store, &Store::importOfferChanged, this, &Sidebar::refreshAccountState);
    connect(&m_store, &Store::syncStatusChanged, this, &Sidebar::refreshAccountState);
    refreshAccountState();

    connect(m_tree, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) { itemActivated(item); });
    connect(m_tree, &QTreeWidget::itemChanged, this, &Sidebar::itemEdited);
    connect(m_tree, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        if (item && (item->flags() & Qt::ItemIsEditable))
            m_tree->editItem(item);
    });
    connect(m_tree, &QWidget::customContextMenuRequested, this, &Sidebar::showContextMenu);
    connect(&m_store, &Store::listsChanged, this, &Sidebar::scheduleRebuild);
    connect(&m_store, &Store::catalogChanged, this, &Sidebar::scheduleRebuild);
    connect(&m_store, &Store::selectionChanged, this, &Sidebar::syncSelection);
    rebuild();
}

QTreeWidgetItem* Sidebar::addSection(const QString& title)
{
    auto* section = new QTreeWidgetItem(m_tree, { title.toUpper() });
    section->setFlags(Qt::ItemIsEnabled);
    QFont font = section->font(0);
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 0.85);
    section->setFont(0, font);
    section->setForeground(0, palette().color(QPalette::PlaceholderText));
    section->setExpanded(true);
    return section;
}

void Sidebar::refreshAccountState()
{
    const auto offer = m_store.importOffer();
    m_importOffer->setVisible(offer.has_value());
    m_importOfferLabel->setText(importOfferText);
    m_importButton->setText(offer == 1 ? importOneText : importManyText.arg(offer.value_or(0)));
    const auto error = m_store.syncError();
    m_syncStatus->setText(error ? *error : m_store.isSyncing() ? syncingText : QString());
    m_syncStatus->setStyleSheet(error ? QStringLiteral("QLabel { color: #c92a2a; }") : QString());
    m_syncStatus->setForegroundRole(QPalette::PlaceholderText);
    m_syncStatus->setVisible(!m_syncStatus->text().isEmpty());
}

void Sidebar::scheduleRebuild()
{
    // Opening a list from the tree changes the lists (its access time), and clearing the tree
    // from inside the tree's own selection signal pulls the item out from under it; so the
    // rebuild waits for the event loop, and several changes in a row rebuild once.
    if (m_rebuildPending)
        return;
    m_rebuildPending = true;
    QTimer::singleShot(0, this, [this] {
        m_rebuildPending = false;
        rebuild();
    });
}

void Sidebar::rebuild()
{
    m_rebuilding = true;
    m_tree->clear();

    QTreeWidgetItem* mine = addSection(myListsTitle);
    const auto lists = m_store.listsByRecency();
    for (const ComparisonList& list : lists) {
        auto* item = new QTreeWidgetItem(mine, { list.name });
        item->setData(0, keyRole, SidebarItem::list(list.id).key());
        item->setToolTip(0, QStringLiteral("%1 tickers · benchmark %2").arg(list.tickers.size()).arg(list.benchmark));
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable);
    }
    if (lists.empty()) {
        auto* empty = new QTreeWidgetItem(mine, { noListsText });
        empty->setFlags(Qt::NoItemFlags);
    }

    const FeaturedCatalog& catalog = m_store.catalog();
    auto categories = catalog.categories;
    stableSortByOptional(categories, [](const FeaturedCatalog::Category& c) { return c.order; });
    auto collections = catalog.collections;
    stableSortByOptional(collections, [](const FeaturedCatalog::Collection& c) { return c.displayOrder; });

    const auto addCollections = [&](QTreeWidgetItem* section, const auto& belongs) {
        for (const auto& collection : collections) {
            if (!belongs(collection))
                continue;
            const QString title = collection.emoji ? *collection.emoji + u' ' + collection.name : collection.name;
            auto* item = new QTreeWidgetItem(section, { title });
            item->setData(0, keyRole, SidebarItem::featured(collection.id).key());
            item->setToolTip(0, collection.description.value_or(collection.tickers.join(QStringLiteral(", "))));
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        }
        if (section->childCount() == 0)
            delete section;
    };
    for (const auto& category : categories)
        addCollections(addSection(category.label), [&](const auto& c) { return c.category == category.id; });
    addCollections(
        addSection(moreCollectionsTitle), [&](const auto& c) { return !c.category || !catalog.category(*c.category); });

    m_rebuilding = false;
    syncSelection();
}

QTreeWidgetItem* Sidebar::itemForKey(const QString& key) const
{
    for (QTreeWidgetItemIterator it(m_tree); *it; ++it) {
        if ((*it)->data(0, keyRole).toString() == key)
            return *it;
    }
    return nullptr;
}

void Sidebar::syncSelection()
{
    const auto selection = m_store.selection();
    QTreeWidgetItem* item = selection ? itemForKey(selection->key()) : nullptr;
    if (item == m_tree->currentItem())
        return;
    m_rebuilding = true;
    m_tree->setCurrentItem(item);
    if (!item)
        m_tree->clearSelection();
    m_rebuilding = false;
}

void Sidebar::itemActivated(QTreeWidgetItem* item)
{
    if (m_rebuilding || !item)
        return;
    if (const auto selection = SidebarItem::fromKey(item->data(0, keyRole).toString()))
        m_store.select(*selection);
}

void Sidebar::startRenaming(const QUuid& id)
{
    if (QTreeWidgetItem* item = itemForKey(SidebarItem::list(id).key())) {
        m_tree->setCurrentItem(item);
        m_tree->editItem(item);
    }
}

void Sidebar::itemEdited(QTreeWidgetItem* item, int column)
{
    if (m_rebuilding || column != 0)
        return;
    const auto selection = SidebarItem::fromKey(item->data(0, keyRole).toString());
    if (!selection || !selection->listId())
        return;
    const QUuid id = *selection->listId();
    m_store.rename(id, item->text(0));
    // A rejected name (blank) shows the old one again.
    if (const ComparisonList* list = m_store.list(id); list && item->text(0) != list->name) {
        m_rebuilding = true;
        item->setText(0, list->name);
        m_rebuilding = false;
    }
}

void Sidebar::showContextMenu(const QPoint& position)
{
    QTreeWidgetItem* item = m_tree->itemAt(position);
    const auto selection = item ? SidebarItem::fromKey(item->data(0, keyRole).toString()) : std::nullopt;
    if (!selection || !selection->listId())
        return;
    const QUuid id = *selection->listId();
    QMenu menu(this);
    menu.addAction(QStringLiteral("Rename"), this, [this, id] { startRenaming(id); });
    menu.addAction(QStringLiteral("Duplicate"), this, [this, id] { m_store.duplicate(id); });
    menu.addSeparator();
    menu.addAction(QStringLiteral("Delete"), this, [this, id] { m_store.remove(id); });
    menu.exec(m_tree->viewport()->mapToGlobal(position));
}

} // namespace tessary
