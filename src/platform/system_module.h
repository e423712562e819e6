// The system's own module, "kernel32.dll": entry points that older systems lack, or have in a narrow
// form alone, are looked up in it at each use. Here every entry leads to the interfaces in use.
#pragma once

#include "platform/services.h"

#include <string_view>

namespace cw::platform {

inline constexpr const char16_t* system_module_name = u"kernel32.dll";

using find_data_narrow = basic_find_data<char>;

/// A process; only the running one is ever asked about.
using process_handle = std::intptr_t;
inline constexpr process_handle current_process = -1;

// What the entry points look like. `Character` is char16_t for a name that ends in W, char for one in A.
template <class Character>
using create_directory_entry = bool (*)(const Character* path, const void* security) noexcept;
template <class Character>
using create_file_entry = file_handle (*)(const Character* path, std::uint32_t access, std::uint32_t share_mode,
                                          const void* security, std::uint32_t disposition, std::uint32_t flags,
                                          file_handle file_template) noexcept;
template <class Character>
using find_first_file_entry = file_handle (*)(const Character* path, basic_find_data<Character>* found) noexcept;
template <class Character>
using get_file_attributes_entry = std::uint32_t (*)(const Character* path) noexcept;
template <class Character>
using delete_file_entry = bool (*)(const Character* path) noexcept;
using get_native_system_info_entry = void (*)(system_info* target) noexcept;
using is_wow64_process_entry = bool (*)(process_handle process, bool* is_wow64) noexcept;

/// Whether a module name means the system's own: with or without its extension, case ignored.
[[nodiscard]] bool is_system_module_name(std::u16string_view name) noexcept;
/// The entry point of a name; null where the system has none. There are the wide names, and no
/// narrow ones; no process runs in another's clothes, so "IsWow64Process" is not there.
[[nodiscard]] void* find_system_entry(std::string_view name) noexcept;

} // namespace cw::platform
