// What the logic asks of an operating system, as small interfaces, and the set of them in use. The
// program runs on the POSIX side (posix_services.h); tests put scripted ones in place.
#pragma once

#include "automation/dispatch.h"

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
    /// 87 (bad argument or code page).
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
    /// Why the last `load_library` on this thread failed; empty after one that worked.
    virtual std::u16string load_failure() = 0;
};

inline constexpr std::uint32_t invalid_file_attributes = 0xFFFFFFFF;
inline constexpr std::uint32_t file_attribute_read_only = 0x1;
inline constexpr std::uint32_t file_attribute_directory = 0x10;
inline constexpr std::uint32_t file_attribute_normal = 0x80;

/// Existence of files and the process's current directory. Failing calls set the last error.
struct file_system {
    virtual ~file_system() = default;
    /// `invalid_file_attributes` where there is no such file.
    virtual std::uint32_t attributes(const char16_t* path) noexcept = 0;
    /// Code units written without the terminator; 0 on failure.
    virtual std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept = 0;
    virtual bool set_current_directory(const char16_t* path) noexcept = 0;
    /// False on failure, the last error telling why (a file that is not there: 2).
    virtual bool delete_file(const char16_t* path) noexcept = 0;
};

/// A key of the machine's settings while it is open; null for none.
using settings_key = void*;

/// Read access to the machine's settings.
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
    machine_settings* machine;
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
