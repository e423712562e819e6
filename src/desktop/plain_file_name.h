// The name that a save dialog proposes for the name of a file inside a media. Used by the services.
#pragma once

#include <QString>

namespace cw {

/// The last part of a name that may be a path of either kind, with nothing left in it that a file
/// dialog or a file system would take for more than a name. Empty where nothing remains.
[[nodiscard]] QString plain_file_name(const QString& name);

} // namespace cw
