// A text that is searched for without regard to case. The search asks it of every label, cell and
// record that it passes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

class text_matcher {
public:
    /// Matches everything.
    text_matcher() = default;
    explicit text_matcher(std::u16string_view text);

    /// The text that is searched for, in lower case.
    [[nodiscard]] std::u16string_view text() const noexcept { return m_text; }
    /// Whether `candidate`, in lower case, holds the text. The time is that of reading it once.
    [[nodiscard]] bool is_in(std::u16string_view candidate) const noexcept;

private:
    std::u16string m_text;
    /// For each length of a part that matches: the longest shorter part that ends there, too.
    std::vector<std::uint32_t> m_fallback;
};

} // namespace cw
