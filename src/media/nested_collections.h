// The walk of collections that nest: features in features, shell folders in shell folders.
#pragma once

#include "bridges/media_objects.h"
#include "framework/tree_control.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace cw {

/// A collection on the way, and the tree item that its items go under.
struct collection_level {
    HTREEITEM parent;
    automation::com_ptr<IDispatch> items;
    /// The object whose collection this is; null at the top.
    automation::com_ptr<IDispatch> owner = {};
    std::int64_t next_index = 1;
};

/// Calls `enter(parent, item)` for each item in the order of the library; where that answers a level,
/// it is walked before the next item. Calls `leave(level)` behind the last item of a level. Counts are
/// read anew before each item. Collections nest as deep as the library says, which may be deeper than
/// a call stack, so the walk keeps a stack of its own.
template <class Enter, class Leave>
void walk_nested(collection_level top, Enter enter, Leave leave)
{
    std::vector<collection_level> levels{std::move(top)};
    while (!levels.empty()) {
        collection_level& level = levels.back();
        if (level.next_index > collection_count(level.items.get())) {
            leave(level);
            levels.pop_back();
            continue;
        }
        const automation::com_ptr<IDispatch> item =
            collection_item(level.items.get(), static_cast<std::int32_t>(level.next_index++));
        if (std::optional<collection_level> below = enter(level.parent, item))
            levels.push_back(*std::move(below));
    }
}

template <class Enter>
void walk_nested(collection_level top, Enter enter)
{
    walk_nested(std::move(top), enter, [](const collection_level&) {});
}

} // namespace cw
