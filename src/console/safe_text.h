// Texts on their way to a terminal or into JSON.
#pragma once

#include <string>
#include <string_view>

namespace cw::console {

/// Whether a terminal would act on a character rather than show it.
[[nodiscard]] bool steers_terminal(char16_t character) noexcept;

/// UTF-8 in which control characters stand as U+FFFD: a name cannot steer the terminal.
[[nodiscard]] std::string terminal_text(std::u16string_view text);

/// UTF-8 as it is, for a JSON writer that escapes by itself.
[[nodiscard]] std::string json_text(std::u16string_view text);

} // namespace cw::console
