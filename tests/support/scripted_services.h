// Scripted stand-ins for what the logic asks of an operating system. A test makes a
// `scripted_services`, tells it what is there, runs the logic, and reads back the calls as lines.
// Paths are plain texts, so Windows-style paths work on every system.
#pragma once

#include "platform/last_error.h"
#include "platform/memory_user_settings.h"
#include "platform/services.h"

#include "tests/support/call_log.h"
#include "tests/support/scripted_clocks.h"
#include "tests/support/scripted_files.h"
#include "tests/support/scripted_transfers.h"
#include "tests/support/scripted_waits.h"

#include <atomic>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// The real allocators, able to fail and to change the last-error value as a real one may.
struct scripted_text_memory final : platform::text_memory {
    /// The n-th allocation from now on fails, once; 0 for none.
    int fail_after = 0;
    /// What every call leaves as last error.
    std::optional<std::uint32_t> last_error_left;
    int allocations = 0;
    std::atomic<int> releases = 0; // copies go on any thread
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

/// Lines: `GetModuleFileNameW`, `LoadLibraryW <path>`, `GetProcAddress <name>`, `GetModuleHandleW <name>`.
struct scripted_loader final : platform::loader {
    explicit scripted_loader(call_log& log);
    struct library {
        std::map<std::string, void*> exports;
    };
    /// Path of the running program; empty makes the question fail.
    std::u16string module_path;
    /// What loads, by the exact text of the path. The address of an entry is its handle.
    std::map<std::u16string, library> libraries;
    std::uint32_t load_error = platform::error_mod_not_found;
    /// What "kernel32.dll" and "kernel32" are handles of. It exports what the system's module does; a
    /// test takes entries away and puts others in.
    library system_module;

    /// `entry_point` may be any function of the test, usually a `dll_get_class_object`.
    void add_library(std::u16string_view path, const char* export_name, void* entry_point);

    std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept override;
    void* load_library(const char16_t* path) noexcept override;
    void* find_export(void* library, const char* name) noexcept override;
    /// The system's module, or what `libraries` has under that name.
    void* module_handle(const char16_t* name) noexcept override;
    std::u16string load_failure() override { return m_failure; }

private:
    call_log& m_log;
    std::u16string m_failure;
};

/// Lines: `GetSystemInfo`, `GetWindowsDirectoryW`, `GetSystemDirectoryW`.
struct scripted_system_information final : platform::system_information {
    explicit scripted_system_information(call_log& log) noexcept : m_log(log) {}
    std::uint16_t architecture = platform::processor_architecture_intel;
    std::u16string windows = u"C:\\Windows";
    std::u16string system = u"C:\\Windows\\System32";

    void info(platform::system_info* target) noexcept override;
    std::uint32_t windows_folder(char16_t* target, std::uint32_t room) noexcept override;
    std::uint32_t system_folder(char16_t* target, std::uint32_t room) noexcept override;

private:
    call_log& m_log;
};

/// Lines: `UuidCreate`, `UuidToStringW`, `RpcStringFreeW`. A failed `UuidCreate` leaves the identifier
/// as it was.
struct scripted_unique_ids final : platform::unique_ids {
    explicit scripted_unique_ids(call_log& log) noexcept : m_log(log) {}
    ~scripted_unique_ids() override;
    /// Given out in this order; after them 00000001-…, 00000002-… and so on, zeros behind.
    std::deque<GUID> ids;
    [[nodiscard]] std::size_t texts_not_released() const noexcept { return m_alive.size(); }

    std::uint32_t create(GUID* id) noexcept override;
    std::uint32_t to_text(const GUID* id, char16_t** text) noexcept override;
    void release(char16_t** text) noexcept override;

private:
    call_log& m_log;
    std::set<char16_t*> m_alive;
    std::uint32_t m_made = 0;
};

/// Lines: `RegOpenKeyExW <path> 0x00020019`, `RegQueryValueExW <name>`, with the room in bytes behind it where
/// the script is told so, `RegCloseKey`.
struct scripted_machine_settings final : platform::machine_settings {
    explicit scripted_machine_settings(call_log& log) noexcept : m_log(log) {}
    /// Values by key path and name.
    std::map<std::u16string, std::map<std::u16string, std::u16string>> keys;
    bool tells_room = false;

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
    scripted_open_files open{log, files};
    scripted_system_information system{log};
    scripted_unique_ids ids{log};
    scripted_waits waits{log};
    scripted_transfers network{log, waits};
    scripted_clocks time{log};
    scripted_machine_settings machine{log};
    scripted_machine_settings user_keys{log};
    platform::memory_user_settings user;
    scripted_class_registry classes{log};
    scripted_runtime runtime;

private:
    platform::services made() noexcept;
    platform::scoped_services m_inUse;
};

} // namespace cw::test_support
