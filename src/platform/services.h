// What the logic asks of an operating system, as small interfaces, and the set of them in use. The
// program runs on the POSIX side (posix_services.h); tests put scripted ones in place.
#pragma once

#include "automation/dispatch.h"
#include "platform/clocks.h"
#include "platform/thread_waits.h"
#include "platform/transfers.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cw::platform {

/// Memory of texts: the BSTR allocator and the plain byte allocator.
struct text_memory {
    virtual ~text_memory() = default;
    virtual BSTR allocate(const char16_t* text, UINT length) noexcept = 0;
    virtual int reallocate(BSTR* target, const char16_t* text, UINT length) noexcept = 0;
    virtual void release(BSTR text) noexcept = 0;
    virtual char* allocate_bytes(std::size_t size_in_bytes) noexcept = 0;
    virtual void release_bytes(char* bytes) noexcept = 0;
};

/// Conversion between wide text and bytes of a code page. 0 is the system's, 3 the thread's: both
/// the narrow encoding of the user's locale (UTF-8 where the locale names none).
struct code_pages {
    virtual ~code_pages() = default;
    /// Converts `length` code units (-1: up to and with the terminator). Answers the bytes written,
    /// or needed where `room_in_bytes` is 0; 0 on failure, the last error being 122 (room too small),
    /// 87 (bad argument or code page), 534 (too long to be converted).
    virtual int to_narrow(std::uint32_t code_page, const char16_t* text, int length, char* target,
                          int room_in_bytes) noexcept = 0;
    /// The reverse, `length` in bytes, the answer in code units. Bytes that form no character become
    /// U+FFFD.
    virtual int to_wide(std::uint32_t code_page, const char* bytes, int length, char16_t* target,
                        int room_in_code_units) noexcept = 0;
    /// Characters of a zero-terminated narrow text in the system's code page, each multi-byte
    /// character counted once.
    virtual std::size_t character_count(const char* bytes) noexcept = 0;
};

/// Case and order of texts.
struct text_rules {
    virtual ~text_rules() = default;
    virtual char16_t to_upper(char16_t code_unit) noexcept = 0;
    /// The folding of `compare_no_case`.
    virtual char16_t to_lower(char16_t code_unit) noexcept = 0;
    /// Compares up to `count` code units, each folded by itself, stopping behind a common
    /// terminator: negative, 0, positive.
    virtual int compare_no_case(const char16_t* a, const char16_t* b, std::size_t count) noexcept = 0;
    /// The user's dictionary order, case ignored, as a key whose bytes compare like the texts.
    virtual std::string sort_key(std::u16string_view text) = 0;
};

/// Texts of system error codes.
struct system_messages {
    virtual ~system_messages() = default;
    /// A new zero-terminated text that `release` frees; null where the code has none.
    virtual char16_t* format_message(std::uint32_t code) noexcept = 0;
    virtual void release(char16_t* text) noexcept = 0;
};

/// Loading of shared libraries. Handles are never closed.
struct loader {
    virtual ~loader() = default;
    /// The full path of the running program; answers the code units written without the terminator,
    /// cut to `room`, or 0 on failure.
    virtual std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept = 0;
    /// Null on failure, the last error telling why. A file that is no complete shared object is
    /// refused before the system's loader maps it. `load_failure` has a text for people.
    virtual void* load_library(const char16_t* path) noexcept = 0;
    virtual void* find_export(void* library, const char* name) noexcept = 0;
    /// A module that is loaded already, by its name; null where there is none. The system's own module
    /// is "kernel32.dll" (system_module.h).
    virtual void* module_handle(const char16_t* name) noexcept = 0;
    /// Why the last `load_library` on this thread failed; empty after one that worked.
    virtual std::u16string load_failure() = 0;
};

inline constexpr std::uint32_t invalid_file_attributes = 0xFFFFFFFF;
inline constexpr std::uint32_t file_attribute_read_only = 0x1;
inline constexpr std::uint32_t file_attribute_directory = 0x10;
inline constexpr std::uint32_t file_attribute_normal = 0x80;

/// Something that the system holds open for the process.
using file_handle = std::intptr_t;
inline constexpr file_handle invalid_file_handle = -1;

/// Room for a path in calls that fill a buffer, with the terminator.
inline constexpr std::uint32_t path_room = 260;

