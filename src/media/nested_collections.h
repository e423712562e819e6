// The walk of collections that nest: features in features, shell folders in shell folders.
#pragma once

#include "bridges/log_objects.h"
#include "bridges/media_objects.h"
#include "framework/tree_control.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace cw {

/// A collection on the way, and what its items go under: a tree item, or what else a walk needs of
/// their parent. `Collection` is one that `collection_count` and `collection_item` take.
template <class Collection, class Parent = HTREEITEM>
struct level_of {
    Parent parent;
    automation::com_ptr<Collection> items;
    /// The object whose collection this is; null at the top.
    automation::com_ptr<IDispatch> owner = {};
    std::int64_t next_index = 1;
};
using collection_level = level_of<IDispatch>;

/// Calls `enter(parent, item)` for each item in the order of the library; where that answers a level,
/// it is walked before the next item. Calls `leave(level)` behind the last item of a level. Counts are
/// read anew before each item. Collections nest as deep as the library says, which may be deeper than
/// a call stack, so the walk keeps a stack of its own.
template <class Collection, class Parent, class Enter, class Leave>
void walk_nested(level_of<Collection, Parent> top, Enter enter, Leave leave)
{
    using level_type = level_of<Collection, Parent>;
    std::vector<level_type> levels;
    levels.push_back(std::move(top));
    while (!levels.empty()) {
        level_type& level = levels.back();
        if (level.next_index > collection_count(level.items.get())) {
            leave(level);
            levels.pop_back();
            continue;
        }
        const auto item = collection_item(level.items.get(), static_cast<std::int32_t>(level.next_index++));
        if (std::optional<level_type> below = enter(level.parent, item))
            levels.push_back(*std::move(below));
    }
}

template <class Collection, class Parent, class Enter>
void walk_nested(level_of<Collection, Parent> top, Enter enter)
{
    walk_nested(std::move(top), enter, [](const level_of<Collection, Parent>&) {});
}

} // namespace cw
