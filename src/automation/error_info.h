// The error object of a thread: what a failing call tells beside its result code.
#pragma once

#include "automation/bstr.h"
#include "automation/unknown.h"

struct IErrorInfo : IUnknown {
    virtual HRESULT GetGUID(GUID* guid) noexcept = 0;
    virtual HRESULT GetSource(BSTR* source) noexcept = 0;
    virtual HRESULT GetDescription(BSTR* description) noexcept = 0;
    virtual HRESULT GetHelpFile(BSTR* help_file) noexcept = 0;
    virtual HRESULT GetHelpContext(DWORD* help_context) noexcept = 0;

protected:
    ~IErrorInfo() = default;
};

struct ICreateErrorInfo : IUnknown {
    virtual HRESULT SetGUID(REFGUID guid) noexcept = 0;
    virtual HRESULT SetSource(const WCHAR* source) noexcept = 0;
    virtual HRESULT SetDescription(const WCHAR* description) noexcept = 0;
    virtual HRESULT SetHelpFile(const WCHAR* help_file) noexcept = 0;
    virtual HRESULT SetHelpContext(DWORD help_context) noexcept = 0;

protected:
    ~ICreateErrorInfo() = default;
};

struct ISupportErrorInfo : IUnknown {
    /// S_OK where failures of the interface `iid` leave an error object on the thread.
    virtual HRESULT InterfaceSupportsErrorInfo(REFIID iid) noexcept = 0;

protected:
    ~ISupportErrorInfo() = default;
};

inline constexpr IID IID_IErrorInfo = cw::automation::guid_from_literal("1CF2B120-547D-101B-8E65-08002B2BD119");
inline constexpr IID IID_ICreateErrorInfo = cw::automation::guid_from_literal("22F03340-547D-101B-8E65-08002B2BD119");
inline constexpr IID IID_ISupportErrorInfo = cw::automation::guid_from_literal("DF0B3D60-548F-101B-8E65-08002B2BD119");

extern "C" {

/// Hands the thread's error object to the caller and leaves the thread without one. S_FALSE and
/// null where there is none. One object a thread, shared by all modules of the process.
CW_AUTOMATION_API HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info) noexcept;
/// Makes `info` the thread's error object, or clears it with null.
CW_AUTOMATION_API HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info) noexcept;
/// A new, empty error object; it answers to both interfaces.
CW_AUTOMATION_API HRESULT CreateErrorInfo(ICreateErrorInfo** info) noexcept;
}

namespace cw::automation {

/// Leaves an error object with these texts on the thread and answers `result`. For the failing
/// members of readers.
CW_AUTOMATION_API HRESULT set_error(HRESULT result, std::u16string_view description, std::u16string_view source,
                                    REFGUID guid = GUID_NULL) noexcept;

} // namespace cw::automation
