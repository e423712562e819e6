// The order in which a tree of rows is shown: parents before children, siblings by position.
#pragma once

#include "readers/storage/database.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace cw::mediaforge {

struct ordered_row {
    std::int64_t id;
    std::int64_t parent; // 0 at the top
};
/// The rows of a table with the columns `id`, `parent` and `position`, whose tree was checked when the
/// header was opened.
[[nodiscard]] std::vector<ordered_row> tree_order(storage::database& source, const std::string& table);

/// The same of rows that are sorted by their parents, siblings in their order.
[[nodiscard]] std::vector<ordered_row> tree_order(std::span<const ordered_row> by_parent);
/// The level of each row of such an order, from 1.
[[nodiscard]] std::vector<unsigned> levels_of(std::span<const ordered_row> order);

/// Where a row of a tree stands.
struct tree_place {
    std::int64_t id;
    unsigned level;   // from 1
    std::size_t rank; // in the order that was given
};
/// The places of all rows of an order, by id.
[[nodiscard]] std::vector<tree_place> places_by_id(std::span<const ordered_row> order);

} // namespace cw::mediaforge
