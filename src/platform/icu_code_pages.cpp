#include "platform/posix_services.h"

#include "platform/last_error.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

namespace cw::platform {

namespace {

constexpr std::uint32_t page_of_system = 0;
constexpr std::uint32_t page_of_thread = 3;
constexpr UChar32 replacement_character = 0xFFFD;

struct page_row {
    std::uint32_t number;
    const char* charset;
};

// The UTF-16 pages 1200 and 1201 are absent: text in them is no narrow text.
constexpr std::array page_rows{
    page_row{37, "ibm-37"},         page_row{437, "ibm-437"},           page_row{500, "ibm-500"},
    page_row{737, "ibm-737"},       page_row{775, "ibm-775"},           page_row{850, "ibm-850"},
    page_row{852, "ibm-852"},       page_row{855, "ibm-855"},           page_row{857, "ibm-857"},
    page_row{858, "ibm-858"},       page_row{860, "ibm-860"},           page_row{861, "ibm-861"},
    page_row{862, "ibm-862"},       page_row{863, "ibm-863"},           page_row{864, "ibm-864"},
    page_row{865, "ibm-865"},       page_row{866, "ibm-866"},           page_row{869, "ibm-869"},
    page_row{874, "windows-874"},   page_row{932, "ibm-943_P15A-2003"}, page_row{936, "windows-936"},
    page_row{949, "windows-949"},   page_row{950, "windows-950"},       page_row{1026, "ibm-1026"},
    page_row{1140, "ibm-1140"},     page_row{1250, "windows-1250"},     page_row{1251, "windows-1251"},
    page_row{1252, "windows-1252"}, page_row{1253, "windows-1253"},     page_row{1254, "windows-1254"},
    page_row{1255, "windows-1255"}, page_row{1256, "windows-1256"},     page_row{1257, "windows-1257"},
    page_row{1258, "windows-1258"}, page_row{10000, "macintosh"},       page_row{20127, "US-ASCII"},
    page_row{20866, "KOI8-R"},      page_row{20932, "EUC-JP"},          page_row{21866, "KOI8-U"},
    page_row{28591, "ISO-8859-1"},  page_row{28592, "ISO-8859-2"},      page_row{28593, "ISO-8859-3"},
    page_row{28594, "ISO-8859-4"},  page_row{28595, "ISO-8859-5"},      page_row{28596, "ISO-8859-6"},
    page_row{28597, "ISO-8859-7"},  page_row{28598, "ISO-8859-8"},      page_row{28599, "ISO-8859-9"},
    page_row{28603, "ISO-8859-13"}, page_row{28605, "ISO-8859-15"},     page_row{50220, "ISO-2022-JP"},
    page_row{51932, "EUC-JP"},      page_row{51949, "EUC-KR"},          page_row{52936, "HZ-GB-2312"},
    page_row{54936, "gb18030"},     page_row{65000, "UTF-7"},           page_row{65001, "UTF-8"},
};

using converter_owner = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

converter_owner open_converter(const char* charset) noexcept
{
    UErrorCode failure = U_ZERO_ERROR;
    converter_owner converter(ucnv_open(charset, &failure), &ucnv_close);
    if (!converter || U_FAILURE(failure))
        return {nullptr, &ucnv_close};
    // What cannot be expressed shows as a question mark. A charset that has none at that place keeps
    // its own substitute.
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_setSubstString(converter.get(), u"?", 1, &ignored);
    return converter;
}

int fail(std::uint32_t code) noexcept
{
    set_last_error(code);
    return 0;
}

/// Whether the bytes of a text can be counted: the count has 32 bits. What is over 2 GiB shows in its
/// sign, but over 4 GiB it begins anew.
bool can_be_counted(int length, int most_bytes_of_each) noexcept
{
    return static_cast<std::uint32_t>(length) <= UINT32_MAX / static_cast<std::uint32_t>(most_bytes_of_each);
}

/// What a conversion that counts beyond its room answers. All that can fail it here is a text that is
/// too long: the other arguments were looked at before.
int answer(int length, int room, UErrorCode result) noexcept
{
    if (length < 0 || (result != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(result)))
        return fail(error_arithmetic_overflow);
    return room > 0 && length > room ? fail(error_insufficient_buffer) : length;
}

bool is_utf8(const char* charset) noexcept
{
    return ucnv_compareNames(charset, "UTF-8") == 0;
}

class icu_code_pages final : public code_pages {
public:
    explicit icu_code_pages(const std::string& charset) : m_charset(charset) {}

