// Paths taken apart and put together by their text alone. Each operation uses the separator of the
// path that it is given; the words speak of backslashes. A path that begins with two separators is a
// network path, a second character ":" makes a drive (of backslash paths).
#pragma once

#include "foundation/string.h"

#include <cstddef>

namespace cw {

/// The folder of a path, without the separator at its end unless that belongs to the root.
/// `keep_backslash` leaves it there; `strip_root` takes the root away from the result.
[[nodiscard]] string directory_of(const string& path, bool keep_backslash, bool strip_root);
/// Server and share, or the drive; empty for any other path. `add_backslash` puts one at the end of
/// whatever there is, also of nothing.
[[nodiscard]] string root_of(const string& path, bool add_backslash);
/// With its dot; empty where the last component has none.
[[nodiscard]] string extension_of(const string& path);
/// The last component.
[[nodiscard]] string file_part(const string& path, bool strip_extension);
/// Puts another extension, given without dot, in the place of the one that is there; an empty one
/// leaves none.
[[nodiscard]] string change_extension(const string& path, const string& extension);
[[nodiscard]] string add_backslash(const string& path);
/// Takes one separator from the end.
[[nodiscard]] string strip_backslash(const string& path);
/// Two separators in front and something behind them.
[[nodiscard]] bool is_share_path(const string& path);
/// Where a character, or one of another case, next stands from `start` on; `string::npos` for nowhere.
[[nodiscard]] std::size_t find_folded(const string& text, char16_t character, std::size_t start);

} // namespace cw
