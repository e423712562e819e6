// Scripted stand-ins for what the logic asks of an operating system. A test makes a
// `scripted_services`, tells it what is there, runs the logic, and reads back the calls as lines.
// Paths are plain texts, so Windows-style paths work on every system.
#pragma once

#include "platform/last_error.h"
#include "platform/memory_user_settings.h"
#include "platform/services.h"

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// The calls made so far, one UTF-8 line each: the operation's name and its arguments. Calls can be
/// told to fail by their lines.
struct call_log {
    std::vector<std::string> lines;
    void add(std::string_view operation, std::u16string_view argument = {});
    /// From now on calls fail whose line is `line`, or goes on behind it with a further argument: so
    /// "ReadFile" means every read, and "CreateDirectoryW C:\\a" the making of one folder. With `nth`
    /// only the n-th of them fails (1: the next). Holds for the calls of files, folders, identifiers,
    /// transfers, the system's folders and `GetModuleHandleW`.
    void fail(std::string_view line, std::uint32_t error_code, int nth = 0);
    /// Forgets what `fail` was told.
    void fail_nothing() noexcept { m_failures.clear(); }
    /// `add` for calls that can be told to fail: the error code of one that must.
    [[nodiscard]] std::optional<std::uint32_t> add_fallible(std::string_view operation,
                                                            std::u16string_view argument = {});
    /// The lines, and empties the log.
    [[nodiscard]] std::vector<std::string> take();
    /// How many lines begin with `operation`.
    [[nodiscard]] std::size_t count(std::string_view operation) const;

private:
    struct failure {
        std::string line;
        std::uint32_t error_code;
        int nth;
        int seen = 0;
    };
    std::vector<failure> m_failures;
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

/// Lines: `GetFileAttributesW <path>`, `GetCurrentDirectoryW`, `SetCurrentDirectoryW <path>`,
/// `DeleteFileW <path>`, `CreateDirectoryW <path>`, `FindFirstFileW <path>`, `FindClose`, `GetTempPathW`,
/// `GetTempFileNameW <folder> <prefix> <number>`.
struct scripted_file_system final : platform::file_system {
    explicit scripted_file_system(call_log& log) noexcept : m_log(log) {}
    std::set<std::u16string> files;
    /// What is in the files that are not empty.
    std::map<std::u16string, std::string> contents;
    /// By the exact text; a folder that is made comes in as it was named.
    std::set<std::u16string> folders;
    /// Any text but the empty one can become the current directory.
    std::u16string directory = u"C:\\start";
    std::uint32_t missing_error = platform::error_file_not_found;
    std::u16string temp = u"C:\\Temp\\";
    /// The next one that `temp_file_name` chooses, unless that name is taken.
    std::uint32_t temp_number = 0xA1B2;

    void add_file(std::u16string_view path, std::string_view bytes);
    [[nodiscard]] std::size_t open_searches() const noexcept { return m_searches.size(); }

    std::uint32_t attributes(const char16_t* path) noexcept override;
    std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept override;
    bool set_current_directory(const char16_t* path) noexcept override;
    bool delete_file(const char16_t* path) noexcept override;
    bool create_folder(const char16_t* path) noexcept override;
    platform::file_handle find_first_file(const char16_t* path, platform::find_data* found) noexcept override;
    bool find_close(platform::file_handle search) noexcept override;
    std::uint32_t temp_folder(char16_t* target, std::uint32_t room) noexcept override;
    std::uint32_t temp_file_name(const char16_t* folder, const char16_t* prefix, std::uint32_t unique,
                                 char16_t* target) noexcept override;

private:
    [[nodiscard]] std::uint32_t attributes_of(std::u16string_view path) const;

    call_log& m_log;
    std::set<platform::file_handle> m_searches;
    platform::file_handle m_nextSearch = 1;
};

/// The files of a scripted file system, opened. Lines: `CreateFileW <path> 0x40000000 0x00000001 2
/// 0x00000080` (access, share mode, disposition, flags), `ReadFile <count>`, `WriteFile <count>`,
/// `SetFilePointer <distance> <high half, or null> <method>`, `GetFileSize`, `CloseHandle`. A
/// `SetFilePointer` or `GetFileSize` told to fail with 0 answers 0xFFFFFFFF all the same; a
/// `CloseHandle` told to fail leaves the file closed.
struct scripted_open_files final : platform::open_files {
    scripted_open_files(call_log& log, scripted_file_system& files) noexcept : m_log(log), m_files(files) {}
    /// Sizes of files that are longer than their contents.
    std::map<std::u16string, std::uint64_t> sizes;
    /// A read answers no more than this at once.
    std::uint32_t longest_read = 0xFFFFFFFF;
    /// What a read that is told to fail leaves in the buffer.
    std::uint32_t kept_of_failed_read = 0;
    /// What a write that is told to fail leaves in the file.
    std::uint32_t kept_of_failed_write = 0;

    [[nodiscard]] std::size_t open_handles() const noexcept { return m_handles.size(); }
    /// Of the open file, from its start.
    [[nodiscard]] std::uint64_t position(platform::file_handle file) const { return m_handles.at(file).position; }

    platform::file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                      const void* security, std::uint32_t disposition, std::uint32_t flags,
                                      platform::file_handle file_template) noexcept override;
    bool read(platform::file_handle file, void* buffer, std::uint32_t size_in_bytes,
              std::uint32_t* read_in_bytes) noexcept override;
    bool write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
               std::uint32_t* written_in_bytes) noexcept override;
    std::uint32_t seek(platform::file_handle file, std::int32_t distance, std::int32_t* distance_high,
                       std::uint32_t method) noexcept override;
    std::uint32_t size(platform::file_handle file, std::uint32_t* size_high) noexcept override;
    bool close(platform::file_handle file) noexcept override;

private:
    struct open_file {
        std::u16string path;
        std::uint32_t access;
        std::uint64_t position;
    };
    /// Null, with the last error, for what is not open.
    open_file* find(platform::file_handle file) noexcept;
    [[nodiscard]] std::uint64_t size_of(const std::u16string& path) const;

    call_log& m_log;
    scripted_file_system& m_files;
    std::map<platform::file_handle, open_file> m_handles;
    platform::file_handle m_nextHandle = 0x100;
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

/// Lines: `InternetOpenW <agent> <access type> <proxy, or null> <bypass list, or null> 0x00000000`,
/// `InternetCloseHandle`.
struct scripted_transfers final : platform::transfers {
    explicit scripted_transfers(call_log& log) noexcept : m_log(log) {}
    /// What opening a session answers; null fails with `open_error`.
    platform::transfer_handle session = nullptr;
    std::uint32_t open_error = platform::error_internet_cannot_connect;

    platform::transfer_handle open_session(const char16_t* agent, std::uint32_t access_type, const char16_t* proxy,
                                           const char16_t* proxy_bypass, std::uint32_t flags) noexcept override;
    bool close(platform::transfer_handle handle) noexcept override;

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
    scripted_open_files open{log, files};
    scripted_system_information system{log};
    scripted_unique_ids ids{log};
    scripted_transfers network{log};
    scripted_machine_settings machine{log};
    platform::memory_user_settings user;
    scripted_class_registry classes{log};
    scripted_runtime runtime;

private:
    platform::services made() noexcept;
    platform::scoped_services m_inUse;
};

} // namespace cw::test_support
