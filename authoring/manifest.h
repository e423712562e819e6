// What a manifest says, checked and with all names resolved: the plan by which `build_media` writes
// a media. docs/media-format.md describes the text.
#pragma once

#include "authoring/media_writer.h"
#include "authoring/source_files.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace cw::authoring {

// Ids count from 1, in the order of the lists; 0 is none. They are those of the header's rows.
struct manifest_feature {
    std::int64_t parent = 0; // stands before its children
    row members;
    std::vector<std::int64_t> required_features;
    std::vector<std::int64_t> components;
    struct property {
        std::optional<std::string> name;
        typed_value value;
    };
    std::vector<property> properties;
};

struct manifest_component {
    row members;
    std::vector<source_file> files;
};

struct manifest_setup_type {
    row members;
    std::vector<std::int64_t> features; // in rising order
};

struct manifest_shell_folder {
    std::int64_t parent = 0; // stands before its children
    row members;
    std::vector<row> shortcuts;
};

struct manifest_registry_key {
    int hive = 0;
    row members;
    struct value {
        row members;
        typed_value data;
    };
    std::vector<value> values;
};

struct manifest_registry_set {
    row members;
    std::vector<std::int64_t> components;
    std::vector<manifest_registry_key> keys;
};

struct manifest {
    std::string text; // as it was read
    std::optional<std::string> name;
    std::optional<std::uint64_t> volume_size_in_bytes;
    std::optional<std::uint64_t> folder_size_in_bytes;
    std::optional<std::uint32_t> files_per_volume;
    row media, settings, arp_info;
    std::vector<std::string> old_versions;
    std::vector<manifest_feature> features;
    std::vector<manifest_component> components;
    std::vector<manifest_setup_type> setup_types;
    std::vector<manifest_shell_folder> shell_folders;
    std::vector<manifest_registry_set> registry_sets;
};

/// Reads a manifest and looks up its files, whose paths are relative to the manifest's folder.
/// Throws `error` with one line that names the place in the manifest.
[[nodiscard]] manifest read_manifest(const std::filesystem::path& file);

} // namespace cw::authoring
