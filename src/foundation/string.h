// The text type of the program's own code: wide text with a small buffer, narrow and BSTR copies on
// request. Building and destroying one leaves the thread's last-error value as it was.
#pragma once

#include "automation/variant.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cw {

/// Holds the thread's last-error value over the construction or destruction of the class above it.
class last_error_keeper {
protected:
    last_error_keeper() noexcept;
    void keep() noexcept;
    void restore() const noexcept;

private:
    std::uint32_t m_saved;
};

class string : private virtual last_error_keeper {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    string();
    /// Null counts as the empty text.
    string(const char16_t* text);
    string(const char16_t* text, std::size_t count);
    string(std::u16string_view text);
    string(const string& other);
    /// The run of `other` from `start`; it ends at the end of `other` where `count` is too large.
    /// Throws std::out_of_range for a start beyond the length.
    string(const string& other, std::size_t start, std::size_t count);
    /// From the system's code page. The count of characters, not of bytes, bounds what is taken.
    explicit string(const char* narrow_text);
    /// `count` zero characters: a writable area.
    explicit string(std::size_t count);
    ~string();

    string& operator=(const string& other);
    string& operator=(const char16_t* text);

    string& assign(const char16_t* text, std::size_t count);
    string& append(const char16_t* text, std::size_t count);
    string& append(std::size_t count, char16_t character);
    string& append(std::u16string_view text) { return append(text.data(), text.size()); }
    string& operator+=(std::u16string_view text) { return append(text.data(), text.size()); }
    /// Throws std::out_of_range for a position beyond the length; `count` is clamped.
    string& erase(std::size_t position, std::size_t count = npos);
    string& replace(std::size_t position, std::size_t count, const char16_t* text, std::size_t text_count);
    void swap(string& other) noexcept;

    [[nodiscard]] std::size_t find(const char16_t* pattern, std::size_t start, std::size_t count) const noexcept;
    [[nodiscard]] std::size_t find(std::u16string_view pattern, std::size_t start = 0) const noexcept
    {
        return find(pattern.data(), start, pattern.size());
    }
    [[nodiscard]] std::size_t rfind(char16_t character) const noexcept;
    [[nodiscard]] string substr(std::size_t start, std::size_t count = npos) const;

    [[nodiscard]] const char16_t* c_str() const noexcept;
    [[nodiscard]] char16_t* data() noexcept;
    [[nodiscard]] std::size_t length() const noexcept { return m_length; }
    [[nodiscard]] std::size_t capacity() const noexcept { return m_capacity; }
    [[nodiscard]] bool empty() const noexcept { return m_length == 0; }
    [[nodiscard]] char16_t operator[](std::size_t index) const noexcept { return c_str()[index]; }
    [[nodiscard]] std::u16string_view view() const noexcept { return {c_str(), m_length}; }
    operator std::u16string_view() const noexcept { return view(); }

    /// A zero-terminated copy in the thread's code page, valid until the next call on this string or
    /// its end.
    [[nodiscard]] const char* narrow();
    [[nodiscard]] std::size_t narrow_capacity_in_bytes() const noexcept { return m_narrowCapacity; }
    /// The address of a BSTR copy, refreshed from the text; the string owns it. An empty text has a
    /// null BSTR.
    [[nodiscard]] BSTR* bstr();

    /// Replaces the text with what the wide printf family makes of the format; `%s` takes wide text.
    string& format(const char16_t* format_text, ...);
    /// Replaces the text with a string resource; false and an empty text where there is none.
    bool load(std::uint32_t id);
    /// Writes the text with its terminator in a code page; the bytes written, or needed where
    /// `size_in_bytes` is 0; 0 on failure, the last error telling why. For 1200 and 1201 a text that
    /// does not fit is cut, the target then being full and without a terminator.
    std::size_t to_bytes(char* target, std::size_t size_in_bytes, std::uint32_t code_page) const;
    /// Replaces the text from `length` bytes of a code page (-1: up to the terminator); the number of
    /// wide characters. Where a narrow code page gives none, the old text stays and 0 is answered.
    std::size_t assign_bytes(const char* source, std::ptrdiff_t length, std::uint32_t code_page);
    /// Joins with exactly one separator at the seam.
    string& append_separated(string other, char16_t separator);
    [[nodiscard]] bool equals_no_case(const string& other) const;
    [[nodiscard]] bool equals_no_case(const char16_t* other) const;
    [[nodiscard]] bool equals_no_case(const char* other) const;
    [[nodiscard]] std::size_t find_no_case(std::size_t start, const char16_t* pattern, std::size_t count) const;

    class buffer_scope;

    friend bool operator==(const string& a, const string& b) noexcept { return a.view() == b.view(); }
    friend bool operator==(const string& a, const char16_t* b) noexcept { return a.view() == b; }
    friend bool operator==(const string& a, std::u16string_view b) noexcept { return a.view() == b; }
    friend string operator+(const string& a, const string& b);
    friend string operator+(const string& a, const char16_t* b);
    friend string operator+(const char16_t* a, const string& b);

private:
    static constexpr std::size_t small_capacity = 7;
    [[nodiscard]] bool is_small() const noexcept { return m_capacity == small_capacity; }
    void initialise(const char16_t* text, std::size_t count);
    void grow(std::size_t needed);
    void erase_text(std::size_t position, std::size_t count);
    string& replace_text(std::size_t position, std::size_t count, const char16_t* text, std::size_t text_count);

    union {
        char16_t m_small[small_capacity + 1];
        char16_t* m_large;
    };
    std::uint64_t m_length = 0;
    std::uint64_t m_capacity = small_capacity;
    char* m_narrow = nullptr;
    std::uint64_t m_narrowCapacity = 0;
    BSTR m_bstr = nullptr;
};

/// Lets a system function fill a string: on its end the string takes its text back from the BSTR
/// copy, from a narrow buffer, or both, up to the first zero.
class string::buffer_scope {
public:
    explicit buffer_scope(string& target, bool take_bstr = false, const char* narrow = nullptr) noexcept;
    /// Taking the text back may need memory: std::bad_alloc where there is none.
    ~buffer_scope() noexcept(false);
    buffer_scope(const buffer_scope&) = delete;
    buffer_scope& operator=(const buffer_scope&) = delete;

    void take_from_bstr() noexcept { m_takeBstr = true; }
    void take_from(const char* narrow) noexcept { m_narrow = narrow; }

private:
    string& m_target;
    bool m_takeBstr;
    const char* m_narrow;
};

/// Plain decimal with a leading minus sign.
[[nodiscard]] string to_text(std::int32_t value);
/// The text of a value; empty where it has none.
[[nodiscard]] string to_text(const VARIANT& value);
/// Whether a text is anything but a single backslash; the empty text is.
[[nodiscard]] bool is_other_than_backslash(const string& text) noexcept;
/// Joins two paths with the separator of the first: '/' for a native path, otherwise a backslash.
[[nodiscard]] string combine_path(const string& first, const string& second);

} // namespace cw
