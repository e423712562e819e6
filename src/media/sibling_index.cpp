#include "media/sibling_index.h"

#include "platform/services.h"

namespace cw {

void fold_case(std::u16string_view text, std::u16string& folded)
{
    platform::text_rules& rules = *platform::current().rules;
    const std::size_t end = folded.size() + text.size();
    for (const char16_t unit : text) {
        // Comparisons end at a terminator within the text; of the rest only the length counts.
        if (unit == 0)
            break;
        folded.push_back(rules.to_lower(unit));
    }
    folded.resize(end, u'\0');
}

const std::u16string& sibling_index::key_of(HTREEITEM parent, std::u16string_view text)
{
    constexpr unsigned bits_a_unit = 16;
    m_key.clear();
    for (unsigned shift = 0; shift < 64; shift += bits_a_unit)
        m_key.push_back(static_cast<char16_t>(parent.value >> shift));
    fold_case(text, m_key);
    return m_key;
}

HTREEITEM sibling_index::find(HTREEITEM parent, std::u16string_view text)
{
    const auto found = m_items.find(key_of(parent, text));
    return found == m_items.end() ? HTREEITEM{} : found->second;
}

bool sibling_index::add(HTREEITEM parent, std::u16string_view text, HTREEITEM item)
{
    return m_items.try_emplace(key_of(parent, text), item).second;
}

} // namespace cw
