#include "automation/date_text.h"

#include <algorithm>

namespace cw::automation::detail {

namespace {

constexpr std::size_t most_date_digits = 4;
constexpr unsigned noon = 12;

bool is_digit(char16_t c) noexcept
{
    return c >= u'0' && c <= u'9';
}

bool is_space(char16_t c) noexcept
{
    return plain_space(c) == u' ' || (c >= u'\t' && c <= u'\r');
}

bool is_pattern_letter(char16_t c) noexcept
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

void append_number(std::u16string& text, unsigned value, std::size_t least_digits)
{
    std::u16string digits;
    do
        digits.insert(digits.begin(), static_cast<char16_t>(u'0' + value % 10));
    while ((value /= 10) != 0);
    text.append(least_digits > digits.size() ? least_digits - digits.size() : 0, u'0');
    text += digits;
}

unsigned hour_of_half_day(unsigned hour) noexcept
{
    return hour % noon == 0 ? noon : hour % noon;
}

void append_field(std::u16string& text, char16_t letter, std::size_t width, const SYSTEMTIME& time,
                  const date_forms& forms)
{
    switch (letter) {
    case u'y':
    case u'u':
        append_number(text, time.wYear, width);
        break;
    case u'M':
    case u'L':
        if (width > 2)
            text += forms.months[time.wMonth - 1u];
        else
            append_number(text, time.wMonth, width);
        break;
    case u'd':
        append_number(text, time.wDay, width);
        break;
    case u'H':
        append_number(text, time.wHour, width);
        break;
    case u'h':
        append_number(text, hour_of_half_day(time.wHour), width);
        break;
    case u'K':
        append_number(text, time.wHour % noon, width);
        break;
    case u'm':
        append_number(text, time.wMinute, width);
        break;
    case u's':
        append_number(text, time.wSecond, width);
        break;
    case u'a':
    case u'b':
    case u'B':
        text += time.wHour < noon ? forms.morning : forms.afternoon;
        break;
    default: // eras and weekdays tell nothing that the other fields do not
        break;
    }
}

std::u16string formatted(std::u16string_view pattern, const SYSTEMTIME& time, const date_forms& forms)
{
    std::u16string text;
    bool quoted = false;
    for (std::size_t i = 0; i < pattern.size();) {
        const char16_t c = pattern[i];
        if (c == u'\'') {
            // A doubled quote stands for itself.
            if (i + 1 < pattern.size() && pattern[i + 1] == u'\'') {
                text += c;
                i += 2;
                continue;
            }
            quoted = !quoted;
            ++i;
        } else if (quoted || !is_pattern_letter(c)) {
            text += c;
            ++i;
        } else {
            const std::size_t end = std::min(pattern.find_first_not_of(c, i), pattern.size());
            append_field(text, c, end - i, time, forms);
            i = end;
        }
    }
    return text;
}

/// Reads a text from its front; each operation answers whether it took something.
class scanner {
public:
    explicit scanner(std::u16string_view text) noexcept : m_rest(text) {}

    [[nodiscard]] bool at_end() const noexcept { return m_rest.empty(); }
    [[nodiscard]] bool at_digit() const noexcept { return !m_rest.empty() && is_digit(m_rest.front()); }

    bool take_spaces() noexcept
    {
        const std::size_t before = m_rest.size();
        while (!m_rest.empty() && is_space(m_rest.front()))
            m_rest.remove_prefix(1);
        return m_rest.size() != before;
    }
    bool take_one_of(std::u16string_view characters) noexcept
    {
        if (m_rest.empty() || characters.find(m_rest.front()) == std::u16string_view::npos)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }
    bool take_word(std::u16string_view word) noexcept
    {
        auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; };
        auto same = [&](char16_t a, char16_t b) { return lower(plain_space(a)) == lower(plain_space(b)); };
        if (word.empty() || word.size() > m_rest.size() ||
            !std::ranges::equal(word, m_rest.substr(0, word.size()), same))
            return false;
        m_rest.remove_prefix(word.size());
        return true;
    }
    struct number {
        unsigned value;
        std::size_t digits;
    };
    std::optional<number> take_number() noexcept
    {
        number taken{0, 0};
        for (; at_digit(); m_rest.remove_prefix(1), ++taken.digits)
            if (taken.digits < most_date_digits)
                taken.value = taken.value * 10 + (m_rest.front() - u'0');
        if (taken.digits == 0 || taken.digits > most_date_digits)
            return std::nullopt;
        return taken;
    }

private:
    std::u16string_view m_rest;
};

// The fields of a date in the order in which a pattern has them, as the letters y, M and d.
std::u16string field_order(std::u16string_view pattern)
{
    std::u16string order;
    bool quoted = false;
    for (char16_t c : pattern) {
        if (c == u'\'')
            quoted = !quoted;
        c = c == u'L' ? u'M' : c == u'u' ? u'y' : c;
        const bool is_field = c == u'y' || c == u'M' || c == u'd';
        if (!quoted && is_field && order.find(c) == std::u16string::npos)
            order += c;
    }
    return order;
}

// What may stand between the fields: one of the usual characters, beside any of the pattern's own.
struct separators {
    std::u16string_view usual;
    std::u16string own;
    bool space_suffices;
};

separators separators_of(std::u16string_view pattern, std::u16string_view usual, bool space_suffices)
{
    separators found{usual, {}, space_suffices};
    bool quoted = false;
    for (const char16_t c : pattern) {
        if (c == u'\'')
            quoted = !quoted;
        else if ((quoted || !is_pattern_letter(c)) && !is_space(c) && usual.find(c) == std::u16string_view::npos)
            found.own += c;
    }
    return found;
}

std::u16string_view after_last_field(std::u16string_view pattern)
{
    bool quoted = false;
    std::size_t end = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'\'')
            quoted = !quoted;
        else if (!quoted && is_pattern_letter(pattern[i]))
            end = i + 1;
    }
    return pattern.substr(end);
}

