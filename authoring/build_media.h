// Builds a setup media from a manifest: the one call behind `cwcab build`.
#pragma once

#include "authoring/error.h"
#include "authoring/payload_writer.h"
#include "formats/sealed.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace cw::authoring {

/// What is given here stands above what the manifest says.
struct build_options {
    /// Of the header and the volumes, without extension; by default that of the manifest.
    std::optional<std::string> name;
    /// UTF-8; a media with a password is protected.
    std::string password;
    formats::seal_cost cost;
    std::optional<std::uint64_t> volume_size_in_bytes;
    std::optional<std::uint64_t> folder_size_in_bytes;
    std::optional<std::uint32_t> files_per_volume;
};

struct build_result {
    std::filesystem::path header;
    std::size_t volumes = 0;
    std::size_t files = 0;
    std::uint64_t payload_size_in_bytes = 0; // clear
};

/// Writes NAME.hdr and NAME1.cab, NAME2.cab, … into the folder, which is made where it is missing.
/// A media of that name that is there is replaced. The same input gives the same bytes. On a failure
/// everything is as it was before, and an `error` tells the reason in one line; what `progress`
/// throws goes through and has the same effect.
build_result build_media(const std::filesystem::path& manifest_file, const std::filesystem::path& output_folder,
                         const build_options& options = {}, const progress_callback& progress = {});

} // namespace cw::authoring
