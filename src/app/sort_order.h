// The order that header clicks sort by. It belongs to the process, not to a frame or a list: it
// outlives every selection and every open.
#pragma once

#include <cstdint>
#include <string_view>

namespace cw {

struct sort_order {
    /// Column of the last header click.
    std::int32_t column = 0;
    /// Direction of the next sort; every click turns it around, whatever column it is on.
    bool descending = false;
};

[[nodiscard]] sort_order& current_sort_order() noexcept;

/// Negative, 0, positive: by code units as numbers, up to the first difference or a terminator. No
/// locale, no case, numbers as text.
[[nodiscard]] int compare_code_units(std::u16string_view a, std::u16string_view b) noexcept;

} // namespace cw
