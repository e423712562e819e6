// Arrays as a header stores them, for properties of features; scalars are those of all storage.
#pragma once

#include "automation/variant.h"
#include "readers/mediaforge/header_rows.h"

#include <cstdint>

namespace cw::mediaforge {

/// An array of one dimension from the rows (position, type, value) that `elements` is about to
/// answer. `type` has VT_ARRAY set; elements are of its other bits, or of any type for VT_VARIANT.
[[nodiscard]] automation::variant array_value(row_cursor& elements, VARTYPE type, std::int64_t lower_bound);

} // namespace cw::mediaforge
