#include "tests/support/scripted_services.h"

#include "platform/path_style.h"
#include "platform/system_module.h"
#include "platform/utf8.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace cw::test_support {

namespace {

std::u16string hexadecimal(std::uint32_t value)
{
    char digits[11];
    std::snprintf(digits, sizeof digits, "0x%08X", value);
    return {digits, digits + 10};
}

std::u16string decimal(std::int64_t value)
{
    return platform::from_utf8(std::to_string(value));
}

bool fail(std::uint32_t code)
{
    platform::set_last_error(code);
    return false;
}

platform::file_handle refuse(std::uint32_t code)
{
    platform::set_last_error(code);
    return platform::invalid_file_handle;
}

/// Copies with the terminator what fits as a whole; the code units copied, or 0.
std::uint32_t copy_whole(std::u16string_view text, char16_t* target, std::uint32_t room)
{
    if (text.size() >= room)
        return fail(platform::error_insufficient_buffer);
    text.copy(target, text.size());
    target[text.size()] = 0;
    return static_cast<std::uint32_t>(text.size());
}

/// Copies with the terminator, cut to the room; the code units copied.
std::uint32_t copy_cut(std::u16string_view text, char16_t* target, std::uint32_t room)
{
    if (room == 0)
        return 0;
    const std::size_t count = text.copy(target, room - 1);
    target[count] = 0;
    return static_cast<std::uint32_t>(count);
}

} // namespace

void call_log::add(std::string_view operation, std::u16string_view argument)
{
    std::string line(operation);
    if (!argument.empty())
        line += " " + platform::to_utf8(argument);
    lines.push_back(std::move(line));
}

void call_log::fail(std::string_view line, std::uint32_t error_code, int nth)
{
    m_failures.push_back({std::string(line), error_code, nth});
}

std::optional<std::uint32_t> call_log::add_fallible(std::string_view operation, std::u16string_view argument)
{
    add(operation, argument);
    const std::string& line = lines.back();
    std::optional<std::uint32_t> error_code;
    for (failure& told : m_failures) {
        if (line != told.line && !line.starts_with(told.line + " "))
            continue;
        ++told.seen;
        if (told.nth == 0 || told.nth == told.seen)
            error_code = told.error_code;
    }
    return error_code;
}

std::vector<std::string> call_log::take()
{
    return std::exchange(lines, {});
}

std::size_t call_log::count(std::string_view operation) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(lines, [&](const std::string& line) { return line.starts_with(operation); }));
}

bool scripted_text_memory::fails_now(std::size_t size) noexcept
{
    ++allocations;
    sizes.push_back(size);
    leave_error();
    return fail_after > 0 && --fail_after == 0;
}

void scripted_text_memory::leave_error() noexcept
{
    if (last_error_left)
        platform::set_last_error(*last_error_left);
}

BSTR scripted_text_memory::allocate(const char16_t* text, UINT length) noexcept
{
    return fails_now(length) ? nullptr : SysAllocStringLen(text, length);
}

int scripted_text_memory::reallocate(BSTR* target, const char16_t* text, UINT length) noexcept
{
    return fails_now(length) ? 0 : SysReAllocStringLen(target, text, length);
}

void scripted_text_memory::release(BSTR text) noexcept
{
    releases += text != nullptr;
    SysFreeString(text);
    leave_error();
}

char* scripted_text_memory::allocate_bytes(std::size_t size_in_bytes) noexcept
{
    return fails_now(size_in_bytes) ? nullptr : static_cast<char*>(std::malloc(size_in_bytes));
}

void scripted_text_memory::release_bytes(char* bytes) noexcept
{
    releases += bytes != nullptr;
    std::free(bytes);
    leave_error();
}

scripted_system_messages::~scripted_system_messages()
{
    for (char16_t* text : m_alive)
        std::free(text);
}

char16_t* scripted_system_messages::format_message(std::uint32_t code) noexcept
{
    m_log.add("FormatMessageW", hexadecimal(code));
    const auto found = texts.find(code);
    if (found == texts.end())
        return nullptr;
    const std::size_t size_in_bytes = (found->second.size() + 1) * sizeof(char16_t);
    auto* copy = static_cast<char16_t*>(std::malloc(size_in_bytes));
    std::memcpy(copy, found->second.c_str(), size_in_bytes);
    m_alive.insert(copy);
    return copy;
}

void scripted_system_messages::release(char16_t* text) noexcept
{
    m_log.add("LocalFree");
    m_alive.erase(text);
    std::free(text);
}

