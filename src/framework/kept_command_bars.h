// The text in which the settings keep what a person has made of the command bars.
#pragma once

#include "framework/commands.h"
#include "framework/tool_items.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

/// What differs from the command bars as the program brings them.
struct kept_command_bars {
    static constexpr std::size_t most_own_keys = 254 * 8; // every key with everything that can be held

    std::vector<accelerator> removed_keys;
    std::vector<accelerator> own_keys;
    std::vector<tool_bar> tool_bars;
    bar_options options;

    friend bool operator==(const kept_command_bars&, const kept_command_bars&) = default;
};

/// Reads what `text_of` has written; none where it is damaged in any way. Its commands and popups need not
/// be the program's.
[[nodiscard]] std::optional<kept_command_bars> read_kept_command_bars(std::u16string_view text);
[[nodiscard]] std::u16string text_of(const kept_command_bars& kept);

} // namespace cw
