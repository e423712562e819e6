// The few path operations that the search for a reader library is made of. They work in place on
// zero-terminated buffers, by the separator of the path that they are given (path_style.h).
#pragma once

#include <cstddef>

namespace cw::platform {

/// Cuts the last component and the separator before it; a root (`C:\`, `\`, `/`) stays. A trailing
/// separator counts as an empty last component. False where nothing was cut.
bool path_remove_file_spec(char16_t* path) noexcept;

/// Backslash paths: `\`, `X:\`, `\\server`, `\\server\share` without a trailing backslash. Native
/// paths: slashes alone.
[[nodiscard]] bool path_is_root(const char16_t* path) noexcept;

/// Appends `more` with exactly one separator between; leading separators of `more` are dropped. In a
/// backslash path `.` and `..` components are resolved by the text; in a native path they are left
/// to the system, because a `..` behind a symbolic link means another folder than the text says.
/// False, with the path as it was, where the result and its terminator do not fit in `room` code
/// units.
bool path_append(char16_t* path, std::size_t room, const char16_t* more) noexcept;

/// Whether a file or folder of that name is present, by `file_system::attributes`.
[[nodiscard]] bool path_file_exists(const char16_t* path) noexcept;

} // namespace cw::platform
