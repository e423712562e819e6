// A cabinet without a header, made by anybody's tool, as a media: its tables are filled into a
// database in memory, so that the objects need to know nothing of it.
#pragma once

#include "readers/mediaforge/media_store.h"

#include <memory>
#include <string>
#include <string_view>

namespace cw::mediaforge {

/// One feature named like the file, one component "Folder n" for each folder of the cabinet (or of
/// the continued set that lies beside it), and its files with size and date. The compressed size is
/// 0: a cabinet packs folders, not files. Throws `media_failure` (not_a_media).
[[nodiscard]] media_handle open_plain_cabinet(const std::string& path, const std::shared_ptr<error_record>& last_error);

/// A name from a cabinet made harmless and readable, UTF-8: what is ill-formed or controls a
/// terminal becomes U+FFFD, separators become "\", and nothing is left that climbs, begins at a root
/// or names a drive. `is_utf8` is what the cabinet says of its name; names without that mark are
/// taken as UTF-8 where they are well-formed and as ISO-8859-1 otherwise.
[[nodiscard]] std::string harmless_name(std::string_view stored, bool is_utf8);

} // namespace cw::mediaforge
