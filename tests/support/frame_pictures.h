// What the frame shows as texts, so that a test reads as a picture of what it expects.
#pragma once

#include "app/main_frame.h"

#include <string>
#include <string_view>
#include <vector>

namespace cw::test_support {

/// One line an item, indented by two blanks a level, each with a line end. With a text: of the root
/// of that text and what stands below it alone.
[[nodiscard]] std::string tree_of(CMainFrame& frame, std::string_view root = {});
/// The same, each item followed by " (kind; normal, selected)", a kind or images that it has not as
/// "-", and by " expanded" where it is.
[[nodiscard]] std::string detailed_tree_of(CMainFrame& frame, std::string_view root = {});
/// The texts of the roots.
[[nodiscard]] std::vector<std::string> roots_of(CMainFrame& frame);
/// The item under a path of texts, "Features/Main/Help"; throws where there is none.
[[nodiscard]] HTREEITEM item_at(CMainFrame& frame, std::string_view path);
/// Selects an item; the notification arrives before this returns.
void select(CMainFrame& frame, std::string_view path);

/// "Property (150) | Value (400)".
[[nodiscard]] std::string columns_of(CMainFrame& frame);
/// One line a row, its cells joined by " | ".
[[nodiscard]] std::vector<std::string> rows_of(CMainFrame& frame);
/// Puts rows into the list that no presenter writes, to see whether they stay.
void put_marked_row(CMainFrame& frame);
inline constexpr std::string_view marked_row = "marked | ";

} // namespace cw::test_support
