// What the customise dialog hands over when something is dragged onto a toolbar or within one.
#pragma once

#include "framework/command_bars.h"

#include <memory>
#include <optional>

class QMimeData;

namespace cw {

/// A drag of something new. The caller owns the result.
[[nodiscard]] std::unique_ptr<QMimeData> drag_of(const tool_item& item);
/// A drag of what stands at a place of the toolbar that is being filled.
[[nodiscard]] std::unique_ptr<QMimeData> drag_from(const tool_place& place);

/// What is dragged; empty for drags of anybody else, and of what already stands somewhere.
[[nodiscard]] std::optional<tool_item> dragged_item(const QMimeData& data);
/// The place that it is dragged from; empty for anything new.
[[nodiscard]] std::optional<tool_place> dragged_place(const QMimeData& data);

} // namespace cw
