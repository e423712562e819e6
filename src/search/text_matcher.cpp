#include "search/text_matcher.h"

#include "platform/services.h"

namespace cw {
namespace {

/// By code units, each for itself, so that lengths stay.
char16_t lower_cased(char16_t unit, platform::text_rules& rules) noexcept
{
    constexpr char16_t end_of_ascii = 0x80;
    constexpr char16_t case_distance = u'a' - u'A';
    if (unit >= end_of_ascii)
        return rules.to_lower(unit);
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + case_distance) : unit;
}

} // namespace

text_matcher::text_matcher(std::u16string_view text) : m_text(text), m_fallback(text.size() + 1, 0)
{
    platform::text_rules& rules = *platform::current().rules;
    for (char16_t& unit : m_text)
        unit = lower_cased(unit, rules);

    std::uint32_t matched = 0;
    for (std::size_t at = 1; at < m_text.size(); ++at) {
        while (matched > 0 && m_text[at] != m_text[matched])
            matched = m_fallback[matched];
        if (m_text[at] == m_text[matched])
            ++matched;
        m_fallback[at + 1] = matched;
    }
}

bool text_matcher::is_in(std::u16string_view candidate) const noexcept
{
    if (m_text.empty())
        return true;
    if (candidate.size() < m_text.size())
        return false;
    platform::text_rules& rules = *platform::current().rules;
    std::size_t matched = 0;
    for (const char16_t unit : candidate) {
        const char16_t lower = lower_cased(unit, rules);
        while (matched > 0 && lower != m_text[matched])
            matched = m_fallback[matched];
        if (lower == m_text[matched] && ++matched == m_text.size())
            return true;
    }
    return false;
}

} // namespace cw
