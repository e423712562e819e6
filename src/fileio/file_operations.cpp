#include "fileio/file_operations.h"

#include "fileio/entry_points.h"
#include "fileio/file.h"
#include "fileio/paths.h"
#include "fileio/process_values.h"
#include "fileio/urls.h"
#include "foundation/exceptions.h"
#include "platform/last_error.h"
#include "platform/path_style.h"
#include "platform/services.h"

#include <array>

namespace cw {

namespace {

constexpr const char16_t* temp_name_prefix = u"_cw";
constexpr std::u16string_view temp_extension = u".tmp";
constexpr std::size_t short_name_length = 8;
constexpr std::uint32_t largest_number = 0x7FFFFFFF;
// Segments of a folder chain that are there beforehand: the drive or root; of a network path both
// separators, the server and the share.
constexpr std::size_t root_segments = 1;
constexpr std::size_t share_segments = 4;
/// Low half of the error for the HTTP status "not found".
constexpr std::uint32_t http_not_found = 0xD554;

/// A buffer that the system fills with a path.
using path_buffer = std::array<char16_t, platform::path_room>;

string user_temp_folder()
{
    path_buffer buffer{};
    platform::current().files->temp_folder(buffer.data(), platform::path_room);
    return buffer.data();
}

/// The system's temporary name for a number. For 0 the system makes the file as well, and only the name
/// is wanted; where it could not, a file of that name is somebody else's. Empty where no name fits.
string temp_file_name(const string& folder, std::uint32_t number)
{
    platform::file_system& files = *platform::current().files;
    path_buffer buffer{};
    const bool is_formed = files.temp_file_name(folder.c_str(), temp_name_prefix, number, buffer.data()) != 0;
    if (is_formed && number == 0)
        files.delete_file(buffer.data());
    return buffer.data();
}

string temp_folder_name(const string& folder, bool short_name)
{
    const string id = new_guid_text();
    return combine_path(folder, u"{" + (short_name ? id.substr(0, short_name_length) : id) + u"}");
}

string without_temp_extension(const string& name)
{
    string result(name);
    const std::size_t at = result.find_no_case(0, temp_extension.data(), temp_extension.size());
    if (at != string::npos)
        result.erase(at, temp_extension.size());
    return result;
}

bool is_accepted(std::uint32_t attributes, std::uint32_t flags)
{
    return (flags & (attributes & platform::file_attribute_directory ? accept_folder : accept_file)) != 0;
}

bool record_failure(const string& path)
{
    last_file_error = platform::get_last_error();
    last_failed_path = path;
    return false;
}

} // namespace

string make_temp_name(bool as_file, const string& extension, const string& folder, bool short_name,
                      std::uint32_t first_number)
{
    const string place = add_backslash(folder.empty() ? user_temp_folder() : folder);
    create_folders_of(place);

    for (std::uint32_t number = first_number; number <= largest_number; ++number) {
        string name = as_file ? temp_file_name(place, number) : temp_folder_name(place, short_name);
        // A folder that leaves no room for a name has none that is free.
        if (name.empty())
            return name;
        name = extension.empty() ? without_temp_extension(name) : change_extension(name, extension);
        if (!as_file)
            name = add_backslash(name);
        if (path_exists(name, accept_file | accept_folder))
            continue;
        if (!as_file)
            create_folders_of(name);
        return name;
    }
    return {};
}

bool path_exists(const string& path, std::uint32_t flags)
{
    if ((flags & check_url) && (is_http_url(path) || is_ftp_url(path) || is_https_url(path)))
        return url_exists(path, flags);

    const std::uint32_t attributes = entry_points::get_file_attributes(path);
    if (attributes != platform::invalid_file_attributes)
        return is_accepted(attributes, flags);

    std::uint32_t code = platform::get_last_error();
    if (code == platform::error_file_not_found || code == platform::error_path_not_found)
        return false;
    if (code == platform::error_access_denied) {
        // What may not be looked at can still be listed in the folder above it.
        platform::find_data found;
        const platform::file_handle search = entry_points::find_first_file(path, found);
        if (search != platform::invalid_file_handle) {
            platform::current().files->find_close(search);
            return is_accepted(found.attributes, flags);
        }
        code = platform::get_last_error();
    }
    if (flags & raise_on_error)
        throw file_exception(path, code);
    return false;
}

bool url_exists(const string& address, std::uint32_t flags)
{
    if (!is_http_url(address) && !is_ftp_url(address) && !is_https_url(address))
        return false;
    try {
        file tested;
        if (tested.open(address, platform::generic_read, platform::file_share_read, platform::file_attribute_normal,
                        platform::open_existing, nullptr, 0) != 0) {
            if (flags & raise_on_error)
                throw internet_file_exception(address);
            return false;
        }
        std::array<char, 5> beginning{};
        return tested.read(beginning.data(), beginning.size()) != 0;
    } catch (const internet_file_exception& failure) {
        if ((flags & raise_on_error) == 0 || (failure.code & 0xFFFF) == http_not_found)
            return false;
        throw internet_file_exception(failure);
    }
}

bool create_folders(const string& path)
{
    const string chain = add_backslash(path);
    last_file_error = platform::error_success;
    file_failures.clear();

    const char16_t separator = path_separator_of(chain);
    const std::size_t given_segments = is_share_path(chain) ? share_segments : root_segments;
    string built;
    std::size_t number = 0;
    for (std::size_t start = 0; start < chain.length();) {
        const std::size_t behind = find_folded(chain, separator, start) + 1;
        const string segment = chain.substr(start, behind - start);
        start = behind;
        // The two separators of a network path become one here; the system then refuses its folders.
        if (segment == std::u16string_view(&separator, 1))
            built.append_separated(segment, separator);
        else
            built += segment;
        if (++number <= given_segments || entry_points::create_directory(built))
            continue;
        if (platform::get_last_error() != platform::error_already_exists)
            return record_failure(built);
        last_file_error = platform::error_success;
    }
    return true;
}

bool create_folders_of(const string& path)
{
    return create_folders(directory_of(path, true, false));
}

void delete_file(const string& path)
{
    if (entry_points::delete_file(path))
        return;
    record_failure(path);
    file_failures.push_back({last_file_error, path});
}

string new_guid_text()
{
    platform::unique_ids& ids = *platform::current().ids;
    GUID id{};
    ids.create(&id);
    char16_t* text = nullptr;
    ids.to_text(&id, &text);
    for (char16_t* character = text; character && *character; ++character)
        *character = platform::current().rules->to_upper(*character);
    string result(text);
    if (text)
        ids.release(&text);
    return result;
}

} // namespace cw
