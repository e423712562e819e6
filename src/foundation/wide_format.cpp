#include "foundation/wide_format.h"

#include "platform/services.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <locale.h>
#include <string_view>

namespace cw {

namespace {

constexpr std::uint32_t thread_code_page = 3;
constexpr int precision_absent = -1;

enum class argument_size { standard, byte, half, bits_32, bits_64, wide_text };

struct conversion {
    std::string flags;
    int width = 0;
    int precision = precision_absent;
    argument_size size = argument_size::standard;
    char16_t kind = 0;

    [[nodiscard]] bool has(char flag) const { return flags.find(flag) != std::string::npos; }
};

struct size_row {
    std::u16string_view text;
    argument_size size;
};

// Longer spellings first.
constexpr size_row size_rows[]{
    {u"I64", argument_size::bits_64}, {u"I32", argument_size::bits_32}, {u"I", argument_size::bits_64},
    {u"hh", argument_size::byte},     {u"h", argument_size::half},      {u"ll", argument_size::bits_64},
    {u"l", argument_size::wide_text}, {u"w", argument_size::wide_text}, {u"j", argument_size::bits_64},
    {u"z", argument_size::bits_64},   {u"t", argument_size::bits_64},
};

/// Digits from the front of `rest`; false where they make no int.
bool take_number(std::u16string_view& rest, int& number)
{
    std::int64_t value = 0;
    while (!rest.empty() && rest.front() >= u'0' && rest.front() <= u'9') {
        value = value * 10 + (rest.front() - u'0');
        if (value > INT_MAX)
            return false;
        rest.remove_prefix(1);
    }
    number = static_cast<int>(value);
    return true;
}

std::u16string widened(std::string_view bytes)
{
    if (bytes.empty())
        return {};
    auto& pages = *platform::current().pages;
    const int length = static_cast<int>(bytes.size());
    const int needed = pages.to_wide(thread_code_page, bytes.data(), length, nullptr, 0);
    std::u16string text(static_cast<std::size_t>(needed), u'\0');
    if (needed > 0)
        pages.to_wide(thread_code_page, bytes.data(), length, text.data(), needed);
    return text;
}

/// Numbers are written by the C library, in the C locale.
class c_locale_scope {
public:
    c_locale_scope() noexcept
    {
        static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
        m_before = uselocale(c_locale);
    }
    ~c_locale_scope() { uselocale(m_before); }
    c_locale_scope(const c_locale_scope&) = delete;
    c_locale_scope& operator=(const c_locale_scope&) = delete;

private:
    locale_t m_before;
};

template <class Value>
std::optional<std::u16string> formatted_number(const conversion& how, const char* size_text, Value value)
{
    std::string format = "%" + how.flags + "*.*" + size_text + static_cast<char>(how.kind);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    const c_locale_scope in_c_locale;
    const int length = std::snprintf(nullptr, 0, format.c_str(), how.width, how.precision, value);
    if (length < 0)
        return std::nullopt;
    std::string digits(static_cast<std::size_t>(length), '\0');
    std::snprintf(digits.data(), digits.size() + 1, format.c_str(), how.width, how.precision, value);
#pragma GCC diagnostic pop
    return std::u16string(digits.begin(), digits.end());
}

class formatter {
public:
    explicit formatter(std::va_list arguments) { va_copy(m_arguments, arguments); }
    ~formatter() { va_end(m_arguments); }
    formatter(const formatter&) = delete;
    formatter& operator=(const formatter&) = delete;

    std::optional<std::u16string> run(std::u16string_view rest)
    {
        while (!rest.empty()) {
            const std::size_t percent = std::min(rest.find(u'%'), rest.size());
            m_text += rest.substr(0, percent);
            rest.remove_prefix(percent);
            if (rest.empty())
                break;
            rest.remove_prefix(1);
            conversion how;
            if (!parse(rest, how) || !convert(how))
                return std::nullopt;
        }
        return std::move(m_text);
    }

private:
    bool parse(std::u16string_view& rest, conversion& how)
    {
        while (!rest.empty() && std::u16string_view(u"-+ #0").find(rest.front()) != std::u16string_view::npos) {
            how.flags += static_cast<char>(rest.front());
            rest.remove_prefix(1);
        }
        if (!take_field(rest, how.width))
            return false;
        if (how.width < 0) {
            if (how.width == INT_MIN)
                return false;
            how.flags += '-';
            how.width = -how.width;
        }
        if (rest.starts_with(u'.')) {
            rest.remove_prefix(1);
            if (!take_field(rest, how.precision))
                return false;
            if (how.precision < 0)
                how.precision = precision_absent;
        }
        for (const size_row& row : size_rows) {
            if (rest.starts_with(row.text)) {
                how.size = row.size;
                rest.remove_prefix(row.text.size());
                break;
            }
        }
        if (rest.empty())
            return false;
        how.kind = rest.front();
        rest.remove_prefix(1);
        return true;
    }