    int to_narrow(std::uint32_t code_page, const char16_t* text, int length, char* target,
                  int room_in_bytes) noexcept override
    {
        const char* charset = charset_of(code_page);
        if (!charset || !text || length == 0 || length < -1 || room_in_bytes < 0 || (room_in_bytes > 0 && !target))
            return fail(error_invalid_parameter);
        if (length == -1) {
            const std::size_t found = std::char_traits<char16_t>::length(text);
            if (found >= INT_MAX)
                return fail(error_invalid_parameter);
            length = static_cast<int>(found) + 1;
        }
        UErrorCode result = U_ZERO_ERROR;
        int needed = 0;
        if (is_utf8(charset)) {
            if (!can_be_counted(length, U8_MAX_LENGTH - 1)) // four are of two code units
                return fail(error_arithmetic_overflow);
            u_strToUTF8WithSub(target, room_in_bytes, &needed, text, length, replacement_character, nullptr, &result);
        } else {
            const converter_owner converter = open_converter(charset);
            if (!converter)
                return fail(error_invalid_parameter);
            if (!can_be_counted(length, ucnv_getMaxCharSize(converter.get())))
                return fail(error_arithmetic_overflow);
            needed = ucnv_fromUChars(converter.get(), target, room_in_bytes, text, length, &result);
        }
        return answer(needed, room_in_bytes, result);
    }

    int to_wide(std::uint32_t code_page, const char* bytes, int length, char16_t* target,
                int room_in_code_units) noexcept override
    {
        const char* charset = charset_of(code_page);
        if (!charset || !bytes || length == 0 || length < -1 || room_in_code_units < 0 ||
            (room_in_code_units > 0 && !target))
            return fail(error_invalid_parameter);
        if (length == -1) {
            const std::size_t found = std::strlen(bytes);
            if (found >= INT_MAX)
                return fail(error_invalid_parameter);
            length = static_cast<int>(found) + 1;
        }
        UErrorCode result = U_ZERO_ERROR;
        int needed = 0;
        if (is_utf8(charset)) {
            u_strFromUTF8WithSub(target, room_in_code_units, &needed, bytes, length, replacement_character, nullptr,
                                 &result);
        } else {
            const converter_owner converter = open_converter(charset);
            if (!converter)
                return fail(error_invalid_parameter);
            needed = ucnv_toUChars(converter.get(), target, room_in_code_units, bytes, length, &result);
        }
        return answer(needed, room_in_code_units, result);
    }

    std::size_t character_count(const char* bytes) noexcept override
    {
        const converter_owner converter = open_converter(m_charset.c_str());
        const char* const end = bytes + std::strlen(bytes);
        std::size_t count = 0;
        while (bytes < end) {
            UErrorCode result = U_ZERO_ERROR;
            ucnv_getNextUChar(converter.get(), &bytes, end, &result);
            if (U_FAILURE(result))
                break;
            ++count;
        }
        return count;
    }

private:
    const char* charset_of(std::uint32_t code_page) const noexcept
    {
        if (code_page == page_of_system || code_page == page_of_thread)
            return m_charset.c_str();
        const auto row = std::ranges::find(page_rows, code_page, &page_row::number);
        return row == page_rows.end() ? nullptr : row->charset;
    }

    std::string m_charset;
};

} // namespace

std::unique_ptr<code_pages> make_icu_code_pages(const std::string& charset)
{
    return std::make_unique<icu_code_pages>(charset);
}

} // namespace cw::platform
