// Whether the rows of a table make a tree. Checked when a file is opened, so that whoever walks the
// tree later need not look out.
#pragma once

#include "readers/storage/database.h"

#include <cstdint>
#include <span>
#include <string>

namespace cw::storage {

struct tree_row {
    std::int64_t parent;
    std::int64_t position;
    std::int64_t id;
};

/// Checks rows that were read by parent and position from `table`, which is named in errors: every row
/// hangs below 0, at most `deepest_level` levels deep, and positions among rows of one parent count from
/// 0 without gaps. Raises a contradiction. Whoever keeps rows checks those: an index that is at odds with
/// its table answers one query so and another otherwise.
void check_tree(const database& source, std::span<const tree_row> tree, const std::string& table, int deepest_level);
/// Checks the columns `id`, `parent` and `position` of a table likewise.
void check_tree(database& source, const std::string& table, int deepest_level);

} // namespace cw::storage
