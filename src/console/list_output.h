// The list as text: an aligned table for people, JSON for programs.
#pragma once

#include "framework/list_control.h"

#include <cstddef>
#include <iosfwd>
#include <string_view>

namespace cw::console {

/// A line of labels and a line a row, columns aligned and two blanks apart; a cell of more than
/// 200 columns of the terminal pushes the rest of its row aside. Nothing for a list without columns.
void print_list(std::ostream& out, const CListCtrl& list);

/// The fields "columns" and "rows" of an object, without its braces.
void write_list_fields(std::ostream& out, const CListCtrl& list);

/// Columns that a text takes on a terminal: none for what combines, two for wide characters.
[[nodiscard]] std::size_t display_width(std::u16string_view text) noexcept;

} // namespace cw::console
