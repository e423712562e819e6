#include "platform/memory_user_settings.h"

#include "platform/utf8.h"

#include <charconv>

namespace cw::platform {

int memory_user_settings::read_number(std::u16string_view section, std::u16string_view entry, int default_value)
{
    const auto found = m_values.find({std::u16string(section), std::u16string(entry)});
    return found == m_values.end() ? default_value : number_from_setting(found->second, default_value);
}

void memory_user_settings::write_number(std::u16string_view section, std::u16string_view entry, int value)
{
    write_text(section, entry, setting_from_number(value));
}

std::u16string memory_user_settings::read_text(std::u16string_view section, std::u16string_view entry,
                                               std::u16string_view default_value)
{
    const auto found = m_values.find({std::u16string(section), std::u16string(entry)});
    return found == m_values.end() ? std::u16string(default_value) : found->second;
}

void memory_user_settings::write_text(std::u16string_view section, std::u16string_view entry, std::u16string_view value)
{
    m_values[{std::u16string(section), std::u16string(entry)}] = value;
}

void memory_user_settings::remove(std::u16string_view section, std::u16string_view entry)
{
    m_values.erase({std::u16string(section), std::u16string(entry)});
}

int number_from_setting(std::u16string_view text, int default_value) noexcept
{
    // Longer than any number of 32 bits: no number, whatever it says.
    char digits[16];
    if (text.empty() || text.size() > sizeof digits)
        return default_value;
    for (std::size_t i = 0; i < text.size(); ++i)
        digits[i] = text[i] < 0x80 ? static_cast<char>(text[i]) : '?';
    int value = 0;
    const auto [end, failure] = std::from_chars(digits, digits + text.size(), value);
    return failure == std::errc() && end == digits + text.size() ? value : default_value;
}

std::u16string setting_from_number(int value)
{
    return from_utf8(std::to_string(value));
}

} // namespace cw::platform
