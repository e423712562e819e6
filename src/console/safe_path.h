// Names out of a media as paths below a folder. A media may come from anybody, so a name is taken as
// it stands or not at all: a mended name could be the name of another file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cw::console {

struct safe_path {
    /// The names of the folders and, last, of the file, in UTF-8; none where the name is refused.
    std::vector<std::string> parts;
    /// Why the name is refused, in words for people; empty where it is not.
    std::string_view refusal;
};

/// Divides a name at its separators, `\` and `/`. Every part is a name that a folder of this system
/// can hold, and leads one level down.
[[nodiscard]] safe_path safe_path_of(std::u16string_view name);

} // namespace cw::console
