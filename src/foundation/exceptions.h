// The exception family: system errors of files and network, errors of COM calls, and what stands
// for the framework's own exceptions.
#pragma once

#include "automation/error_info.h"
#include "foundation/string.h"

#include <atomic>
#include <cstdint>
#include <exception>

namespace cw {

/// A system error, its text fetched when it is asked for. `what` points at WIDE text: cast it back.
class win32_exception : public std::exception {
public:
    win32_exception();
    explicit win32_exception(std::uint32_t error_code);
    win32_exception(const win32_exception& other) noexcept;
    win32_exception& operator=(const win32_exception&) = delete;
    ~win32_exception() override;
    const char* what() const noexcept override;

    std::uint32_t code;

private:
    mutable char16_t* text = nullptr;
    mutable bool text_formed = false;
    std::atomic<std::uint32_t>* shared_count;
};

class file_exception : public virtual win32_exception {
public:
    explicit file_exception(const string& file_path);
    file_exception(const string& file_path, std::uint32_t error_code);
    ~file_exception() override;

    string path;
};

class internet_exception : public virtual win32_exception {
public:
    ~internet_exception() override;
};

class internet_file_exception : public internet_exception, public file_exception {
public:
    explicit internet_file_exception(const string& file_path);
    ~internet_file_exception() override;
};

} // namespace cw

/// A COM error with what the thread's error object told.
class com_exception : public std::exception {
public:
    explicit com_exception(HRESULT result);
    com_exception(const com_exception&) = default;
    ~com_exception() override;
    /// Narrow text of the description, in the thread's code page.
    const char* what() const noexcept override;

    HRESULT hresult;
    GUID error_guid{};
    GUID source_clsid{};
    mutable cw::string description;
    cw::string source;
};

/// What every failed call into a reader library raises.
class _com_error {
public:
    _com_error(HRESULT result, IErrorInfo* error_info) noexcept;
    _com_error(const _com_error&) noexcept = default;

    [[nodiscard]] HRESULT Error() const noexcept { return m_result; }
    /// Null where the call left no error object. Borrowed.
    [[nodiscard]] IErrorInfo* ErrorInfo() const noexcept { return m_info.get(); }
    /// The error object's description, empty without one.
    [[nodiscard]] cw::string Description() const;

private:
    HRESULT m_result;
    cw::automation::com_ptr<IErrorInfo> m_info;
};

namespace cw {

class safe_array_exception : public com_exception {
public:
    safe_array_exception();
    ~safe_array_exception() override;
};

// What stands for the class library's exceptions.
class framework_exception : public std::exception {};
class memory_exception : public framework_exception {
public:
    const char* what() const noexcept override;
};
class invalid_argument_exception : public framework_exception {
public:
    const char* what() const noexcept override;
};
class ole_exception : public framework_exception {
public:
    explicit ole_exception(HRESULT result) noexcept : hresult(result) {}
    const char* what() const noexcept override;
    HRESULT hresult;
};

using com_error_handler = void (*)(HRESULT result, IErrorInfo* info);
/// Replaces what `raise_com_error` does; answers the old handler. Null restores the default.
com_error_handler set_com_error_handler(com_error_handler handler) noexcept;

[[noreturn]] void raise_com_error(HRESULT result, IErrorInfo* info = nullptr);
/// Raises with the thread's error object where `object` says that it supports one for `iid`.
[[noreturn]] void raise_com_error_for(HRESULT result, IUnknown* object, REFIID iid);
/// Memory exception for E_OUTOFMEMORY, OLE exception for anything else.
[[noreturn]] void raise_framework_error(HRESULT result);

/// One line that names an exception in flight for the terminal: its kind, code and description.
[[nodiscard]] string describe_exception(std::exception_ptr exception);

} // namespace cw
