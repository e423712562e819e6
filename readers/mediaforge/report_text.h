// The text of a report as it grows: lines that end in CR LF, in one buffer. What comes from a file is
// made visible where it could pass for the report's own layout.
#pragma once

#include "automation/bstr.h"
#include "formats/sealed.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string_view>

namespace cw::mediaforge {

/// The longest text that crosses a library boundary, in code units: its length in bytes and its
/// terminator are counted in 32 bits.
inline constexpr std::size_t longest_report_in_code_units = (UINT32_MAX - sizeof(char16_t)) / sizeof(char16_t);

class report_text {
public:
    /// What would be longer than `longest` code units throws `automation_error`, here and below;
    /// std::bad_alloc where memory is short.
    explicit report_text(std::size_t longest = longest_report_in_code_units) noexcept : m_longest(longest) {}

    /// The report's own words.
    void add(std::u16string_view words);
    void add_blanks(std::size_t count);
    /// A text of a file, UTF-8. Control characters become their pictures; what separates lines, turns
    /// their direction or is not seen does not get through either, but for what joins and varies the
    /// characters beside it. Behind `longest` characters "…" stands for the rest.
    void add_shown(std::string_view text, std::size_t longest = std::numeric_limits<std::size_t>::max());
    void add_number(std::int64_t value);
    void add_number(std::uint64_t value);
    /// A number that ends where `width` characters from here end, or as far behind as it needs.
    void add_right(std::int64_t value, std::size_t width);
    /// "0x0001F000"
    void add_flags(std::uint32_t value);
    /// The shortest decimal form that is read as the same number.
    void add_real(double value);
    void add_real(float value);
    /// Two hexadecimal digits a byte.
    void add_bytes(formats::byte_view data);
    /// "2026-11-20 13:45:02" of an automation date; false, and nothing added, where it is none.
    bool add_date(double date);
    /// How wide a text editor with letters of one width shows what was added from a size on, within a line.
    [[nodiscard]] std::size_t width_from(std::size_t begin) const noexcept;
    /// How far the line reaches.
    [[nodiscard]] std::size_t column() const noexcept { return width_from(m_lineStart); }
    /// Blanks up to `column` of the line, two at least where the line is longer already.
    void pad_to(std::size_t column);
    /// Padding that nothing followed is taken back.
    void end_line();

    [[nodiscard]] std::size_t size() const noexcept { return m_size; }
    /// Takes back all behind a size that the text had within its last line.
    void cut(std::size_t size) noexcept
    {
        m_size = size;
        m_padBegin = m_padEnd = 0;
    }
    [[nodiscard]] std::u16string_view view() const noexcept { return {m_buffer.get(), m_size}; }
    /// The text for the caller of a member.
    [[nodiscard]] automation::bstr to_bstr() const;

private:
    struct release {
        void operator()(char16_t* buffer) const noexcept { std::free(buffer); }
    };
    /// Where the next units go; there is room for as many. They count once `m_size` is raised.
    char16_t* room_for(std::size_t units);
    void grow(std::size_t units);
    void add_ascii(const char* begin, const char* end);

    std::size_t m_longest;
    // Not a string: a long text moves by remapping its pages, and nothing is zeroed before it is written.
    std::unique_ptr<char16_t, release> m_buffer;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
    std::size_t m_lineStart = 0;
    std::size_t m_padBegin = 0; // of the last padding
    std::size_t m_padEnd = 0;
};

} // namespace cw::mediaforge
