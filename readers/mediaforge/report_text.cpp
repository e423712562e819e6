#include "readers/mediaforge/report_text.h"

#include "automation/date.h"
#include "automation/dispatch_object.h"
#include "readers/storage/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <new>

namespace cw::mediaforge {
namespace {

constexpr std::size_t smallest_capacity_in_code_units = 4096;
constexpr std::size_t smallest_gap = 2;
// The longest decimal form of any number.
constexpr std::size_t longest_number = 32;
constexpr std::u16string_view line_end = u"\r\n";
constexpr char16_t ellipsis = u'…';

struct shown_range {
    char32_t first, last;
    char32_t shown; // in place of the first
    bool in_order;  // the others by what follows, or all by the same
};
/// Characters that end a line, turn its direction or are not seen at all, and what is shown for them.
/// Joiners and variation selectors are what emoji and some scripts are written with, and stay.
constexpr auto shown_ranges = std::to_array<shown_range>({
    {0x00, 0x1F, 0x2400, true},
    {0x7F, 0x7F, 0x2421, false},
    {0x80, 0x84, 0xFFFD, false},
    {0x85, 0x85, 0x2424, false},
    {0x86, 0x9F, 0xFFFD, false},
    {0xAD, 0xAD, 0xFFFD, false},
    {0x61C, 0x61C, 0xFFFD, false},
    {0x200B, 0x200B, 0xFFFD, false},
    {0x200E, 0x200F, 0xFFFD, false},
    {0x2028, 0x2029, 0x2424, false},
    {0x202A, 0x202E, 0xFFFD, false},
    {0x2060, 0x206F, 0xFFFD, false},
    {0xFEFF, 0xFEFF, 0xFFFD, false},
    {0xE0000, 0xE007F, 0xFFFD, false},
});
static_assert(std::ranges::is_sorted(shown_ranges, {}, &shown_range::first));

char32_t shown_as(char32_t point) noexcept
{
    const auto found =
        std::ranges::find_if(shown_ranges, [&](const shown_range& range) { return point <= range.last; });
    if (found == shown_ranges.end() || point < found->first)
        return point;
    return found->in_order ? found->shown + (point - found->first) : found->shown;
}

struct width_range {
    char32_t first, last;
    std::size_t width;
};
/// Characters that are not as wide as a letter: marks on the one before, and what is twice as wide.
constexpr auto width_ranges = std::to_array<width_range>({
    {0x0300, 0x036F, 0},
    {0x1100, 0x115F, 2},
    {0x200C, 0x200D, 0},
    {0x2E80, 0xA4CF, 2},
    {0xAC00, 0xD7A3, 2},
    {0xF900, 0xFAFF, 2},
    {0xFE00, 0xFE0F, 0},
    {0xFE30, 0xFE6F, 2},
    {0xFF00, 0xFF60, 2},
    {0xFFE0, 0xFFE6, 2},
    {0x1F300, 0x1FAFF, 2},
    {0x20000, 0x3FFFD, 2},
    {0xE0100, 0xE01EF, 0},
});

std::size_t width_of(char32_t point) noexcept
{
    if (point < width_ranges.front().first)
        return 1;
    const auto found =
        std::ranges::find_if(width_ranges, [&](const width_range& range) { return point <= range.last; });
    return found != width_ranges.end() && point >= found->first ? found->width : 1;
}

constexpr bool is_plain(char c) noexcept
{
    return c >= 0x20 && c < 0x7F;
}

constexpr char16_t hexadecimal_digit(unsigned value, bool upper) noexcept
{
    return static_cast<char16_t>(value < 10 ? u'0' + value : (upper ? u'A' : u'a') + (value - 10));
}

/// Writes a number of a fixed count of digits.
char16_t* put_digits(char16_t* at, unsigned value, unsigned digits) noexcept
{
    for (unsigned i = digits; i-- > 0; value /= 10)
        at[i] = static_cast<char16_t>(u'0' + value % 10);
    return at + digits;
}

} // namespace

void report_text::grow(std::size_t units)
{
    if (units > m_longest - m_size)
        throw automation::automation_error(E_OUTOFMEMORY, u"the report is longer than a text can be");
    const std::size_t wanted =
        std::min(std::max({m_size + units, m_capacity * 2, smallest_capacity_in_code_units}), m_longest);
    auto* larger = static_cast<char16_t*>(std::realloc(m_buffer.get(), wanted * sizeof(char16_t)));
    if (!larger)
        throw std::bad_alloc();
    (void)m_buffer.release(); // given up to the larger one
    m_buffer.reset(larger);
    m_capacity = wanted;
}

inline char16_t* report_text::room_for(std::size_t units)
{
    if (units > m_capacity - m_size)
        grow(units);
    return m_buffer.get() + m_size;
}

void report_text::add(std::u16string_view words)
{
    std::copy(words.begin(), words.end(), room_for(words.size()));
    m_size += words.size();
}

void report_text::add_blanks(std::size_t count)
{
    std::fill_n(room_for(count), count, u' ');
    m_size += count;
}

void report_text::add_shown(std::string_view text, std::size_t longest)
{
    // No character takes more units than it has bytes, nor more than two.
    char16_t* at = room_for(text.size() <= longest ? text.size() : std::min(text.size(), 2 * longest + 1));
    char16_t* const begin = at;
    for (std::size_t count = 0; !text.empty(); ++count) {
        if (count == longest) {
            *at++ = ellipsis;
            break;
        }
        if (is_plain(text.front())) {
            *at++ = static_cast<char16_t>(text.front());
            text.remove_prefix(1);
            continue;
        }
        const storage::decoded_code_point point = storage::decode_utf8(text);
        const char32_t shown = point.valid ? shown_as(point.value) : 0xFFFD;
        if (shown >= 0x10000) {
            *at++ = static_cast<char16_t>(0xD800 + ((shown - 0x10000) >> 10));
            *at++ = static_cast<char16_t>(0xDC00 + ((shown - 0x10000) & 0x3FF));
        } else {
            *at++ = static_cast<char16_t>(shown);
        }
        text.remove_prefix(point.length);
    }
    m_size += static_cast<std::size_t>(at - begin);
}

void report_text::add_ascii(const char* begin, const char* end)
{
    const auto length = static_cast<std::size_t>(end - begin);
    std::copy(begin, end, room_for(length));
    m_size += length;
}

void report_text::add_number(std::int64_t value)
{
    std::array<char, longest_number> digits;
    add_ascii(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void report_text::add_number(std::uint64_t value)
{
    std::array<char, longest_number> digits;
    add_ascii(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void report_text::add_right(std::int64_t value, std::size_t width)
{
    std::array<char, longest_number> digits;
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    const auto length = static_cast<std::size_t>(end - digits.data());
    if (length < width)
        add_blanks(width - length);
    add_ascii(digits.data(), end);
}

void report_text::add_flags(std::uint32_t value)
{
    add(u"0x");
    constexpr unsigned digits = 8;
    char16_t* at = room_for(digits);
    for (unsigned i = 0; i < digits; ++i)
        at[i] = hexadecimal_digit(value >> (digits - 1 - i) * 4 & 0xF, true);
    m_size += digits;
}

void report_text::add_real(double value)
{
    std::array<char, longest_number> digits;
    add_ascii(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void report_text::add_real(float value)
{
    std::array<char, longest_number> digits;
    add_ascii(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
}

void report_text::add_bytes(formats::byte_view data)
{
    char16_t* at = room_for(data.size() * 2);
    for (const std::uint8_t byte : data) {
        *at++ = hexadecimal_digit(byte >> 4, false);
        *at++ = hexadecimal_digit(byte & 0xF, false);
    }
    m_size += data.size() * 2;
}

bool report_text::add_date(double date)
{
    SYSTEMTIME time;
    if (!VariantTimeToSystemTime(date, &time))
        return false;
    struct field {
        unsigned value, digits;
        char16_t before;
    };
    const field fields[] = {{time.wYear, 4, 0},    {time.wMonth, 2, u'-'},  {time.wDay, 2, u'-'},
                            {time.wHour, 2, u' '}, {time.wMinute, 2, u':'}, {time.wSecond, 2, u':'}};
    constexpr std::size_t length = std::u16string_view(u"2026-11-20 13:45:02").size();
    char16_t* at = room_for(length);
    for (const field& part : fields) {
        if (part.before)
            *at++ = part.before;
        at = put_digits(at, part.value, part.digits);
    }
    m_size += length;
    return true;
}

std::size_t report_text::width_from(std::size_t begin) const noexcept
{
    const std::u16string_view line(m_buffer.get() + begin, m_size - begin);
    char16_t all = 0;
    for (const char16_t unit : line)
        all = static_cast<char16_t>(all | unit);
    if (all < 0x80)
        return line.size();
    std::size_t width = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char32_t point = line[i];
        if ((point & 0xFC00) == 0xD800 && i + 1 < line.size())
            point = 0x10000 + ((point & 0x3FF) << 10) + (line[++i] & 0x3FFu);
        width += width_of(point);
    }
    return width;
}

void report_text::pad_to(std::size_t wanted)
{
    const std::size_t reached = column();
    m_padBegin = m_size;
    add_blanks(reached + smallest_gap <= wanted ? wanted - reached : smallest_gap);
    m_padEnd = m_size;
}

void report_text::end_line()
{
    if (m_size == m_padEnd)
        m_size = m_padBegin;
    m_padBegin = m_padEnd = 0;
    add(line_end);
    m_lineStart = m_size;
}

automation::bstr report_text::to_bstr() const
{
    automation::bstr text(view());
    if (!text.get())
        throw std::bad_alloc();
    return text;
}

} // namespace cw::mediaforge
