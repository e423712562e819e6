// List rows as the text that goes on the clipboard.
#pragma once

#include "framework/list_control.h"

#include <cstddef>
#include <span>
#include <string>

namespace cw {

/// The cells of each row joined with tabs, the rows with line ends between them: no line end at the
/// end, no line for the header.
[[nodiscard]] std::u16string row_text(const CListCtrl& list, std::span<const std::size_t> rows);

} // namespace cw
