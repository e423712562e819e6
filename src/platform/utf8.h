// UTF-8 at the edges: files, settings, terminal, and the names of files.
#pragma once

#include <string>
#include <string_view>

namespace cw::platform {

/// A lone surrogate becomes U+FFFD.
[[nodiscard]] std::string to_utf8(std::u16string_view text);
/// Bytes that form no character become U+FFFD.
[[nodiscard]] std::u16string from_utf8(std::string_view bytes);

/// The bytes of a file name, and its text. A name may hold bytes that are no UTF-8; each of those
/// stands in the text as a lone low surrogate, U+DC00 plus the byte, and is a byte again on the way
/// back, so every existing file can be shown and opened.
[[nodiscard]] std::string path_to_bytes(std::u16string_view path);
[[nodiscard]] std::u16string path_from_bytes(std::string_view bytes);

} // namespace cw::platform
