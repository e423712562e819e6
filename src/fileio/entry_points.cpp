#include "fileio/entry_points.h"

#include <utility>

namespace cw::entry_points {

namespace {

/// Where the calls that tell one system from another are looked up: the same module by its short name.
constexpr const char16_t* system_module_short_name = u"kernel32";
constexpr std::uint32_t system_code_page = 0;

template <class Entry>
Entry find(const char* name, const char16_t* module_name = platform::system_module_name) noexcept
{
    platform::loader& libraries = *platform::current().libraries;
    void* module = libraries.module_handle(module_name);
    return module ? reinterpret_cast<Entry>(libraries.find_export(module, name)) : nullptr;
}

/// Calls the wide entry of a name, else the narrow one; `failure` where there is neither.
template <template <class> class Entry, class Result, class... Arguments>
Result call(const char* wide_name, const char* narrow_name, Result failure, const string& path, Arguments... arguments)
{
    if (const auto wide = find<Entry<char16_t>>(wide_name))
        return wide(path.c_str(), arguments...);
    if (const auto narrow = find<Entry<char>>(narrow_name)) {
        string copy(path);
        return narrow(copy.narrow(), arguments...);
    }
    return failure;
}

/// A name that is no text of the code page comes out empty.
template <std::size_t room>
void widen(const char (&source)[room], char16_t (&target)[room]) noexcept
{
    if (platform::current().pages->to_wide(system_code_page, source, -1, target, static_cast<int>(room)) == 0)
        target[0] = 0;
}

platform::find_data widened(const platform::find_data_narrow& source) noexcept
{
    platform::find_data found;
    found.attributes = source.attributes;
    found.creation_time = source.creation_time;
    found.last_access_time = source.last_access_time;
    found.last_write_time = source.last_write_time;
    found.size_high = source.size_high;
    found.size_low = source.size_low;
    found.reserved0 = source.reserved0;
    found.reserved1 = source.reserved1;
    widen(source.file_name, found.file_name);
    widen(source.alternate_name, found.alternate_name);
    return found;
}

} // namespace

bool create_directory(const string& path)
{
    const void* no_security = nullptr;
    return call<platform::create_directory_entry>("CreateDirectoryW", "CreateDirectoryA", false, path, no_security);
}

platform::file_handle create_file(const string& path, std::uint32_t access, std::uint32_t share_mode,
                                  const void* security, std::uint32_t disposition, std::uint32_t flags,
                                  platform::file_handle file_template)
{
    return call<platform::create_file_entry>("CreateFileW", "CreateFileA", platform::invalid_file_handle, path, access,
                                             share_mode, security, disposition, flags, file_template);
}

platform::file_handle find_first_file(const string& path, platform::find_data& found)
{
    if (const auto wide = find<platform::find_first_file_entry<char16_t>>("FindFirstFileW"))
        return wide(path.c_str(), &found);
    const auto narrow = find<platform::find_first_file_entry<char>>("FindFirstFileA");
    if (!narrow)
        return platform::invalid_file_handle;
    string copy(path);
    platform::find_data_narrow found_narrow;
    const platform::file_handle search = narrow(copy.narrow(), &found_narrow);
    if (search != platform::invalid_file_handle)
        found = widened(found_narrow);
    return search;
}

std::uint32_t get_file_attributes(const string& path)
{
    return call<platform::get_file_attributes_entry>("GetFileAttributesW", "GetFileAttributesA",
                                                     platform::invalid_file_attributes, path);
}

bool delete_file(const string& path)
{
    const auto wide = find<platform::delete_file_entry<char16_t>>("DeleteFileW");
    return !wide || wide(path.c_str());
}

platform::system_info get_native_system_info()
{
    platform::system_info machine;
    if (const auto native =
            find<platform::get_native_system_info_entry>("GetNativeSystemInfo", system_module_short_name))
        native(&machine);
    else
        platform::current().system->info(&machine);
    return machine;
}

bool is_wow64_process(platform::process_handle process)
{
    bool is_wow64 = false;
    const auto ask = find<platform::is_wow64_process_entry>("IsWow64Process", system_module_short_name);
    return ask && ask(process, &is_wow64) && is_wow64;
}

} // namespace cw::entry_points
