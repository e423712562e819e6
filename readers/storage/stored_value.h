// Scalars of any automation type as files store them: a column for the type and one for the value.
#pragma once

#include "automation/variant.h"
#include "readers/storage/typed_row.h"

namespace cw::storage {

/// The value in `column` as one of `type`. Raises a contradiction where the type is none that values
/// have, or what is stored is none of that type.
[[nodiscard]] automation::variant scalar_value(const typed_row& row, VARTYPE type, unsigned column);
/// The contradiction for a type that values do not have.
[[noreturn]] void refuse_type(const typed_row& row, VARTYPE type);

} // namespace cw::storage
