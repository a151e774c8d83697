#pragma once

#include <QString>
#include <QUuid>

#include <optional>
#include <variant>

namespace tessary {

// What the sidebar has selected: one of the user's lists, or a curated list of the catalog.
class SidebarItem {
public:
    static SidebarItem list(const QUuid& id) { return SidebarItem(id); }
    static SidebarItem featured(QString catalogId) { return SidebarItem(std::move(catalogId)); }
    // Reads a key written by `key()`.
    static std::optional<SidebarItem> fromKey(QStringView key);

    bool isList() const { return std::holds_alternative<QUuid>(m_value); }
    std::optional<QUuid> listId() const;
    std::optional<QString> featuredId() const;

    // "list:<UUID upper-case>" or "featured:<catalog id>": highlights and per-list periods are
    // stored under it.
    QString key() const;

    friend bool operator==(const SidebarItem&, const SidebarItem&) = default;

private:
    explicit SidebarItem(QUuid id) : m_value(id) {}
    explicit SidebarItem(QString id) : m_value(std::move(id)) {}

    std::variant<QUuid, QString> m_value;
};

} // namespace tessary
