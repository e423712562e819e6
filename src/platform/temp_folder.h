// Where the user's environment wants temporary files.
#pragma once

#include <string>

namespace cw::platform {

/// TMPDIR where that is an absolute path which leaves room for names in a buffer of `path_room`, else
/// "/tmp"; with exactly one separator at its beginning and its end. Need not be there.
[[nodiscard]] std::u16string temp_folder_of_environment();

} // namespace cw::platform
