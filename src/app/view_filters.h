// The seven views of a media: the command that chooses each, the value that names it, what it shows.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace cw {

class CMainFrame;

struct view_filter {
    std::uint32_t command_id;
    std::u16string_view name;
    /// Null for the view of all subjects, which runs the builders of all the others in order.
    void (CMainFrame::*build)();
};

inline constexpr std::u16string_view view_filter_all = u"All";

[[nodiscard]] std::span<const view_filter> view_filters() noexcept;

/// The filter of a command, or null.
[[nodiscard]] const view_filter* find_view_filter(std::uint32_t command_id) noexcept;

} // namespace cw
