#include "bridges/library_search.h"

#include "platform/last_error.h"
#include "platform/path_style.h"
#include "platform/services.h"
#include "platform/shell_path.h"

#include <algorithm>
#include <array>
#include <span>

namespace cw {
namespace {

constexpr std::uint32_t path_room = 260;
constexpr std::uint32_t key_read = 0x20019;
constexpr const char16_t* version_key = u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
constexpr const char16_t* common_files_value = u"CommonFilesDir";

/// Joins by the separator of the left side. An empty left side counts as a backslash path.
string join(string left, std::u16string_view part)
{
    const char16_t separator = path_separator_of(left);
    const bool part_leads = !part.empty() && part.front() == separator;
    if (!left.empty() && left[left.length() - 1] == separator) {
        if (part_leads)
            part.remove_prefix(1);
    } else if (!part.empty() && !part_leads) {
        left.append(1, separator);
    }
    return left.append(part);
}

bool is_present(const string& path)
{
    return platform::current().files->attributes(path.c_str()) != platform::invalid_file_attributes;
}

void add_attempt(search_report* report, search_place place, const string& path, bool present)
{
    if (report)
        report->attempts.push_back({place, path, present});
}

string finish(search_report* report, search_outcome outcome, const string& path)
{
    if (report)
        report->outcome = outcome;
    return path;
}

/// A place below one of two folders, tried by its presence alone.
struct fixed_place {
    search_place place;
    bool in_common_files; // otherwise in the program's folder
    std::array<std::u16string_view, 2> below;
};
constexpr auto fixed_places = std::to_array<fixed_place>({
    {search_place::module_folder, false, {}},
    {search_place::module_system_folder, false, {u"System"}},
    {search_place::common_files_folder, true, {u"Cratewright"}},
    {search_place::common_files_demowright_folder, true, {u"Cratewright", u"Demowright"}},
});

} // namespace

string folder_of(const string& path)
{
    const char16_t separator = path_separator_of(path);
    const std::size_t last = path.rfind(separator);
    if (last == string::npos)
        return {};
    const bool has_drive = separator == u'\\' && path.length() >= 2 && path[1] == u':';
    const std::size_t root_length = has_drive ? 2 : 0;
    return path.substr(0, last > root_length ? last : last + 1);
}

string common_files_folder()
{
    platform::machine_settings& machine = *platform::current().machine;
    std::array<char16_t, path_room + 1> text{};
    platform::settings_key key = nullptr;
    if (machine.open_key(version_key, key_read, &key) == platform::error_success) {
        std::uint32_t size_in_bytes = path_room * sizeof(char16_t);
        machine.query_value(key, common_files_value, text.data(), &size_in_bytes);
        machine.close_key(key);
    }
    string folder(text.data());
    const char16_t separator = path_separator_of(folder);
    if (folder.empty() || folder[folder.length() - 1] != separator)
        folder.append(1, separator);
    return folder;
}

string find_in_x64_system_folders(const string& path, const string& library_name, search_report* report)
{
    std::array<char16_t, path_room> buffer{};
    path.view().copy(buffer.data(), path_room - 1);
    platform::path_remove_file_spec(buffer.data());

    // One code unit of the prefix goes in each pass. In the first, the unit looked at is the
    // terminator, so the folder itself is not tried.
    for (std::size_t i = std::u16string_view(buffer.data()).size(); i > 0 && !platform::path_is_root(buffer.data());
         --i) {
        if (buffer[i] == u'\\' || buffer[i] == u'/') {
            const bool fits = platform::path_append(buffer.data(), path_room, u"System") &&
                              platform::path_append(buffer.data(), path_room, u"x64") &&
                              platform::path_append(buffer.data(), path_room, library_name.c_str());
            const bool present = fits && platform::path_file_exists(buffer.data());
            if (fits)
                add_attempt(report, search_place::ancestor_x64_folder, buffer.data(), present);
            if (present)
                return buffer.data();
        }
        buffer[i] = 0;
    }
    return path;
}

string find_library(const string& library_name, search_report* report)
{
    if (library_name.view().find(path_separator_of(library_name)) != std::u16string_view::npos)
        return finish(report, search_outcome::given_path, library_name);

    std::array<char16_t, path_room + 1> module_path{};
    if (platform::current().libraries->module_file_name(module_path.data(), path_room) == 0)
        return finish(report, search_outcome::no_module_name, library_name);
    const string module_folder = folder_of(module_path.data());

    for (const fixed_place& tried : fixed_places) {
        string candidate = tried.in_common_files ? common_files_folder() : module_folder;
        for (const std::u16string_view folder : tried.below)
            candidate = join(candidate, folder);
        candidate = join(candidate, library_name);
        const bool present = is_present(candidate);
        add_attempt(report, tried.place, candidate, present);
        if (present)
            return finish(report, search_outcome::found, candidate);
    }

    const string above = find_in_x64_system_folders(join(module_folder, library_name), library_name, report);
    if (is_present(above))
        return finish(report, search_outcome::found, above);
    return finish(report, search_outcome::left_to_system, library_name);
}

} // namespace cw
