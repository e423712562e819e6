// From a path and a password to an open media: tells what kind of file it is and opens that kind.
// Called by the factory.
#pragma once

#include "readers/mediaforge/media_store.h"

#include <memory>
#include <string>
#include <string_view>

namespace cw::mediaforge {

/// Opens a header, the header that a cabinet belongs to, or a cabinet without one. `path` is as the
/// system takes it, `password` is UTF-8. Throws `media_failure`. `last_error` is shared with the media that comes back.
[[nodiscard]] media_handle open_media(const std::string& path, std::string_view password,
                                      const std::shared_ptr<error_record>& last_error);

} // namespace cw::mediaforge
