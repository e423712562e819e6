#include "automation/guid.h"

#include <optional>
#include <string>

namespace {

constexpr int text_room_in_code_units = 39;

// The form both directions share: a digit pair of byte n stands where the letter n does, counting
// the bytes as they are written, and everything else stands for itself.
constexpr std::u16string_view form = u"{00112233-4455-6677-8899-aabbccddeeff}";
static_assert(form.size() + 1 == text_room_in_code_units);

bool is_digit_place(char16_t c) noexcept
{
    return c != u'{' && c != u'}' && c != u'-';
}

std::optional<unsigned> digit_value(char16_t c) noexcept
{
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10u;
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10u;
    return std::nullopt;
}

std::optional<GUID> parse(std::u16string_view text) noexcept
{
    if (text.size() != form.size())
        return std::nullopt;
    std::uint8_t bytes[16]{};
    std::size_t digits = 0;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (!is_digit_place(form[i])) {
            if (text[i] != form[i])
                return std::nullopt;
            continue;
        }
        const auto value = digit_value(text[i]);
        if (!value)
            return std::nullopt;
        bytes[digits / 2] = static_cast<std::uint8_t>(bytes[digits / 2] * 16 + *value);
        ++digits;
    }
    GUID guid{};
    for (int i = 0; i < 4; ++i)
        guid.Data1 = guid.Data1 << 8 | bytes[i];
    guid.Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    guid.Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    for (int i = 0; i < 8; ++i)
        guid.Data4[i] = bytes[8 + i];
    return guid;
}

} // namespace

HRESULT CLSIDFromString(const WCHAR* text, CLSID* class_id) noexcept
{
    if (!class_id)
        return E_INVALIDARG;
    *class_id = GUID_NULL;
    if (!text)
        return S_OK;
    // Only as much is read as can matter: the text may be long.
    std::size_t length = 0;
    while (length <= form.size() && text[length])
        ++length;
    const auto guid = parse({text, length});
    if (!guid)
        return CO_E_CLASSSTRING;
    *class_id = *guid;
    return S_OK;
}

int StringFromGUID2(REFGUID guid, WCHAR* text, int room_in_code_units) noexcept
{
    if (!text || room_in_code_units < text_room_in_code_units)
        return 0;
    std::uint8_t bytes[16];
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<std::uint8_t>(guid.Data1 >> (24 - 8 * i));
    for (int i = 0; i < 2; ++i) {
        bytes[4 + i] = static_cast<std::uint8_t>(guid.Data2 >> (8 - 8 * i));
        bytes[6 + i] = static_cast<std::uint8_t>(guid.Data3 >> (8 - 8 * i));
    }
    for (int i = 0; i < 8; ++i)
        bytes[8 + i] = guid.Data4[i];
    std::size_t digits = 0;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (!is_digit_place(form[i])) {
            text[i] = form[i];
            continue;
        }
        const unsigned value = digits % 2 == 0 ? bytes[digits / 2] >> 4u : bytes[digits / 2] & 15u;
        text[i] = u"0123456789ABCDEF"[value];
        ++digits;
    }
    text[form.size()] = 0;
    return text_room_in_code_units;
}
