// Tree items by their places: "0/2/1" is the second child of the third child of the first root.
#pragma once

#include "framework/tree_control.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cw::console {

/// Places from the root level on, counted from 0; none where the text is no such path.
[[nodiscard]] std::optional<std::vector<std::size_t>> parse_index_path(std::string_view text);

/// The item at the end of a path; null where there is none.
[[nodiscard]] HTREEITEM item_at(const CTreeCtrl& tree, std::span<const std::size_t> places);

/// The path of an item of the tree.
[[nodiscard]] std::string index_path_of(const CTreeCtrl& tree, HTREEITEM item);

} // namespace cw::console
