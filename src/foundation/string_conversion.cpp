// The operations of `string` that turn other things into text and text into bytes.
#include "foundation/string.h"

#include "foundation/string_table.h"
#include "foundation/wide_format.h"
#include "platform/last_error.h"
#include "platform/path_style.h"
#include "platform/services.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace cw {

namespace {

using traits = std::char_traits<char16_t>;

constexpr std::uint32_t utf16_little_endian = 1200;
constexpr std::uint32_t utf16_big_endian = 1201;

constexpr bool is_utf16(std::uint32_t code_page)
{
    return code_page == utf16_little_endian || code_page == utf16_big_endian;
}

/// Swaps each whole pair; an odd last byte stays.
void swap_pairs(char* bytes, std::size_t size_in_bytes) noexcept
{
    for (std::size_t i = 0; i + 1 < size_in_bytes; i += 2)
        std::swap(bytes[i], bytes[i + 1]);
}

/// Length of a wide text at any address, in code units.
std::size_t unaligned_length(const char* source) noexcept
{
    std::size_t count = 0;
    for (char16_t character = 0;; ++count) {
        std::memcpy(&character, source + count * sizeof(char16_t), sizeof character);
        if (character == 0)
            return count;
    }
}

/// A length for the converters, which count in an int.
int converter_length(std::size_t length)
{
    if (length > INT_MAX)
        throw std::length_error("string too long");
    return static_cast<int>(length);
}

string text_before_zero(BSTR text)
{
    return text ? string(text) : string();
}

} // namespace

string& string::format(const char16_t* format_text, ...)
{
    std::va_list arguments;
    va_start(arguments, format_text);
    const std::optional<std::u16string> formatted = format_wide(format_text, arguments);
    va_end(arguments);

    // A malformed format has the length -1, which leaves no room to write to: the text stays.
    const std::size_t room = formatted ? formatted->size() + 1 : 0;
    if (m_length < room)
        append(room - m_length, u'\0');
    const buffer_scope scope(*this, true);
    BSTR target = *bstr();
    if (room > 0)
        traits::copy(target, formatted->c_str(), room);
    return *this;
}

bool string::load(std::uint32_t id)
{
    constexpr std::size_t step = 256;
    std::size_t room = step;
    std::size_t loaded = 0;
    // A text that ends within one character of the last place before the terminator may have been cut.
    do {
        room += step;
        if (m_length < room)
            append(room - m_length, u'\0');
        const buffer_scope scope(*this, true);
        loaded = static_cast<std::size_t>(current_string_loader()(id, *bstr(), static_cast<int>(room)));
    } while (room - 1 - loaded < 2);
    return loaded != 0;
}

std::size_t string::to_bytes(char* target, std::size_t size_in_bytes, std::uint32_t code_page) const
{
    if (!is_utf16(code_page)) {
        const int room = static_cast<int>(std::min<std::size_t>(size_in_bytes, INT_MAX));
        const int length = converter_length(m_length + 1);
        return static_cast<std::size_t>(platform::current().pages->to_narrow(code_page, c_str(), length, target, room));
    }
    if (size_in_bytes == 0)
        return m_length * 2 + 2;
    const std::size_t characters = std::min<std::size_t>(size_in_bytes / 2, m_length + 1);
    std::memcpy(target, c_str(), characters * sizeof(char16_t));
    if (code_page == utf16_big_endian)
        swap_pairs(target, size_in_bytes);
    return size_in_bytes;
}

std::size_t string::assign_bytes(const char* source, std::ptrdiff_t length, std::uint32_t code_page)
{
    if (!source || length < -1)
        return 0;
    if (is_utf16(code_page)) {
        const std::size_t size_in_bytes =
            length == -1 ? unaligned_length(source) * sizeof(char16_t) : static_cast<std::size_t>(length);
        std::u16string text(size_in_bytes / 2, u'\0');
        std::memcpy(text.data(), source, text.size() * sizeof(char16_t));
        if (code_page == utf16_big_endian)
            swap_pairs(reinterpret_cast<char*>(text.data()), text.size() * sizeof(char16_t));
        assign(text.data(), text.size());
        return m_length;
    }

    auto& pages = *platform::current().pages;
    const int size_in_bytes = converter_length(length == -1 ? std::strlen(source) : static_cast<std::size_t>(length));
    // One more for the terminator, which is not asked for as a byte: the source need not have one.
    const std::size_t room = static_cast<std::size_t>(pages.to_wide(code_page, source, size_in_bytes, nullptr, 0)) + 1;
    std::u16string text(room, u'\0');
    const int converted = pages.to_wide(code_page, source, size_in_bytes, text.data(), converter_length(room));
    if (converted <= 0)
        return 0;
    assign(text.data(), static_cast<std::size_t>(converted));
    return m_length;
}

string& string::append_separated(string other, char16_t separator)
{
    if (other.empty())
        return *this;
    if (empty())
        return *this = other;
    const bool starts = other[0] == separator;
    const bool ends = (*this)[m_length - 1] == separator;
    if (starts && ends)
        return append(other.c_str() + 1, other.length() - 1);
    if (!starts && !ends)
        append(1, separator);
    return append(other.c_str(), other.length());
}

bool string::equals_no_case(const string& other) const
{
    const std::size_t shorter = std::min(length(), other.length());
    return platform::current().rules->compare_no_case(c_str(), other.c_str(), shorter) == 0 &&
           length() == other.length();
}

bool string::equals_no_case(const char16_t* other) const
{
    return equals_no_case(string(other));
}

bool string::equals_no_case(const char* other) const
{
    return equals_no_case(string(other));
}

std::size_t string::find_no_case(std::size_t start, const char16_t* pattern, std::size_t count) const
{
    if (count == 0)
        return start;
    if (count > m_length)
        return npos;
    auto& rules = *platform::current().rules;
    const char16_t first = rules.to_upper(pattern[0]);
    for (std::size_t at = start; at <= m_length - count; ++at) {
        if (rules.to_upper(c_str()[at]) == first && rules.compare_no_case(c_str() + at, pattern, count) == 0)
            return at;
    }
    return npos;
}

string to_text(std::int32_t value)
{
    std::array<char, 11> digits{}; // "-2147483648"
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    std::array<char16_t, 11> wide{};
    std::copy<const char*>(digits.data(), end, wide.begin());
    return string(wide.data(), static_cast<std::size_t>(end - digits.data()));
}

string to_text(const VARIANT& value)
{
    if (value.vt == VT_BSTR)
        return text_before_zero(value.bstrVal);
    // Whether the conversion worked shows in the type of what came out.
    automation::variant converted;
    VariantChangeType(&converted, &value, 0, VT_BSTR);
    return converted.vt == VT_BSTR ? text_before_zero(converted.bstrVal) : string();
}

bool is_other_than_backslash(const string& text) noexcept
{
    return !(text == u"\\");
}

string combine_path(const string& first, const string& second)
{
    string result(first);
    result.append_separated(second, path_separator_of(first));
    return result;
}

} // namespace cw
