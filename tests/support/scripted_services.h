// Scripted stand-ins for what the logic asks of an operating system. A test makes a
// `scripted_services`, tells it what is there, runs the logic, and reads back the calls as lines.
// Paths are plain texts, so Windows-style paths work on every system.
#pragma once

#include "platform/last_error.h"
#include "platform/memory_user_settings.h"
#include "platform/services.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// The calls made so far, one UTF-8 line each: the operation's name and its arguments.
struct call_log {
    std::vector<std::string> lines;
    void add(std::string_view operation, std::u16string_view argument = {});
    /// The lines, and empties the log.
    [[nodiscard]] std::vector<std::string> take();
    /// How many lines begin with `operation`.
    [[nodiscard]] std::size_t count(std::string_view operation) const;
};

/// The real allocators, able to fail and to change the last-error value as a real one may.
struct scripted_text_memory final : platform::text_memory {
    /// The n-th allocation from now on fails, once; 0 for none.
    int fail_after = 0;
    /// What every call leaves as last error.
    std::optional<std::uint32_t> last_error_left;
    int allocations = 0;
    int releases = 0;
    /// The counts asked of `allocate` and the sizes asked of `allocate_bytes`.
    std::vector<std::size_t> sizes;

    BSTR allocate(const char16_t* text, UINT length) noexcept override;
    int reallocate(BSTR* target, const char16_t* text, UINT length) noexcept override;
    void release(BSTR text) noexcept override;
    char* allocate_bytes(std::size_t size_in_bytes) noexcept override;
    void release_bytes(char* bytes) noexcept override;

private:
    bool fails_now(std::size_t size) noexcept;
    void leave_error() noexcept;
};

/// Lines: `FormatMessageW 0x00000005`, `LocalFree`. Texts that the logic never gives back are freed
/// with this object.
struct scripted_system_messages final : platform::system_messages {
    explicit scripted_system_messages(call_log& log) noexcept : m_log(log) {}
    ~scripted_system_messages() override;
    std::map<std::uint32_t, std::u16string> texts;
    [[nodiscard]] std::size_t texts_not_released() const noexcept { return m_alive.size(); }

    char16_t* format_message(std::uint32_t code) noexcept override;
    void release(char16_t* text) noexcept override;

private:
    call_log& m_log;
    std::set<char16_t*> m_alive;
};

/// Lines: `GetModuleFileNameW`, `LoadLibraryW <path>`, `GetProcAddress <name>`.
struct scripted_loader final : platform::loader {
    explicit scripted_loader(call_log& log) noexcept : m_log(log) {}
    struct library {
        std::map<std::string, void*> exports;
    };
    /// Path of the running program; empty makes the question fail.
    std::u16string module_path;
    /// What loads, by the exact text of the path. The address of an entry is its handle.
    std::map<std::u16string, library> libraries;
    std::uint32_t load_error = platform::error_mod_not_found;

    /// `entry_point` may be any function of the test, usually a `dll_get_class_object`.
    void add_library(std::u16string_view path, const char* export_name, void* entry_point);

    std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept override;
    void* load_library(const char16_t* path) noexcept override;
    void* find_export(void* library, const char* name) noexcept override;
    std::u16string load_failure() override { return m_failure; }

private:
    call_log& m_log;
    std::u16string m_failure;
};

/// Lines: `GetFileAttributesW <path>`, `GetCurrentDirectoryW`, `SetCurrentDirectoryW <path>`,
/// `DeleteFileW <path>`.
struct scripted_file_system final : platform::file_system {
    explicit scripted_file_system(call_log& log) noexcept : m_log(log) {}
    std::set<std::u16string> files;
    std::set<std::u16string> folders;
    /// Any text but the empty one can become the current directory.
    std::u16string directory = u"C:\\start";
    std::uint32_t missing_error = platform::error_file_not_found;

    std::uint32_t attributes(const char16_t* path) noexcept override;
    std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept override;
    bool set_current_directory(const char16_t* path) noexcept override;
    bool delete_file(const char16_t* path) noexcept override;

private:
    call_log& m_log;
};

/// Lines: `RegOpenKeyExW <path> 0x00020019`, `RegQueryValueExW <name>`, `RegCloseKey`.
struct scripted_machine_settings final : platform::machine_settings {
    explicit scripted_machine_settings(call_log& log) noexcept : m_log(log) {}
    /// Values by key path and name.
    std::map<std::u16string, std::map<std::u16string, std::u16string>> keys;

    std::uint32_t open_key(const char16_t* path, std::uint32_t access, platform::settings_key* key) noexcept override;
    std::uint32_t query_value(platform::settings_key key, const char16_t* name, char16_t* target,
                              std::uint32_t* size_in_bytes) noexcept override;
    void close_key(platform::settings_key key) noexcept override;

private:
    call_log& m_log;
};

/// Lines: `CLSIDFromProgID <id>`, `CoCreateInstance <class id> 0x00000017`.
struct scripted_class_registry final : platform::class_registry {
    explicit scripted_class_registry(call_log& log) noexcept : m_log(log) {}
    std::map<std::u16string, CLSID> program_ids;
    /// What `create_instance` queries for the interface; null answers REGDB_E_CLASSNOTREG.
    IUnknown* instance = nullptr;

    HRESULT class_id_from_program_id(const char16_t* program_id, CLSID* class_id) noexcept override;
    HRESULT create_instance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid,
                            void** object) noexcept override;

private:
    call_log& m_log;
};

/// Counts invalid parameters and goes on, as a handler of the program's own would.
struct scripted_runtime final : platform::runtime_contract {
    int invalid_parameters = 0;
    void invalid_parameter() noexcept override { ++invalid_parameters; }
};

/// A whole set, in use from construction to the end. Code pages and text rules stay those that were
/// in use before.
class scripted_services {
public:
    scripted_services();

    call_log log;
    scripted_text_memory memory;
    scripted_system_messages messages{log};
    scripted_loader libraries{log};
    scripted_file_system files{log};
    scripted_machine_settings machine{log};
    platform::memory_user_settings user;
    scripted_class_registry classes{log};
    scripted_runtime runtime;

private:
    platform::services made() noexcept;
    platform::scoped_services m_inUse;
};

} // namespace cw::test_support
