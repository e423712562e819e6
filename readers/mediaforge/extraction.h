// Takes one file out of a media: the bytes of its entry or parts, opened where they are sealed,
// checked against the header's size and signature, written to a target that appears when all is well.
#pragma once

#include "readers/mediaforge/header_rows.h"
#include "readers/mediaforge/volumes.h"

#include <cstdint>
#include <string>

namespace cw::mediaforge {

/// Writes the file at (`component`, `position`) to the path `target`. Throws
/// `media_failure`; nothing is left at the target then, and what was there before still is.
void extract_file(header_rows& rows, volumes& source, std::int64_t component, std::int64_t position,
                  const std::string& target);

} // namespace cw::mediaforge
