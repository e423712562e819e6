// Formatting of wide text in the manner of the wide printf family: what `string::format` stands on.
#pragma once

#include <cstdarg>
#include <optional>
#include <string>

namespace cw {

/// The formatted text, or nothing for a format that is malformed or asks for `%n`. Conversions:
/// d i u o x X c C s S p e E f F g G a A %%; flags - + space # 0; width and precision, also `*`;
/// sizes hh h l ll I32 I64 I z j t. `l` means 32 bits with numbers and wide text with c and s; `%s`
/// and `%c` take wide text anyway, `%S`, `%C`, `%hs`, `%hc` narrow text in the thread's code page.
/// A null text is "(null)". Reals are written with a point in every locale.
[[nodiscard]] std::optional<std::u16string> format_wide(const char16_t* format, std::va_list arguments);

} // namespace cw
