#include "automation/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace cw::automation::detail {

namespace {

constexpr int double_digits = 15;
constexpr int float_digits = 7;
// Larger exponents change nothing: the number is out of every type's range before.
constexpr int largest_exponent = 99999;

std::u16string real_text(double number, int significant_digits, const number_forms& forms)
{
    if (std::isnan(number))
        return u"1.#QNAN";
    if (std::isinf(number))
        return number < 0 ? u"-1.#INF" : u"1.#INF";
    if (number == 0)
        return u"0"; // the negative zero as well
    char buffer[64];
    const auto written =
        std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, significant_digits);
    std::u16string text(buffer, written.ptr);
    for (char16_t& c : text)
        c = c == u'.' ? forms.decimal : c == u'e' ? u'E' : c;
    return text;
}

bool is_digit(char16_t c) noexcept
{
    return c >= u'0' && c <= u'9';
}

bool is_space(char16_t c) noexcept
{
    return plain_space(c) == u' ' || (c >= u'\t' && c <= u'\r');
}

std::u16string_view trimmed(std::u16string_view text) noexcept
{
    while (!text.empty() && is_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_space(text.back()))
        text.remove_suffix(1);
    return text;
}

// Takes one sign or a pair of parentheses off, and the space beside it. False where the text has a
// sign on both sides.
bool take_sign(std::u16string_view& text, bool& negative) noexcept
{
    auto is_sign = [](char16_t c) { return c == u'-' || c == u'+'; };
    if (text.size() >= 2 && text.front() == u'(' && text.back() == u')') {
        negative = true;
        text = trimmed(text.substr(1, text.size() - 2));
        return true;
    }
    const bool leading = !text.empty() && is_sign(text.front());
    const bool trailing = !text.empty() && is_sign(text.back());
    if (leading && trailing)
        return false;
    if (leading || trailing) {
        negative = (leading ? text.front() : text.back()) == u'-';
        leading ? text.remove_prefix(1) : text.remove_suffix(1);
        text = trimmed(text);
    }
    return true;
}

// Gathers digits as far as they fit, and remembers of the others only what a later rounding needs.
class digit_collector {
public:
    void add(int digit, bool decimal_place) noexcept
    {
        m_any = true;
        if (m_count < most_exact_digits) {
            m_digits = m_digits * 10 + static_cast<unsigned>(digit);
            m_count += m_digits != 0;
            m_exponent -= decimal_place;
        } else {
            m_dropped |= digit != 0;
            m_exponent += !decimal_place;
        }
    }
    [[nodiscard]] bool any() const noexcept { return m_any; }
    [[nodiscard]] exact_number number(bool negative, int exponent) const noexcept
    {
        const unsigned last = static_cast<unsigned>(m_digits % 10);
        // A tie that only looks like one must not be rounded to the even side.
        const bool nudge = m_dropped && (last == 0 || last == 5);
        const std::int64_t sum = std::int64_t{m_exponent} + exponent;
        const auto bounded = static_cast<int>(std::clamp<std::int64_t>(sum, -largest_exponent, largest_exponent));
        return {negative, m_digits + nudge, m_digits == 0 ? 0 : bounded};
    }

private:
    uint128 m_digits = 0;
    int m_count = 0;
    int m_exponent = 0;
    bool m_any = false;
    bool m_dropped = false;
};

std::optional<int> take_exponent(std::u16string_view& text) noexcept
{
    if (text.empty() || (text.front() != u'e' && text.front() != u'E'))
        return 0;
    text.remove_prefix(1);
    bool negative = false;
    if (!text.empty() && (text.front() == u'-' || text.front() == u'+')) {
        negative = text.front() == u'-';
        text.remove_prefix(1);
    }
    if (text.empty() || !is_digit(text.front()))
        return std::nullopt;
    int exponent = 0;
    for (; !text.empty() && is_digit(text.front()); text.remove_prefix(1))
        exponent = std::min(exponent * 10 + (text.front() - u'0'), largest_exponent);
    return negative ? -exponent : exponent;
}

} // namespace

std::u16string text_of(const exact_number& number, const number_forms& forms)
{
    std::u16string text;
    for (uint128 rest = number.digits; rest != 0; rest /= 10)
        text.insert(text.begin(), static_cast<char16_t>(u'0' + static_cast<unsigned>(rest % 10)));
    if (number.exponent > 0 && !text.empty())
        text.append(static_cast<std::size_t>(number.exponent), u'0');
    const auto places = static_cast<std::size_t>(std::max(-number.exponent, 0));
    if (text.size() <= places)
        text.insert(0, places + 1 - text.size(), u'0');
    if (places > 0) {
        text.insert(text.size() - places, 1, forms.decimal);
        // Zeros at the end of the decimal places say nothing.
        text.resize(text.find_last_not_of(u'0') + 1);
        if (text.back() == forms.decimal)
            text.pop_back();
    }
    if (number.negative && number.digits != 0)
        text.insert(0, 1, u'-');
    return text;
}

std::u16string text_of(double number, const number_forms& forms)
{
    return real_text(number, double_digits, forms);
}

std::u16string text_of(float number, const number_forms& forms)
{
    return real_text(static_cast<double>(number), float_digits, forms);
}

std::optional<exact_number> number_from_text(std::u16string_view text, const number_forms& forms) noexcept
{
    text = trimmed(text);
    bool negative = false;
    if (!take_sign(text, negative))
        return std::nullopt;
    digit_collector digits;
    bool in_decimal_places = false;
    for (; !text.empty(); text.remove_prefix(1)) {
        const char16_t c = text.front();
        if (is_digit(c))
            digits.add(c - u'0', in_decimal_places);
        else if (c == forms.decimal && !in_decimal_places)
            in_decimal_places = true;
        else if (plain_space(c) != forms.group || !digits.any() || in_decimal_places)
            break;
    }
    const auto exponent = take_exponent(text);
    if (!digits.any() || !exponent || !text.empty())
        return std::nullopt;
    return digits.number(negative, *exponent);
}

} // namespace cw::automation::detail
