#include "readers/storage/text.h"

#include <algorithm>
#include <new>

namespace cw::storage {
namespace {

constexpr char32_t replacement = 0xFFFD;

template <class Append>
void decode_all(std::string_view text, Append append)
{
    while (!text.empty()) {
        const decoded_code_point point = decode_utf8(text);
        append(point.valid ? point.value : replacement);
        text.remove_prefix(point.length);
    }
}

void append_utf16(std::u16string& text, char32_t code_point)
{
    if (code_point < 0x10000) {
        text += static_cast<char16_t>(code_point);
        return;
    }
    text += static_cast<char16_t>(0xD800 + ((code_point - 0x10000) >> 10));
    text += static_cast<char16_t>(0xDC00 + ((code_point - 0x10000) & 0x3FF));
}

bool is_ascii(std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// UTF-8 of a text; `append_lone` deals with an unpaired surrogate.
template <class AppendLone>
std::string encode(std::u16string_view utf16, AppendLone append_lone)
{
    std::string text;
    text.reserve(utf16.size());
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        const char32_t unit = utf16[i];
        if (unit < 0xD800 || unit > 0xDFFF) {
            append_utf8(text, unit);
        } else if (unit < 0xDC00 && i + 1 < utf16.size() && (utf16[i + 1] & 0xFC00) == 0xDC00) {
            append_utf8(text, 0x10000 + ((unit - 0xD800) << 10) + (utf16[i + 1] - 0xDC00u));
            ++i;
        } else {
            append_lone(text, unit);
        }
    }
    return text;
}

} // namespace

decoded_code_point decode_utf8(std::string_view text) noexcept
{
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char first = byte(0);
    if (first < 0x80)
        return {first, 1, true};
    const unsigned length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return {0, 1, false};
    char32_t value = first & (0x7Fu >> length);
    for (unsigned i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return {0, 1, false};
        value = value << 6 | (byte(i) & 0x3Fu);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < smallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return {0, 1, false};
    return {value, length, true};
}

std::u16string to_utf16(std::string_view utf8)
{
    std::u16string text;
    text.reserve(utf8.size());
    decode_all(utf8, [&](char32_t point) { append_utf16(text, point); });
    return text;
}

automation::bstr to_bstr(std::string_view utf8)
{
    automation::bstr text;
    if (is_ascii(utf8)) {
        // Nearly all texts: one allocation and no second copy.
        text.attach(SysAllocStringLen(nullptr, static_cast<UINT>(utf8.size())));
        if (text.get())
            std::transform(utf8.begin(), utf8.end(), text.get(), [](char c) { return static_cast<char16_t>(c); });
    } else {
        text = automation::bstr(to_utf16(utf8));
    }
    if (!text.get())
        throw std::bad_alloc();
    return text;
}

std::string to_utf8(std::u16string_view utf16)
{
    return encode(utf16, [](std::string& text, char32_t) { append_utf8(text, replacement); });
}

std::string to_native_path(std::u16string_view path)
{
    return encode(path, [](std::string& text, char32_t unit) {
        if (unit >= 0xDC80 && unit <= 0xDCFF)
            text += static_cast<char>(static_cast<unsigned char>(unit & 0xFF));
        else
            append_utf8(text, replacement);
    });
}

bool is_well_formed_utf8(std::string_view text) noexcept
{
    while (!text.empty()) {
        const decoded_code_point point = decode_utf8(text);
        if (!point.valid)
            return false;
        text.remove_prefix(point.length);
    }
    return true;
}

std::string latin1_to_utf8(std::string_view text)
{
    std::string result;
    for (const char c : text)
        append_utf8(result, static_cast<unsigned char>(c));
    return result;
}

void append_utf8(std::string& text, char32_t code_point)
{
    const auto add = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (code_point < 0x80) {
        add(code_point);
    } else if (code_point < 0x800) {
        add(0xC0 | code_point >> 6);
        add(0x80 | (code_point & 0x3F));
    } else if (code_point < 0x10000) {
        add(0xE0 | code_point >> 12);
        add(0x80 | (code_point >> 6 & 0x3F));
        add(0x80 | (code_point & 0x3F));
    } else {
        add(0xF0 | code_point >> 18);
        add(0x80 | (code_point >> 12 & 0x3F));
        add(0x80 | (code_point >> 6 & 0x3F));
        add(0x80 | (code_point & 0x3F));
    }
}

bool equal_ignoring_ascii_case(std::string_view a, std::string_view b) noexcept
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

} // namespace cw::storage
