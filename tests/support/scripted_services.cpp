#include "tests/support/scripted_services.h"

#include "platform/system_module.h"
#include "platform/utf8.h"

#include "tests/support/text_copies.h"

#include <cstdlib>
#include <cstring>

namespace cw::test_support {

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

void scripted_system_information::info(platform::system_info* target) noexcept
{
    m_log.add("GetSystemInfo");
    target->processor_architecture = architecture;
}

std::uint32_t scripted_system_information::windows_folder(char16_t* target, std::uint32_t room) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetWindowsDirectoryW"))
        return fail_with(*error_code);
    return copy_whole(windows, target, room);
}

std::uint32_t scripted_system_information::system_folder(char16_t* target, std::uint32_t room) noexcept
{
    if (const auto error_code = m_log.add_fallible("GetSystemDirectoryW"))
        return fail_with(*error_code);
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
    m_log.add("RegQueryValueExW", name + (tells_room ? u" " + decimal(*size_in_bytes) : std::u16string()));
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
    set.waits = &waits;
    set.time = &time;
    set.machine = &machine;
    set.user_keys = &user_keys;
    set.user = &user;
    set.classes = &classes;
    set.runtime = &runtime;
    return set;
}

scripted_services::scripted_services() : m_inUse(made()) {}

} // namespace cw::test_support
