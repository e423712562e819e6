// The bytes at the start of a text file that tell its code page.
#pragma once

#include <cstdint>
#include <string_view>

namespace cw {

inline constexpr std::uint32_t code_page_utf16_little_endian = 1200;
inline constexpr std::uint32_t code_page_utf16_big_endian = 1201;
inline constexpr std::uint32_t code_page_utf8 = 65001;

struct byte_order_mark {
    std::uint32_t code_page;
    std::string_view bytes;
};

inline constexpr byte_order_mark byte_order_marks[] = {
    {code_page_utf16_little_endian, "\xFF\xFE"},
    {code_page_utf16_big_endian, "\xFE\xFF"},
    {code_page_utf8, "\xEF\xBB\xBF"},
};

} // namespace cw
