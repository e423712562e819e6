// The array that a value of a library holds.
#pragma once

#include "automation/variant.h"

namespace cw {

/// Borrowed, also from behind a reference; null where the value holds none.
[[nodiscard]] inline SAFEARRAY* array_of(const VARIANT& value) noexcept
{
    if (!(value.vt & VT_ARRAY))
        return nullptr;
    if (!(value.vt & VT_BYREF))
        return value.parray;
    return value.byref ? *static_cast<SAFEARRAY**>(value.byref) : nullptr;
}

} // namespace cw
