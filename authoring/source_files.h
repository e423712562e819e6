// The files that a component is made of: paths of a manifest, files and whole folders, become a
// list of files with size and date. Used by the manifest reader; the payload writer reads them.
#pragma once

#include "formats/md5.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace cw::authoring {

/// What a manifest says about a file and most manifests do not.
struct file_details {
    std::optional<std::string> content; // in place of a file on the disk
    std::optional<std::string> version;
    std::optional<std::uint64_t> compressed_size_in_bytes;
    std::optional<formats::md5_digest> expected_md5;
    std::int32_t flags = 0;
    bool has_payload = true;
};

/// There may be a million of these, so what is rare stands aside.
struct source_file {
    std::string name; // in the header
    std::string path; // on the disk; empty where the content is given
    std::uint64_t size_in_bytes = 0;
    double date = 0;                             // automation date, UTC
    std::uint32_t item = 0;                      // of the component's list in the manifest
    std::shared_ptr<const file_details> details; // one for all files of a folder
};

/// Reports each regular file that a path leads to: the file itself, its name being that of the path,
/// or all files of a folder and the folders in it, in an order that depends on their names alone;
/// their names are relative to the folder, with backslashes. Links are followed. Throws `error`:
/// nothing there, no regular file, a name that is not UTF-8 or has a backslash, folders in a circle.
void scan_source(const std::filesystem::path& path, const std::function<void(source_file&&)>& report);

/// Whether the path leads to a folder.
[[nodiscard]] bool is_folder(const std::filesystem::path& path);

} // namespace cw::authoring