scripted_loader::scripted_loader(call_log& log) : m_log(log)
{
    for (const char* name : {"CreateDirectoryW", "CreateFileW", "DeleteFileW", "FindFirstFileW", "GetFileAttributesW",
                             "GetNativeSystemInfo"})
        system_module.exports[name] = platform::find_system_entry(name);
}

void scripted_loader::add_library(std::u16string_view path, const char* export_name, void* entry_point)
{
    libraries[std::u16string(path)].exports[export_name] = entry_point;
}

std::uint32_t scripted_loader::module_file_name(char16_t* target, std::uint32_t room) noexcept
{
    m_log.add("GetModuleFileNameW");
    return copy_cut(module_path, target, room);
}

void* scripted_loader::load_library(const char16_t* path) noexcept
{
    m_log.add("LoadLibraryW", path);
    const auto found = libraries.find(path);
    if (found == libraries.end()) {
        m_failure = std::u16string(path) + u": does not load";
        platform::set_last_error(load_error);
        return nullptr;
    }
    m_failure.clear();
    return &found->second;
}

void* scripted_loader::find_export(void* handle, const char* name) noexcept
{
    m_log.add("GetProcAddress", platform::from_utf8(name));
    const auto& exports = static_cast<library*>(handle)->exports;
    const auto found = exports.find(name);
    if (found == exports.end()) {
        platform::set_last_error(platform::error_proc_not_found);
        return nullptr;
    }
    return found->second;
}

void* scripted_loader::module_handle(const char16_t* name) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetModuleHandleW", name)) {
        platform::set_last_error(*error_code);
        return nullptr;
    }
    if (platform::is_system_module_name(name))
        return &system_module;
    const auto found = libraries.find(name);
    if (found == libraries.end()) {
        platform::set_last_error(platform::error_mod_not_found);
        return nullptr;
    }
    return &found->second;
}

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
        return fail(*error_code);
    contents.erase(path);
    return files.erase(path) != 0 || fail(missing_error);
}

bool scripted_file_system::create_folder(const char16_t* path) noexcept
{
    if (const auto error_code = m_log.add_fallible("CreateDirectoryW", path))
        return fail(*error_code);
    if (attributes_of(path) != platform::invalid_file_attributes)
        return fail(platform::error_already_exists);
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
        return fail(*error_code);
    return m_searches.erase(search) != 0 || fail(platform::error_invalid_handle);
}

std::uint32_t scripted_file_system::temp_folder(char16_t* target, std::uint32_t room) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetTempPathW"))
        return fail(*error_code);
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
        return fail(platform::error_name_too_long);
    copy_whole(name, target, platform::path_room);
    if (error_code)
        return fail(*error_code);
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
        return fail(platform::error_access_denied);
    const std::string& bytes = m_files.contents[opened->path];
    const std::uint32_t most = std::min(size_in_bytes, error_code ? kept_of_failed_read : longest_read);
    if (opened->position < bytes.size())
        *read_in_bytes = static_cast<std::uint32_t>(bytes.copy(static_cast<char*>(buffer), most, opened->position));
    opened->position += *read_in_bytes;
    return !error_code || fail(*error_code);
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
        return fail(platform::error_access_denied);
    const std::uint32_t count = error_code ? std::min(kept_of_failed_write, size_in_bytes) : size_in_bytes;
    std::string& content = m_files.contents[opened->path];
    content.resize(std::max<std::size_t>(content.size(), opened->position + count));
    content.replace(opened->position, count, static_cast<const char*>(bytes), count);
    opened->position += count;
    *written_in_bytes = count;
    return !error_code || fail(*error_code);
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
        return fail(platform::error_invalid_handle);
    return !error_code || fail(*error_code);
}

void scripted_system_information::info(platform::system_info* target) noexcept
{
    m_log.add("GetSystemInfo");
    target->processor_architecture = architecture;
}

std::uint32_t scripted_system_information::windows_folder(char16_t* target, std::uint32_t room) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetWindowsDirectoryW"))
        return fail(*error_code);
    return copy_whole(windows, target, room);
}

std::uint32_t scripted_system_information::system_folder(char16_t* target, std::uint32_t room) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetSystemDirectoryW"))
        return fail(*error_code);
    return copy_whole(system, target, room);
}

scripted_unique_ids::~scripted_unique_ids()
{
    for (char16_t* text : m_alive)
        std::free(text);
}

