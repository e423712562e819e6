// The list's columns by node kind.
#pragma once

#include "media/nav_node.h"

#include <cstdint>
#include <span>

namespace cw {

/// A column: its label's string resource and its width.
struct column_definition {
    std::uint32_t label_id;
    int width_in_pixels;
};

struct ColumnSet {
    node_kind kind;
    std::span<const column_definition> columns;
};

/// Seventeen entries in the order in which they are searched.
[[nodiscard]] std::span<const ColumnSet> column_sets() noexcept;

/// The first entry of a kind, or null.
[[nodiscard]] const ColumnSet* find_column_set(node_kind kind) noexcept;

} // namespace cw
