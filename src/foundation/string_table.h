// The program's string resources by number.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace cw {

struct string_resource {
    std::uint32_t id;
    std::u16string_view text;
};

/// All resources in ascending order of their numbers.
[[nodiscard]] std::span<const string_resource> string_table() noexcept;

/// Copies a resource into `target` with its terminator, cut to `room_in_code_units`. Answers the
/// code units copied without the terminator; 0 where there is no such resource.
int load_string(std::uint32_t id, char16_t* target, int room_in_code_units) noexcept;

} // namespace cw
