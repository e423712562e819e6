#include "platform/system_module.h"

#include <algorithm>
#include <array>

namespace cw::platform {

namespace {

// Each looks for its interface at the call, so an entry point that was found before another set came
// into use leads to the other set.

bool create_directory(const char16_t* path, const void*) noexcept
{
    return current().files->create_folder(path);
}

file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode, const void* security,
                        std::uint32_t disposition, std::uint32_t flags, file_handle file_template) noexcept
{
    return current().open->create_file(path, access, share_mode, security, disposition, flags, file_template);
}

file_handle find_first_file(const char16_t* path, find_data* found) noexcept
{
    return current().files->find_first_file(path, found);
}

std::uint32_t get_file_attributes(const char16_t* path) noexcept
{
    return current().files->attributes(path);
}

bool delete_file(const char16_t* path) noexcept
{
    return current().files->delete_file(path);
}

void get_native_system_info(system_info* target) noexcept
{
    current().system->info(target);
}

/// The pointer as its lookup hands it out, checked against the type that callers cast it to.
template <class Entry>
void* address_of(Entry entry) noexcept
{
    return reinterpret_cast<void*>(entry);
}

struct entry_row {
    std::string_view name;
    void* address;
};

constexpr char16_t lowered(char16_t c) noexcept
{
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

} // namespace

bool is_system_module_name(std::u16string_view name) noexcept
{
    const std::u16string_view full = system_module_name;
    const std::u16string_view bare = full.substr(0, full.find(u'.'));
    return std::ranges::equal(name, full, {}, lowered) || std::ranges::equal(name, bare, {}, lowered);
}

void* find_system_entry(std::string_view name) noexcept
{
    // Made at the first look-up: that may come from the static construction of another file.
    static const std::array rows{
        entry_row{"CreateDirectoryW", address_of<create_directory_entry<char16_t>>(create_directory)},
        entry_row{"CreateFileW", address_of<create_file_entry<char16_t>>(create_file)},
        entry_row{"DeleteFileW", address_of<delete_file_entry<char16_t>>(delete_file)},
        entry_row{"FindFirstFileW", address_of<find_first_file_entry<char16_t>>(find_first_file)},
        entry_row{"GetFileAttributesW", address_of<get_file_attributes_entry<char16_t>>(get_file_attributes)},
        entry_row{"GetNativeSystemInfo", address_of<get_native_system_info_entry>(get_native_system_info)},
    };
    const auto row = std::ranges::find(rows, name, &entry_row::name);
    return row == rows.end() ? nullptr : row->address;
}

} // namespace cw::platform
