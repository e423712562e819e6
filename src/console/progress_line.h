// A line that tells how far a long piece of work is, on a terminal and nowhere else.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace cw::console {

class progress_line {
public:
    /// Writes to standard error where that is a terminal.
    progress_line();
    explicit progress_line(bool is_shown) noexcept : m_isShown(is_shown) {}
    ~progress_line() { clear(); }
    progress_line(const progress_line&) = delete;
    progress_line& operator=(const progress_line&) = delete;

    /// At most ten times a second, and at the end.
    void show(std::uint64_t done, std::uint64_t total, std::string_view current);
    /// Takes the line away.
    void clear() noexcept;

private:
    bool m_isShown;
    bool m_stands = false;
    std::chrono::steady_clock::time_point m_next{};
};

/// "  42 % current", the name cut in front to what fits `width` columns of a terminal.
[[nodiscard]] std::string progress_text(std::uint64_t done, std::uint64_t total, std::string_view current,
                                        std::size_t width);

} // namespace cw::console
