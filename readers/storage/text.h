// Texts between a file's storage (UTF-8, not always well-formed) and the object model (UTF-16).
// Used throughout the readers.
#pragma once

#include "automation/bstr.h"

#include <string>
#include <string_view>

namespace cw::storage {

/// UTF-16 of a UTF-8 text; each ill-formed byte becomes U+FFFD, so the text is always shown.
[[nodiscard]] std::u16string to_utf16(std::string_view utf8);
/// The same as a text for the caller of a member. Throws std::bad_alloc.
[[nodiscard]] automation::bstr to_bstr(std::string_view utf8);
/// UTF-8 of a UTF-16 text; unpaired surrogates become U+FFFD.
[[nodiscard]] std::string to_utf8(std::u16string_view utf16);
/// The bytes of a path: as to_utf8, and a lone low surrogate U+DC80 to U+DCFF is the byte that it
/// stands for, so files whose names are no UTF-8 can be named too.
[[nodiscard]] std::string to_native_path(std::u16string_view path);
/// Whether every byte belongs to a well-formed sequence: no overlong forms, no surrogates.
[[nodiscard]] bool is_well_formed_utf8(std::string_view text) noexcept;
/// UTF-8 of a text of one byte a character (ISO-8859-1).
[[nodiscard]] std::string latin1_to_utf8(std::string_view text);
/// Appends one code point as UTF-8.
void append_utf8(std::string& text, char32_t code_point);

/// One code point at the start of a non-empty text: its value and length, or `valid` false with
/// length 1.
struct decoded_code_point {
    char32_t value;
    unsigned length;
    bool valid;
};
[[nodiscard]] decoded_code_point decode_utf8(std::string_view text) noexcept;

/// Comparison without regard to the case of ASCII letters, as file names of volumes are looked up.
[[nodiscard]] bool equal_ignoring_ascii_case(std::string_view a, std::string_view b) noexcept;

} // namespace cw::storage
