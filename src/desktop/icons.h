// The program's pictures: the 22 of the tree's image list by index, those of commands, and the
// application's own. Used by the models, the window, the command bars and the dialogs.
#pragma once

#include <QIcon>

#include <cstddef>
#include <cstdint>

namespace cw {

inline constexpr int tree_icon_count = 22;
inline constexpr int tree_icon_size = 16; // in pixels at scale 1

/// A picture of the tree's image list; empty for an index that it does not have. Drawn from the
/// resources when it is first painted, and kept.
[[nodiscard]] const QIcon& tree_icon(int index);
/// The resource file name of a picture, without folder and extension; the index must be in range.
[[nodiscard]] const char* tree_icon_name(int index);
/// A command's picture; empty for a command that has none.
[[nodiscard]] const QIcon& command_icon(std::uint32_t command_id);
[[nodiscard]] const QIcon& application_icon();

} // namespace cw
