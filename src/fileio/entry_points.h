// System calls that are looked up in the system's module at each use, with the narrow form where the
// wide one is missing. Failing calls leave the last error of the system.
#pragma once

#include "foundation/string.h"
#include "platform/services.h"
#include "platform/system_module.h"

#include <cstdint>

namespace cw::entry_points {

/// False where the folder cannot be made, or the system has no such call.
[[nodiscard]] bool create_directory(const string& path);
/// `invalid_file_handle` where the file cannot be opened, or the system has no such call.
[[nodiscard]] platform::file_handle create_file(const string& path, std::uint32_t access, std::uint32_t share_mode,
                                                const void* security, std::uint32_t disposition, std::uint32_t flags,
                                                platform::file_handle file_template);
/// `invalid_file_handle` where there is no such entry, or no such call; `found` is then as it was. The
/// handle is for `find_close`.
[[nodiscard]] platform::file_handle find_first_file(const string& path, platform::find_data& found);
/// `invalid_file_attributes` where there is no such file, or no such call.
[[nodiscard]] std::uint32_t get_file_attributes(const string& path);
/// False on failure. Where the system has no such call nothing happens, and that is no failure.
[[nodiscard]] bool delete_file(const string& path);

/// The machine as it is, which a process of another kind may be shown differently. Where the system
/// has no such call, the machine as the process sees it.
[[nodiscard]] platform::system_info get_native_system_info();
/// Whether a 32-bit process runs on a 64-bit system; false where the system has no such call.
[[nodiscard]] bool is_wow64_process(platform::process_handle process);

} // namespace cw::entry_points
