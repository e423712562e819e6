// Which file is meant by what a person drops on the window.
#pragma once

#include <optional>
#include <string>

class QMimeData;

namespace cw {

/// The path of the first file of this machine that is no folder, whether it exists or not; nothing
/// where there is none.
[[nodiscard]] std::optional<std::u16string> dropped_file(const QMimeData& data);

} // namespace cw