    bool take_field(std::u16string_view& rest, int& number)
    {
        if (!rest.starts_with(u'*'))
            return take_number(rest, number);
        rest.remove_prefix(1);
        number = va_arg(m_arguments, int);
        return true;
    }

    bool convert(const conversion& how)
    {
        switch (how.kind) {
        case u'%':
            m_text += u'%';
            return true;
        case u'd':
        case u'i':
            return append(formatted_number(how, "ll", next_signed(how.size)));
        case u'u':
        case u'o':
        case u'x':
        case u'X':
            return append(formatted_number(how, "ll", next_unsigned(how.size)));
        case u'e':
        case u'E':
        case u'f':
        case u'F':
        case u'g':
        case u'G':
        case u'a':
        case u'A':
            return append(formatted_number(how, "", va_arg(m_arguments, double)));
        case u'p':
            return append_pointer(how);
        case u'c':
        case u'C':
            append_padded(how, next_character(how));
            return true;
        case u's':
        case u'S':
            append_padded(how, next_text(how));
            return true;
        default:
            return false;
        }
    }

    long long next_signed(argument_size size)
    {
        switch (size) {
        case argument_size::byte:
            return static_cast<signed char>(va_arg(m_arguments, int));
        case argument_size::half:
            return static_cast<short>(va_arg(m_arguments, int));
        case argument_size::bits_64:
            return va_arg(m_arguments, long long);
        default:
            return va_arg(m_arguments, int);
        }
    }

    unsigned long long next_unsigned(argument_size size)
    {
        switch (size) {
        case argument_size::byte:
            return static_cast<unsigned char>(va_arg(m_arguments, int));
        case argument_size::half:
            return static_cast<unsigned short>(va_arg(m_arguments, int));
        case argument_size::bits_64:
            return va_arg(m_arguments, unsigned long long);
        default:
            return va_arg(m_arguments, unsigned);
        }
    }

    /// The capital letters mean the other width than the family's own; a size overrides both.
    static bool takes_narrow(const conversion& how)
    {
        if (how.size == argument_size::half || how.size == argument_size::byte)
            return true;
        if (how.size == argument_size::wide_text)
            return false;
        return how.kind == u'S' || how.kind == u'C';
    }

    std::u16string next_character(const conversion& how)
    {
        const int value = va_arg(m_arguments, int);
        if (!takes_narrow(how))
            return std::u16string(1, static_cast<char16_t>(value));
        const char byte = static_cast<char>(value);
        return byte ? widened({&byte, 1}) : std::u16string(1, u'\0');
    }

    std::u16string next_text(const conversion& how)
    {
        const bool is_bounded = how.precision != precision_absent;
        const auto bound = static_cast<std::size_t>(how.precision);
        if (takes_narrow(how)) {
            if (const char* bytes = va_arg(m_arguments, const char*))
                return widened({bytes, is_bounded ? strnlen(bytes, bound) : std::strlen(bytes)});
            return null_text(is_bounded, bound);
        }
        const char16_t* text = va_arg(m_arguments, const char16_t*);
        if (!text)
            return null_text(is_bounded, bound);
        std::size_t length = 0;
        while ((!is_bounded || length < bound) && text[length])
            ++length;
        return std::u16string(text, length);
    }

    static std::u16string null_text(bool is_bounded, std::size_t bound)
    {
        static constexpr std::u16string_view text = u"(null)";
        return std::u16string(is_bounded ? text.substr(0, bound) : text);
    }

    bool append_pointer(const conversion& how)
    {
        conversion as_hexadecimal = how;
        as_hexadecimal.kind = u'X';
        as_hexadecimal.precision = 2 * sizeof(void*);
        const auto address = reinterpret_cast<std::uintptr_t>(va_arg(m_arguments, void*));
        return append(formatted_number(as_hexadecimal, "ll", static_cast<unsigned long long>(address)));
    }

    bool append(const std::optional<std::u16string>& text)
    {
        if (text)
            m_text += *text;
        return text.has_value();
    }

    void append_padded(const conversion& how, const std::u16string& text)
    {
        const auto width = static_cast<std::size_t>(how.width);
        const std::size_t padding = text.size() < width ? width - text.size() : 0;
        if (how.has('-'))
            m_text.append(text).append(padding, u' ');
        else
            m_text.append(padding, how.has('0') ? u'0' : u' ').append(text);
    }

    std::va_list m_arguments;
    std::u16string m_text;
};

} // namespace

std::optional<std::u16string> format_wide(const char16_t* format, std::va_list arguments)
{
    return formatter(arguments).run(format);
}

} // namespace cw
