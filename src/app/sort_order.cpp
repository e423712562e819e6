#include "app/sort_order.h"

#include <algorithm>

namespace cw {

sort_order& current_sort_order() noexcept
{
    static sort_order order;
    return order;
}

int compare_code_units(std::u16string_view a, std::u16string_view b) noexcept
{
    const std::size_t shorter = std::min(a.size(), b.size());
    for (std::size_t place = 0; place < shorter; ++place) {
        if (a[place] != b[place])
            return a[place] < b[place] ? -1 : 1;
        if (a[place] == 0)
            return 0;
    }
    // A text's end counts as a terminator.
    const char16_t next_of_a = shorter < a.size() ? a[shorter] : u'\0';
    const char16_t next_of_b = shorter < b.size() ? b[shorter] : u'\0';
    return next_of_a == next_of_b ? 0 : next_of_a < next_of_b ? -1 : 1;
}

} // namespace cw