std::uint32_t scripted_unique_ids::create(GUID* id) noexcept
{
    if (const auto error_code = m_log.add_fallible("UuidCreate"))
        return *error_code;
    if (ids.empty()) {
        *id = {++m_made, 0, 0, {}};
    } else {
        *id = ids.front();
        ids.pop_front();
    }
    return platform::error_success;
}

std::uint32_t scripted_unique_ids::to_text(const GUID* id, char16_t** text) noexcept
{
    if (const auto error_code = m_log.add_fallible("UuidToStringW"))
        return *error_code;
    char16_t with_braces[39];
    StringFromGUID2(*id, with_braces, 39);
    *text = static_cast<char16_t*>(std::calloc(37, sizeof(char16_t)));
    for (int i = 0; i < 36; ++i)
        (*text)[i] = platform::current().rules->to_lower(with_braces[i + 1]);
    m_alive.insert(*text);
    return platform::error_success;
}

void scripted_unique_ids::release(char16_t** text) noexcept
{
    m_log.add("RpcStringFreeW");
    m_alive.erase(*text);
    std::free(*text);
    *text = nullptr;
}

platform::transfer_handle scripted_transfers::open_session(const char16_t* agent, std::uint32_t access_type,
                                                           const char16_t* proxy, const char16_t* proxy_bypass,
                                                           std::uint32_t flags) noexcept
{
    const auto told = [](const char16_t* text) { return std::u16string(text ? text : u"null") + u" "; };
    m_log.add("InternetOpenW",
              told(agent) + decimal(access_type) + u" " + told(proxy) + told(proxy_bypass) + hexadecimal(flags));
    if (!session)
        platform::set_last_error(open_error);
    return session;
}

bool scripted_transfers::close(platform::transfer_handle handle) noexcept
{
    if (const auto error_code = m_log.add_fallible("InternetCloseHandle"))
        return fail(*error_code);
    return (handle && handle == session) || fail(platform::error_invalid_handle);
}

std::uint32_t scripted_machine_settings::open_key(const char16_t* path, std::uint32_t access,
                                                  platform::settings_key* key) noexcept
{
    m_log.add("RegOpenKeyExW", std::u16string(path) + u" " + hexadecimal(access));
    const auto found = keys.find(path);
    *key = found == keys.end() ? nullptr : &found->second;
    return *key ? platform::error_success : platform::error_file_not_found;
}

std::uint32_t scripted_machine_settings::query_value(platform::settings_key key, const char16_t* name, char16_t* target,
                                                     std::uint32_t* size_in_bytes) noexcept
{
    m_log.add("RegQueryValueExW", name);
    const auto& values = *static_cast<std::map<std::u16string, std::u16string>*>(key);
    const auto found = values.find(name);
    if (found == values.end())
        return platform::error_file_not_found;
    const auto needed = static_cast<std::uint32_t>((found->second.size() + 1) * sizeof(char16_t));
    const bool fits = *size_in_bytes >= needed;
    *size_in_bytes = needed;
    if (!fits)
        return platform::error_more_data;
    std::memcpy(target, found->second.c_str(), needed);
    return platform::error_success;
}

void scripted_machine_settings::close_key(platform::settings_key) noexcept
{
    m_log.add("RegCloseKey");
}

HRESULT scripted_class_registry::class_id_from_program_id(const char16_t* program_id, CLSID* class_id) noexcept
{
    m_log.add("CLSIDFromProgID", program_id);
    const auto found = program_ids.find(program_id);
    *class_id = found == program_ids.end() ? GUID_NULL : found->second;
    return found == program_ids.end() ? CO_E_CLASSSTRING : S_OK;
}

HRESULT scripted_class_registry::create_instance(REFCLSID class_id, IUnknown*, DWORD context, REFIID iid,
                                                 void** object) noexcept
{
    char16_t id[39];
    StringFromGUID2(class_id, id, 39);
    m_log.add("CoCreateInstance", std::u16string(id) + u" " + hexadecimal(context));
    *object = nullptr;
    return instance ? instance->QueryInterface(iid, object) : REGDB_E_CLASSNOTREG;
}

platform::services scripted_services::made() noexcept
{
    platform::services set = platform::current();
    set.memory = &memory;
    set.messages = &messages;
    set.libraries = &libraries;
    set.files = &files;
    set.open = &open;
    set.system = &system;
    set.ids = &ids;
    set.network = &network;
    set.machine = &machine;
    set.user = &user;
    set.classes = &classes;
    set.runtime = &runtime;
    return set;
}

scripted_services::scripted_services() : m_inUse(made()) {}

} // namespace cw::test_support
