#include "platform/utf8.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace cw::platform {

namespace {

constexpr UChar32 replacement_character = 0xFFFD;

void append_character(std::string& bytes, UChar32 character)
{
    char buffer[U8_MAX_LENGTH];
    int length = 0;
    U8_APPEND_UNSAFE(buffer, length, character);
    bytes.append(buffer, static_cast<std::size_t>(length));
}

void append_character(std::u16string& text, UChar32 character)
{
    if (U_IS_BMP(character)) {
        text += static_cast<char16_t>(character);
    } else {
        text += static_cast<char16_t>(U16_LEAD(character));
        text += static_cast<char16_t>(U16_TRAIL(character));
    }
}

constexpr bool stands_for_byte(UChar32 character)
{
    return character >= 0xDC80 && character <= 0xDCFF;
}

std::string encode(std::u16string_view text, bool restore_bytes)
{
    std::string bytes;
    bytes.reserve(text.size());
    const std::size_t length = text.size();
    for (std::size_t at = 0; at < length;) {
        UChar32 character = 0;
        U16_NEXT(text.data(), at, length, character);
        if (restore_bytes && stands_for_byte(character))
            bytes += static_cast<char>(character & 0xFF);
        else
            append_character(bytes, U_IS_SURROGATE(character) ? replacement_character : character);
    }
    return bytes;
}

std::u16string decode(std::string_view bytes, bool keep_bytes)
{
    std::u16string text;
    text.reserve(bytes.size());
    const auto* begin = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const std::size_t length = bytes.size();
    for (std::size_t at = 0; at < length;) {
        const std::size_t start = at;
        UChar32 character = 0;
        U8_NEXT(begin, at, length, character);
        if (character >= 0) {
            append_character(text, character);
        } else if (keep_bytes) {
            for (std::size_t i = start; i < at; ++i)
                text += static_cast<char16_t>(0xDC00 + begin[i]);
        } else {
            append_character(text, replacement_character);
        }
    }
    return text;
}

} // namespace

std::string to_utf8(std::u16string_view text)
{
    return encode(text, false);
}

std::u16string from_utf8(std::string_view bytes)
{
    return decode(bytes, false);
}

std::string path_to_bytes(std::u16string_view path)
{
    return encode(path, true);
}

std::u16string path_from_bytes(std::string_view bytes)
{
    return decode(bytes, true);
}

} // namespace cw::platform
