// Makes a media whose volumes hold half a gigabyte: what extraction is measured on.
#pragma once

#include <filesystem>

namespace cw::bench {

/// Writes the media, or takes the one that an earlier run left; answers its header's path. One
/// component has all files: texts, records, and bytes that do not compress, 4 KiB to 1 MiB each.
[[nodiscard]] std::filesystem::path make_payload_media(const std::filesystem::path& folder);

} // namespace cw::bench
