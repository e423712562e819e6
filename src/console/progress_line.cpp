#include "console/progress_line.h"

#include "console/safe_text.h"
#include "platform/utf8.h"

#include <cstdio>
#include <unistd.h>

namespace cw::console {
namespace {

constexpr std::size_t line_width = 78;
constexpr std::chrono::milliseconds interval{100};

/// Of a character that takes two code units.
constexpr bool is_second_half(char16_t c)
{
    return c >= 0xDC00 && c <= 0xDFFF;
}

} // namespace

progress_line::progress_line() : m_isShown(isatty(STDERR_FILENO) != 0) {}

void progress_line::show(std::uint64_t done, std::uint64_t total, std::string_view current)
{
    const auto now = std::chrono::steady_clock::now();
    if (!m_isShown || (now < m_next && done < total))
        return;
    m_next = now + interval;
    m_stands = true;
    std::fprintf(stderr, "\r\033[K%s", progress_text(done, total, current, line_width).c_str());
}

void progress_line::clear() noexcept
{
    if (m_stands)
        std::fputs("\r\033[K", stderr);
    m_stands = false;
}

std::string progress_text(std::uint64_t done, std::uint64_t total, std::string_view current, std::size_t width)
{
    // In the floating domain: a product with 100 can pass 64 bits.
    const double share = total == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(total);
    char percent[16];
    std::snprintf(percent, sizeof percent, "%3d %% ", static_cast<int>(share * 100.0));
    std::u16string name = platform::from_utf8(current);
    const std::size_t room = width > sizeof percent ? width - sizeof percent : 0;
    if (name.size() > room) {
        name.erase(0, name.size() - room);
        if (!name.empty() && is_second_half(name.front()))
            name.erase(0, 1);
        name.insert(0, u"…");
    }
    return percent + terminal_text(name);
}

} // namespace cw::console