bool take_separators(scanner& text, const separators& allowed) noexcept
{
    bool any_space = false;
    bool any_usual = false;
    bool any_own = false;
    for (;;) {
        if (text.take_spaces())
            any_space = true;
        else if (text.take_one_of(allowed.own))
            any_own = true;
        else if (!any_usual && text.take_one_of(allowed.usual))
            any_usual = true;
        else
            return any_usual || any_own || (any_space && allowed.space_suffices);
    }
}

std::optional<scanner::number> take_month_name(scanner& text, const date_forms& forms)
{
    for (unsigned i = 0; i < forms.months.size(); ++i)
        if (text.take_word(forms.months[i]))
            return scanner::number{i + 1, 0};
    return std::nullopt;
}

bool is_date(const SYSTEMTIME& time) noexcept
{
    DATE ignored;
    return SystemTimeToVariantTime(&time, &ignored) != 0;
}

bool take_date(scanner& text, const date_forms& forms, const separators& between, SYSTEMTIME& time)
{
    std::u16string order = field_order(forms.date);
    scanner::number fields[3];
    for (std::size_t i = 0; i < std::size(fields); ++i) {
        if (i > 0 && !take_separators(text, between))
            return false;
        auto field = text.at_digit() ? text.take_number() : take_month_name(text, forms);
        if (!field)
            return false;
        fields[i] = *field;
    }
    // A year in front tells the order by itself, whatever the locale's is.
    const bool year_in_front = fields[0].digits > 2;
    if (year_in_front)
        order = u"yMd";
    WORD year = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const auto value = static_cast<WORD>(fields[i].value);
        if (order[i] == u'y')
            year = value;
        else
            (order[i] == u'M' ? time.wMonth : time.wDay) = value;
    }
    time.wYear = year;
    // What no month can be is a day: the writer had the other order in mind.
    if (!is_date(time) && !year_in_front)
        std::swap(time.wMonth, time.wDay);
    return is_date(time);
}

enum class half_day { none, morning, afternoon };

half_day take_half_day(scanner& text, const date_forms& forms)
{
    if (text.take_word(forms.morning) || text.take_word(u"AM"))
        return half_day::morning;
    if (text.take_word(forms.afternoon) || text.take_word(u"PM"))
        return half_day::afternoon;
    return half_day::none;
}

bool take_time(scanner& text, const date_forms& forms, SYSTEMTIME& time)
{
    const separators between = separators_of(forms.time, u":", false);
    const separators in_front{u"", between.own, true};
    take_separators(text, in_front);
    // Some locales write the half of the day first.
    half_day half = take_half_day(text, forms);
    take_separators(text, in_front);
    unsigned fields[3]{};
    std::size_t count = 0;
    while (count < std::size(fields)) {
        const auto field = text.take_number();
        if (!field || field->digits > 2)
            return false;
        fields[count++] = field->value;
        if (!take_separators(text, between))
            break;
        if (count >= 2 && !text.at_digit())
            break;
    }
    if (count < 2)
        return false;
    if (half == half_day::none)
        half = take_half_day(text, forms);
    if (half != half_day::none) {
        if (fields[0] > noon)
            return false;
        fields[0] = fields[0] % noon + (half == half_day::afternoon ? noon : 0);
    }
    time.wHour = static_cast<WORD>(fields[0]);
    time.wMinute = static_cast<WORD>(fields[1]);
    time.wSecond = static_cast<WORD>(fields[2]);
    text.take_spaces();
    return text.at_end();
}

constexpr SYSTEMTIME day_zero{1899, 12, 6, 30, 0, 0, 0, 0};

} // namespace

std::optional<std::u16string> text_of_date(DATE date, const date_forms& forms)
{
    SYSTEMTIME time;
    if (!VariantTimeToSystemTime(date, &time))
        return std::nullopt;
    const bool on_day_zero =
        time.wYear == day_zero.wYear && time.wMonth == day_zero.wMonth && time.wDay == day_zero.wDay;
    if (on_day_zero)
        return formatted(forms.time, time, forms);
    std::u16string text = formatted(forms.date, time, forms);
    if (time.wHour != 0 || time.wMinute != 0 || time.wSecond != 0)
        text += u' ' + formatted(forms.time, time, forms);
    return text;
}

std::optional<DATE> date_from_text(std::u16string_view text, const date_forms& forms)
{
    scanner start(text);
    start.take_spaces();
    SYSTEMTIME time = day_zero;
    DATE date = 0;
    if (scanner alone = start; take_time(alone, forms, time))
        return SystemTimeToVariantTime(&time, &date) ? std::optional{date} : std::nullopt;

    time = day_zero;
    scanner rest = start;
    const separators between = separators_of(forms.date, u"/-.", true);
    if (!take_date(rest, forms, between, time))
        return std::nullopt;
    // After the last field come the pattern's own literals alone, such as a word for "year".
    const bool separated = take_separators(rest, separators_of(after_last_field(forms.date), u"", true));
    if (!rest.at_end() && !((separated || rest.take_one_of(u"T")) && take_time(rest, forms, time)))
        return std::nullopt;
    return SystemTimeToVariantTime(&time, &date) ? std::optional{date} : std::nullopt;
}

} // namespace cw::automation::detail
