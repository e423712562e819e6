// Whether the rows of a table make a tree. Checked when a file is opened, so that whoever walks the
// tree later need not look out.
#pragma once

#include "readers/storage/database.h"

#include <string>

namespace cw::storage {

/// Checks the columns `id`, `parent` and `position` of a table whose rows without a parent have the
/// parent 0: every row hangs below 0, at most `deepest_level` levels deep, and positions among rows
/// of one parent count from 0 without gaps. Raises a contradiction.
void check_tree(database& source, const std::string& table, int deepest_level);

} // namespace cw::storage
