#include "tests/support/scripted_files.h"

#include "platform/path_style.h"
#include "platform/utf8.h"

#include "tests/support/text_copies.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace cw::test_support {

namespace {

platform::file_handle refuse(std::uint32_t code)
{
    platform::set_last_error(code);
    return platform::invalid_file_handle;
}

} // namespace

void scripted_file_system::add_file(std::u16string_view path, std::string_view bytes)
{
    files.insert(std::u16string(path));
    contents[std::u16string(path)] = bytes;
}

std::uint32_t scripted_file_system::attributes_of(std::u16string_view path) const
{
    const std::u16string name(path);
    if (files.contains(name))
        return platform::file_attribute_normal;
    return folders.contains(name) ? platform::file_attribute_directory : platform::invalid_file_attributes;
}

std::uint32_t scripted_file_system::attributes(const char16_t* path) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetFileAttributesW", path)) {
        platform::set_last_error(*error_code);
        return platform::invalid_file_attributes;
    }
    const std::uint32_t found = attributes_of(path);
    if (found == platform::invalid_file_attributes)
        platform::set_last_error(missing_error);
    return found;
}

std::uint32_t scripted_file_system::current_directory(char16_t* target, std::uint32_t room) noexcept
{
    m_log.add("GetCurrentDirectoryW");
    return copy_cut(directory, target, room);
}

bool scripted_file_system::set_current_directory(const char16_t* path) noexcept
{
    m_log.add("SetCurrentDirectoryW", path);
    if (*path == 0) {
        platform::set_last_error(platform::error_path_not_found);
        return false;
    }
    directory = path;
    return true;
}

bool scripted_file_system::delete_file(const char16_t* path) noexcept
{
    if (const auto error_code = m_log.add_fallible("DeleteFileW", path))
        return fail_with(*error_code);
    contents.erase(path);
    return files.erase(path) != 0 || fail_with(missing_error);
}

bool scripted_file_system::create_folder(const char16_t* path) noexcept
{
    if (const auto error_code = m_log.add_fallible("CreateDirectoryW", path))
        return fail_with(*error_code);
    if (attributes_of(path) != platform::invalid_file_attributes)
        return fail_with(platform::error_already_exists);
    folders.insert(path);
    return true;
}

platform::file_handle scripted_file_system::find_first_file(const char16_t* path, platform::find_data* found) noexcept
{
    if (const auto error_code = m_log.add_fallible("FindFirstFileW", path))
        return refuse(*error_code);
    const std::u16string_view whole = path;
    const std::uint32_t attributes = attributes_of(whole);
    if (attributes == platform::invalid_file_attributes)
        return refuse(missing_error);
    *found = {};
    found->attributes = attributes;
    whole.substr(whole.rfind(path_separator_of(whole)) + 1).copy(found->file_name, platform::path_room - 1);
    return *m_searches.insert(m_nextSearch++).first;
}

bool scripted_file_system::find_close(platform::file_handle search) noexcept
{
    if (const auto error_code = m_log.add_fallible("FindClose"))
        return fail_with(*error_code);
    return m_searches.erase(search) != 0 || fail_with(platform::error_invalid_handle);
}

std::uint32_t scripted_file_system::temp_folder(char16_t* target, std::uint32_t room) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetTempPathW"))
        return fail_with(*error_code);
    return copy_whole(temp, target, room);
}

std::uint32_t scripted_file_system::temp_file_name(const char16_t* folder, const char16_t* prefix, std::uint32_t unique,
                                                   char16_t* target) noexcept
{
    const auto error_code =
        m_log.add_fallible("GetTempFileNameW", std::u16string(folder) + u" " + prefix + u" " + decimal(unique));
    std::u16string stem = folder;
    const char16_t separator = path_separator_of(stem);
    if (!stem.ends_with(separator))
        stem += separator;
    std::uint32_t number = unique ? unique : temp_number;
    std::u16string name;
    do {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%X", number);
        name = stem + prefix + platform::from_utf8(digits) + u".tmp";
    } while (unique == 0 && files.contains(name) && ++number != 0);
    if (name.size() >= platform::path_room)
        return fail_with(platform::error_name_too_long);
    copy_whole(name, target, platform::path_room);
    if (error_code)
        return fail_with(*error_code);
    if (unique == 0) {
        files.insert(name);
        temp_number = number + 1;
    }
    return number;
}

scripted_open_files::open_file* scripted_open_files::find(platform::file_handle file) noexcept
{
    const auto found = m_handles.find(file);
    if (found != m_handles.end())
        return &found->second;
    platform::set_last_error(platform::error_invalid_handle);
    return nullptr;
}

std::uint64_t scripted_open_files::size_of(const std::u16string& path) const
{
    if (const auto told = sizes.find(path); told != sizes.end())
        return told->second;
    const auto bytes = m_files.contents.find(path);
    return bytes == m_files.contents.end() ? 0 : bytes->second.size();
}

