// The program's pictures: the 22 of the tree's image list by index, and the application's own. Used
// by the models, the window and the dialogs.
#pragma once

#include <QIcon>

#include <cstddef>

namespace cw {

inline constexpr int tree_icon_count = 22;
inline constexpr int tree_icon_size = 16; // in pixels at scale 1

/// A picture of the tree's image list; empty for an index that it does not have. Drawn from the
/// resources when it is first painted, and kept.
[[nodiscard]] const QIcon& tree_icon(int index);
/// The resource file name of a picture, without folder and extension; the index must be in range.
[[nodiscard]] const char* tree_icon_name(int index);
[[nodiscard]] const QIcon& application_icon();

} // namespace cw