/// What a search by name tells of the entry that it found. The names are wide, or narrow ones in the
/// system's code page (system_module.h).
template <class Character>
struct basic_find_data {
    std::uint32_t attributes = 0;
    std::uint64_t creation_time = 0; // in 100 ns since 1601-01-01 UTC, as are the other two
    std::uint64_t last_access_time = 0;
    std::uint64_t last_write_time = 0;
    std::uint32_t size_high = 0;
    std::uint32_t size_low = 0;
    std::uint32_t reserved0 = 0;
    std::uint32_t reserved1 = 0;
    Character file_name[path_room] = {};
    Character alternate_name[14] = {};
};
using find_data = basic_find_data<char16_t>;

/// Names of files and folders, and the process's current directory. Failing calls set the last error.
struct file_system {
    virtual ~file_system() = default;
    /// Those of what a link leads to, or of the link where that is nothing. `invalid_file_attributes` where
    /// there is no such file.
    virtual std::uint32_t attributes(const char16_t* path) noexcept = 0;
    /// Code units written without the terminator; 0 on failure.
    virtual std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept = 0;
    virtual bool set_current_directory(const char16_t* path) noexcept = 0;
    /// False on failure, the last error telling why (a file that is not there: 2; one that is read-only
    /// to the user, and what is no file: 5).
    virtual bool delete_file(const char16_t* path) noexcept = 0;
    /// Makes one folder; what is above it must be there. A name that is taken: 183.
    virtual bool create_folder(const char16_t* path) noexcept = 0;
    /// Looks an entry up in the folder above it, which may work where the entry itself is out of
    /// reach. `invalid_file_handle` where there is none; else a handle for `find_close`.
    virtual file_handle find_first_file(const char16_t* path, find_data* found) noexcept = 0;
    virtual bool find_close(file_handle search) noexcept = 0;
    /// The user's folder for temporary files, with a separator at its end, whether or not it is
    /// there. Code units written without the terminator; 0 on failure.
    virtual std::uint32_t temp_folder(char16_t* target, std::uint32_t room) noexcept = 0;
    /// Writes `folder` joined with the prefix, a number in hexadecimal and ".tmp" to `target` of
    /// `path_room` code units. For `unique` 0 the number is chosen so that no such file is there, and
    /// an empty file of that name is made; for any other number the name is just formed. Answers the
    /// number, or 0 on failure; the name is written even where the file cannot be made, unless it
    /// does not fit.
    virtual std::uint32_t temp_file_name(const char16_t* folder, const char16_t* prefix, std::uint32_t unique,
                                         char16_t* target) noexcept = 0;
};

inline constexpr std::uint32_t generic_read = 0x80000000;
inline constexpr std::uint32_t generic_write = 0x40000000;
inline constexpr std::uint32_t file_share_none = 0;
inline constexpr std::uint32_t file_share_read = 1;
inline constexpr std::uint32_t create_new = 1;
inline constexpr std::uint32_t create_always = 2;
inline constexpr std::uint32_t open_existing = 3;
inline constexpr std::uint32_t open_always = 4;
inline constexpr std::uint32_t truncate_existing = 5;
inline constexpr std::uint32_t seek_begin = 0;
inline constexpr std::uint32_t seek_current = 1;
inline constexpr std::uint32_t seek_end = 2;
/// What `seek` and `size` answer on failure, and for true values that look the same; the last error,
/// 0 or not, tells them apart.
inline constexpr std::uint32_t invalid_file_position = 0xFFFFFFFF;

/// Files while they are open. Failing calls set the last error.
struct open_files {
    virtual ~open_files() = default;
    /// Opens or makes a file by one of the dispositions above. `invalid_file_handle` on failure.
    virtual file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                    const void* security, std::uint32_t disposition, std::uint32_t flags,
                                    file_handle file_template) noexcept = 0;
    virtual bool read(file_handle file, void* buffer, std::uint32_t size_in_bytes,
                      std::uint32_t* read_in_bytes) noexcept = 0;
    /// Writes everything or fails; `*written_in_bytes` is what reached the file.
    virtual bool write(file_handle file, const void* bytes, std::uint32_t size_in_bytes,
                       std::uint32_t* written_in_bytes) noexcept = 0;
    /// Moves the position by a distance whose high half is `*distance_high` (null: `distance` is
    /// signed and alone); answers the new position, its high half in `*distance_high`. What has no
    /// position, such as a pipe, can be moved to its start, which does nothing.
    virtual std::uint32_t seek(file_handle file, std::int32_t distance, std::int32_t* distance_high,
                               std::uint32_t method) noexcept = 0;
    /// The size, its high half in `*size_high` unless that is null.
    virtual std::uint32_t size(file_handle file, std::uint32_t* size_high) noexcept = 0;
    virtual bool close(file_handle file) noexcept = 0;
};

