// Where a reader library is looked for: the folders, in their order, and the path rules of the search.
// The cache of loaded libraries uses it.
#pragma once

#include "bridges/search_report.h"
#include "foundation/string.h"

namespace cw {

/// The machine's folder of common files with its separator at the end; a backslash alone where the
/// machine names none.
[[nodiscard]] string common_files_folder();

/// Looks for `library_name` in the folder System/x64 of each ancestor of the folder of `path`, the
/// nearest first; the folder itself and the root are left out. Answers the first that is present, or
/// `path` unchanged. The places go into `report` where there is one.
[[nodiscard]] string find_in_x64_system_folders(const string& path, const string& library_name,
                                                search_report* report = nullptr);

/// The path to load for `library_name`: the name itself where it holds a separator or nothing was
/// found.
[[nodiscard]] string find_library(const string& library_name, search_report* report = nullptr);

/// The folder of a path without the separator at its end, except that a root keeps it; empty for a
/// bare name.
[[nodiscard]] string folder_of(const string& path);

} // namespace cw
