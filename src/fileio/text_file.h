// Whole texts written to disk in a code page of the caller's choice.
#pragma once

#include "foundation/string.h"

#include <cstdint>

namespace cw {

/// Writes `text` to `path` in place of what is there, the folders of the path being made where they
/// are missing. `write_mark` puts the byte order mark of code pages 1200, 1201 and 65001 in front. 0,
/// or the error of a file that cannot be opened, nothing having been written. Throws `file_exception`
/// where converting or writing fails; the file then stays as far as it was written.
std::uint32_t write_text_file(string path, string text, std::uint32_t code_page, bool write_mark);

} // namespace cw
