#pragma once

#include "Tessary/Store/SidebarItem.h"

#include <QString>
#include <QStringView>

#include <optional>
#include <vector>

namespace tessary {

class Store;

// One list the quick jump can open.
struct JumpTarget {
    SidebarItem item;
    QString title;
    QString secondary; // searched after the title: a curated list's category
    QString subtitle; // shown under the title
};

// How well `query` fits a list (higher is better), or nothing when it does not fit at all.
std::optional<int> jumpScore(QStringView query, QStringView title, QStringView secondary = {});

// The user's lists in sidebar order and the curated lists in catalog order.
std::vector<JumpTarget> myListTargets(const Store& store);
std::vector<JumpTarget> curatedListTargets(const Store& store);

// The targets that match, best first; equal scores keep their given order, and an empty query
// keeps them all as given.
std::vector<JumpTarget> rankTargets(const std::vector<JumpTarget>& targets, QStringView query);

} // namespace tessary