inline constexpr std::uint16_t processor_architecture_intel = 0;
inline constexpr std::uint16_t processor_architecture_ia64 = 6;
inline constexpr std::uint16_t processor_architecture_amd64 = 9;
inline constexpr std::uint16_t processor_architecture_unknown = 0xFFFF;

struct system_info {
    std::uint16_t processor_architecture = processor_architecture_unknown;
};

/// The machine and the folders of its system.
struct system_information {
    virtual ~system_information() = default;
    /// The machine as the process sees it.
    virtual void info(system_info* target) noexcept = 0;
    // Code units written without the terminator; 0 on failure, the last error telling why.
    virtual std::uint32_t windows_folder(char16_t* target, std::uint32_t room) noexcept = 0;
    virtual std::uint32_t system_folder(char16_t* target, std::uint32_t room) noexcept = 0;
};

/// Identifiers that are never given twice.
struct unique_ids {
    virtual ~unique_ids() = default;
    /// 0 or an error code.
    virtual std::uint32_t create(GUID* id) noexcept = 0;
    /// A new zero-terminated text, 36 characters in lower case, that `release` frees; 0 or an error code.
    virtual std::uint32_t to_text(const GUID* id, char16_t** text) noexcept = 0;
    virtual void release(char16_t** text) noexcept = 0;
};

/// A key of settings while it is open; null for none.
using settings_key = void*;

/// Read access to settings by keys: the machine's, and the person's own of the same form.
struct machine_settings {
    virtual ~machine_settings() = default;
    /// 0 or an error code.
    virtual std::uint32_t open_key(const char16_t* path, std::uint32_t access, settings_key* key) noexcept = 0;
    /// Writes a text value with its terminator where `*size_in_bytes` allows; 0 or an error code.
    virtual std::uint32_t query_value(settings_key key, const char16_t* name, char16_t* target,
                                      std::uint32_t* size_in_bytes) noexcept = 0;
    virtual void close_key(settings_key key) noexcept = 0;
};

/// The user's settings: numbers and texts by section and entry.
struct user_settings {
    virtual ~user_settings() = default;
    virtual int read_number(std::u16string_view section, std::u16string_view entry, int default_value) = 0;
    virtual void write_number(std::u16string_view section, std::u16string_view entry, int value) = 0;
    virtual std::u16string read_text(std::u16string_view section, std::u16string_view entry,
                                     std::u16string_view default_value) = 0;
    virtual void write_text(std::u16string_view section, std::u16string_view entry, std::u16string_view value) = 0;
    virtual void remove(std::u16string_view section, std::u16string_view entry) = 0;
};

/// Classes that are registered on the machine.
struct class_registry {
    virtual ~class_registry() = default;
    virtual HRESULT class_id_from_program_id(const char16_t* program_id, CLSID* class_id) noexcept = 0;
    virtual HRESULT create_instance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid,
                                    void** object) noexcept = 0;
};

/// What becomes of a call that breaks the contract of a runtime function.
struct runtime_contract {
    virtual ~runtime_contract() = default;
    /// A function was given what it cannot do, such as a buffer that is too small for its result. The
    /// program ends here; a stand-in may return.
    virtual void invalid_parameter() noexcept = 0;
};

/// The set in use. No member is null.
struct services {
    text_memory* memory;
    code_pages* pages;
    text_rules* rules;
    system_messages* messages;
    cw::platform::loader* libraries;
    file_system* files;
    open_files* open;
    system_information* system;
    unique_ids* ids;
    cw::platform::transfers* network;
    thread_waits* waits;
    clocks* time;
    machine_settings* machine;
    machine_settings* user_keys;
    user_settings* user;
    class_registry* classes;
    runtime_contract* runtime;
};

/// The set in use; the POSIX side until a program or a test says otherwise.
[[nodiscard]] services& current() noexcept;

/// Puts another set in place for its own lifetime. Tests copy `current()`, replace a member and
/// install the copy.
class scoped_services {
public:
    explicit scoped_services(const services& replacement) noexcept;
    ~scoped_services();
    scoped_services(const scoped_services&) = delete;
    scoped_services& operator=(const scoped_services&) = delete;

private:
    services m_before;
};

} // namespace cw::platform
