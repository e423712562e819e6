#include "console/safe_text.h"

#include "platform/utf8.h"

#include <algorithm>

namespace cw::console {

// C0 and C1 controls, and the marks that turn the direction of a line around.
bool steers_terminal(char16_t c) noexcept
{
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200E || c == 0x200F ||
           (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

std::string terminal_text(std::u16string_view text)
{
    std::u16string safe(text);
    std::replace_if(safe.begin(), safe.end(), steers_terminal, u'\uFFFD');
    return platform::to_utf8(safe);
}

std::string json_text(std::u16string_view text)
{
    return platform::to_utf8(text);
}

} // namespace cw::console
