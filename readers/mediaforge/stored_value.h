// Values of any automation type as a header stores them, for properties of features and values of
// registry keys.
#pragma once

#include "automation/variant.h"
#include "readers/mediaforge/header_rows.h"

#include <cstdint>

namespace cw::mediaforge {

/// The value in `column` as one of `type`. Throws `media_failure` where the type is none that values
/// have, or what is stored is none of that type.
[[nodiscard]] automation::variant scalar_value(const row_cursor& row, VARTYPE type, unsigned column);
/// An array of one dimension from the rows (position, type, value) that `elements` is about to
/// answer. `type` has VT_ARRAY set; elements are of its other bits, or of any type for VT_VARIANT.
[[nodiscard]] automation::variant array_value(row_cursor& elements, VARTYPE type, std::int64_t lower_bound);

} // namespace cw::mediaforge
