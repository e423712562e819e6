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

using string_loader = int (*)(std::uint32_t id, char16_t* target, int room_in_code_units) noexcept;
/// Replaces where `string::load` takes its texts from, for translated tables and for tests; answers
/// the old source. Null restores `load_string`.
string_loader set_string_loader(string_loader loader) noexcept;
/// The source in use.
[[nodiscard]] string_loader current_string_loader() noexcept;

} // namespace cw
