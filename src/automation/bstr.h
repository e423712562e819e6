// Length-prefixed texts that one library allocates and another frees, and a holder for them.
#pragma once

#include "automation/types.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

// Points at the first code unit; the length in bytes stands in the 32 bits before it, and a zero
// code unit follows the last. Null counts as the empty text everywhere.
using BSTR = WCHAR*;

extern "C" {

/// A copy of a zero-terminated text; null for null, or when memory is short.
CW_AUTOMATION_API BSTR SysAllocString(const WCHAR* text) noexcept;
/// A text of `length` code units, copied from `text`, or left zeroed where `text` is null.
/// Null when memory is short or the length does not fit.
CW_AUTOMATION_API BSTR SysAllocStringLen(const WCHAR* text, UINT length) noexcept;
/// Replaces `*target` with a copy of `length` code units of `text`, which may lie inside the old
/// text; a null `text` leaves the content of the common part as it is. Answers 1, or 0 when memory
/// is short, the old text then standing.
CW_AUTOMATION_API int SysReAllocStringLen(BSTR* target, const WCHAR* text, UINT length) noexcept;
/// Frees a text; null does nothing.
CW_AUTOMATION_API void SysFreeString(BSTR text) noexcept;
/// Length in code units, without the terminator; 0 for null.
CW_AUTOMATION_API UINT SysStringLen(BSTR text) noexcept;
/// Length in bytes, without the terminator; 0 for null.
CW_AUTOMATION_API UINT SysStringByteLen(BSTR text) noexcept;
}

namespace cw::automation {

/// Owns one BSTR. Moving hands it over; copying is explicit through `view`.
class bstr {
public:
    bstr() noexcept = default;
    /// Copies a text. The holder stays null when memory is short.
    explicit bstr(std::u16string_view text) noexcept
        : m_text(SysAllocStringLen(text.data() ? text.data() : u"",
                                   static_cast<UINT>(std::min<std::size_t>(text.size(), UINT32_MAX))))
    {
    }
    bstr(bstr&& other) noexcept : m_text(other.detach()) {}
    bstr& operator=(bstr&& other) noexcept
    {
        if (this != &other)
            attach(other.detach());
        return *this;
    }
    bstr(const bstr&) = delete;
    bstr& operator=(const bstr&) = delete;
    ~bstr() { SysFreeString(m_text); }

    /// Takes over `text`, which the holder frees from now on.
    void attach(BSTR text) noexcept
    {
        SysFreeString(m_text);
        m_text = text;
    }
    /// Gives the text to the caller, who frees it.
    [[nodiscard]] BSTR detach() noexcept { return std::exchange(m_text, nullptr); }
    /// The address for a function that stores a new text; frees the one held.
    [[nodiscard]] BSTR* put() noexcept
    {
        attach(nullptr);
        return &m_text;
    }
    [[nodiscard]] BSTR get() const noexcept { return m_text; }
    /// All code units, embedded zeros included; empty for null. Valid while the holder keeps the text.
    [[nodiscard]] std::u16string_view view() const noexcept { return {m_text ? m_text : u"", SysStringLen(m_text)}; }

private:
    BSTR m_text = nullptr;
};

} // namespace cw::automation