platform::file_handle scripted_open_files::create_file(const char16_t* path, std::uint32_t access,
                                                       std::uint32_t share_mode, const void*, std::uint32_t disposition,
                                                       std::uint32_t flags, platform::file_handle) noexcept
{
    if (const auto error_code = m_log.add_fallible("CreateFileW", std::u16string(path) + u" " + hexadecimal(access) +
                                                                      u" " + hexadecimal(share_mode) + u" " +
                                                                      decimal(disposition) + u" " + hexadecimal(flags)))
        return refuse(*error_code);
    if (m_files.folders.contains(path))
        return refuse(platform::error_access_denied);
    const bool is_there = m_files.files.contains(path);
    if (is_there && disposition == platform::create_new)
        return refuse(platform::error_file_exists);
    if (!is_there && (disposition == platform::open_existing || disposition == platform::truncate_existing))
        return refuse(m_files.missing_error);
    if (!is_there || disposition == platform::create_always || disposition == platform::truncate_existing) {
        m_files.files.insert(path);
        m_files.contents.erase(path);
    }
    m_handles[m_nextHandle] = {path, access, 0};
    return m_nextHandle++;
}

bool scripted_open_files::read(platform::file_handle file, void* buffer, std::uint32_t size_in_bytes,
                               std::uint32_t* read_in_bytes) noexcept
{
    *read_in_bytes = 0;
    const auto error_code = m_log.add_fallible("ReadFile", decimal(size_in_bytes));
    open_file* opened = find(file);
    if (!opened)
        return false;
    if ((opened->access & platform::generic_read) == 0)
        return fail_with(platform::error_access_denied);
    const std::string& bytes = m_files.contents[opened->path];
    const std::uint32_t most = std::min(size_in_bytes, error_code ? kept_of_failed_read : longest_read);
    if (opened->position < bytes.size())
        *read_in_bytes = static_cast<std::uint32_t>(bytes.copy(static_cast<char*>(buffer), most, opened->position));
    opened->position += *read_in_bytes;
    return !error_code || fail_with(*error_code);
}

bool scripted_open_files::write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
                                std::uint32_t* written_in_bytes) noexcept
{
    *written_in_bytes = 0;
    const auto error_code = m_log.add_fallible("WriteFile", decimal(size_in_bytes));
    open_file* opened = find(file);
    if (!opened)
        return false;
    if ((opened->access & platform::generic_write) == 0)
        return fail_with(platform::error_access_denied);
    const std::uint32_t count = error_code ? std::min(kept_of_failed_write, size_in_bytes) : size_in_bytes;
    std::string& content = m_files.contents[opened->path];
    content.resize(std::max<std::size_t>(content.size(), opened->position + count));
    content.replace(opened->position, count, static_cast<const char*>(bytes), count);
    opened->position += count;
    *written_in_bytes = count;
    return !error_code || fail_with(*error_code);
}

std::uint32_t scripted_open_files::seek(platform::file_handle file, std::int32_t distance, std::int32_t* distance_high,
                                        std::uint32_t method) noexcept
{
    const auto fail_position = [](std::uint32_t code) {
        platform::set_last_error(code);
        return platform::invalid_file_position;
    };
    if (const auto error_code = m_log.add_fallible(
            "SetFilePointer",
            decimal(distance) + u" " + (distance_high ? decimal(*distance_high) : u"null") + u" " + decimal(method)))
        return fail_position(*error_code);
    open_file* opened = find(file);
    if (!opened)
        return platform::invalid_file_position;
    const std::uint64_t base = method == platform::seek_begin     ? 0
                               : method == platform::seek_current ? opened->position
                                                                  : size_of(opened->path);
    const std::int64_t way =
        distance_high ? (std::int64_t{*distance_high} << 32) + static_cast<std::uint32_t>(distance) : distance;
    const std::int64_t target = static_cast<std::int64_t>(base) + way;
    if (target < 0)
        return fail_position(platform::error_negative_seek);
    if (!distance_high && target > UINT32_MAX)
        return fail_position(platform::error_invalid_parameter);
    opened->position = static_cast<std::uint64_t>(target);
    if (distance_high)
        *distance_high = static_cast<std::int32_t>(target >> 32);
    const auto low = static_cast<std::uint32_t>(target);
    return low == platform::invalid_file_position ? fail_position(platform::error_success) : low;
}

std::uint32_t scripted_open_files::size(platform::file_handle file, std::uint32_t* size_high) noexcept
{
    const auto error_code = m_log.add_fallible("GetFileSize");
    if (error_code) {
        platform::set_last_error(*error_code);
        return platform::invalid_file_position;
    }
    const open_file* opened = find(file);
    if (!opened)
        return platform::invalid_file_position;
    const std::uint64_t size_in_bytes = size_of(opened->path);
    if (size_high)
        *size_high = static_cast<std::uint32_t>(size_in_bytes >> 32);
    const auto low = static_cast<std::uint32_t>(size_in_bytes);
    if (low == platform::invalid_file_position)
        platform::set_last_error(platform::error_success);
    return low;
}

bool scripted_open_files::close(platform::file_handle file) noexcept
{
    const auto error_code = m_log.add_fallible("CloseHandle");
    if (m_handles.erase(file) == 0)
        return fail_with(platform::error_invalid_handle);
    return !error_code || fail_with(*error_code);
}

} // namespace cw::test_support
