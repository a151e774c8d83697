#include "SidebarItem.h"

#include "Tessary/Model/ComparisonList.h"

namespace tessary {

namespace {
constexpr QLatin1StringView listPrefix("list:");
constexpr QLatin1StringView featuredPrefix("featured:");
} // namespace

std::optional<SidebarItem> SidebarItem::fromKey(QStringView key)
{
    if (key.startsWith(listPrefix)) {
        if (const auto id = parseUuid(key.mid(listPrefix.size())))
            return list(*id);
        return std::nullopt;
    }
    if (key.startsWith(featuredPrefix) && key.size() > featuredPrefix.size())
        return featured(key.mid(featuredPrefix.size()).toString());
    return std::nullopt;
}

std::optional<QUuid> SidebarItem::listId() const
{
    if (const auto* id = std::get_if<QUuid>(&m_value))
        return *id;
    return std::nullopt;
}

std::optional<QString> SidebarItem::featuredId() const
{
    if (const auto* id = std::get_if<QString>(&m_value))
        return *id;
    return std::nullopt;
}

QString SidebarItem::key() const
{
    if (const auto id = listId())
        return listPrefix + uuidText(*id);
    return featuredPrefix + *featuredId();
}

} // namespace tessary
