// Reads the "Files" of a manifest's component. Used by the manifest reader.
#pragma once

#include "authoring/json_node.h"
#include "authoring/source_files.h"

#include <filesystem>
#include <vector>

namespace cw::authoring {

/// The files of the list: paths relative to `folder`, or objects with "path" or "content" and
/// members of a file. Fails at the item that is wrong.
[[nodiscard]] std::vector<source_file> read_component_files(const json_node& list, const std::filesystem::path& folder);

} // namespace cw::authoring
