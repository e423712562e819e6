// The class library's text, for window texts and settings: it meets the program's own text type at
// single conversions.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace cw {

class CString {
public:
    CString() = default;
    CString(const char16_t* text) : m_text(text ? text : u"") {}
    CString(std::u16string_view text) : m_text(text) {}

    /// From the program's string resources; false and empty where there is none.
    bool LoadString(std::uint32_t id);
    void Empty() noexcept { m_text.clear(); }
    [[nodiscard]] bool IsEmpty() const noexcept { return m_text.empty(); }
    [[nodiscard]] int GetLength() const noexcept { return static_cast<int>(m_text.size()); }
    [[nodiscard]] const char16_t* GetString() const noexcept { return m_text.c_str(); }
    [[nodiscard]] std::u16string_view view() const noexcept { return m_text; }
    operator std::u16string_view() const noexcept { return m_text; }

    friend bool operator==(const CString& a, const CString& b) noexcept { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, std::u16string_view b) noexcept { return a.m_text == b; }
    friend bool operator==(const CString& a, const char16_t* b) noexcept { return a.m_text == b; }

private:
    std::u16string m_text;
};

} // namespace cw
