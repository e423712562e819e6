// Globally unique identifiers of interfaces and classes, and their text form.
#pragma once

#include "automation/types.h"

#include <compare>
#include <string_view>

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) noexcept = default;
    friend constexpr auto operator<=>(const GUID&, const GUID&) noexcept = default;
};

using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const GUID&;
using REFCLSID = const GUID&;

inline constexpr GUID GUID_NULL{};
inline constexpr IID IID_NULL{};

namespace cw::automation {

constexpr unsigned hexadecimal_digit(char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<unsigned>(c - '0');
    if (c >= 'A' && c <= 'F')
        return static_cast<unsigned>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f')
        return static_cast<unsigned>(c - 'a' + 10);
    throw "not a hexadecimal digit";
}

/// A GUID from its 36 characters without braces, at compile time; a malformed literal does not
/// compile.
consteval GUID guid_from_literal(std::string_view text)
{
    if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-')
        throw "not a GUID";
    auto number = [&](std::size_t at, std::size_t digits) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < digits; ++i)
            value = value * 16 + hexadecimal_digit(text[at + i]);
        return value;
    };
    GUID guid{number(0, 8), static_cast<std::uint16_t>(number(9, 4)), static_cast<std::uint16_t>(number(14, 4)), {}};
    guid.Data4[0] = static_cast<std::uint8_t>(number(19, 2));
    guid.Data4[1] = static_cast<std::uint8_t>(number(21, 2));
    for (std::size_t i = 0; i < 6; ++i)
        guid.Data4[2 + i] = static_cast<std::uint8_t>(number(24 + 2 * i, 2));
    return guid;
}

} // namespace cw::automation

extern "C" {

/// Reads "{8-4-4-4-12}" with braces, in either case of the digits. A null `text` gives the null
/// GUID and S_OK. Anything else that is not a GUID gives the null GUID and CO_E_CLASSSTRING.
CW_AUTOMATION_API HRESULT CLSIDFromString(const WCHAR* text, CLSID* class_id) noexcept;

/// Writes "{8-4-4-4-12}" in upper case with its terminator. Answers the number of code units
/// written, terminator included (39), or 0 where `room_in_code_units` is too small.
CW_AUTOMATION_API int StringFromGUID2(REFGUID guid, WCHAR* text, int room_in_code_units) noexcept;
}
