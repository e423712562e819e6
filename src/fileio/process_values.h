// Values of the whole process that file operations keep. The folders are worked out before the
// program begins, the rest is a record of failures for a debugger; nothing reads either.
#pragma once

#include "foundation/string.h"

#include <cstdint>
#include <vector>

namespace cw {

// Folders of the system, each with a separator at its end. Static construction works them out in
// this order; a folder that the system cannot tell ends the start with `win32_exception`.
extern string wow64_folder;     // of 32-bit programs on a 64-bit system; otherwise empty
extern string sysnative_folder; // the true system folder for a 32-bit program; otherwise empty
extern string system_folder;    // as this process sees it
extern string windows_folder;

struct file_failure {
    std::uint32_t code;
    string path;
};

/// Error of the last folder that could not be made or file that could not be deleted; 0 after a
/// clean start of `create_folders`.
extern std::uint32_t last_file_error;
extern string last_failed_path;
/// One for each failed deletion since `create_folders` was last called.
extern std::vector<file_failure> file_failures;

// What the folders above are made of. `win32_exception` where the system cannot tell one that is needed.
[[nodiscard]] string find_wow64_folder();
[[nodiscard]] string find_sysnative_folder();
[[nodiscard]] string find_system_folder();
[[nodiscard]] string find_windows_folder();

} // namespace cw
