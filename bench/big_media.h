// Makes media of any size without files: headers whose rows have no payload.
#pragma once

#include <filesystem>

namespace cw::bench {

struct media_size {
    int features = 1'000;
    int components = 20'000;
    int files = 1'000'000;
};

/// Writes the header, or takes the one that an earlier run left; answers its path. Features nest three
/// deep, files are spread evenly.
[[nodiscard]] std::filesystem::path make_big_media(const std::filesystem::path& folder, const media_size& size);

enum class registry_shape {
    flat, // all keys side by side
    deep, // paths of twelve segments that share their beginnings
};

/// As above, a header of one registry set with all its keys in one hive.
[[nodiscard]] std::filesystem::path make_registry_media(const std::filesystem::path& folder, registry_shape shape,
                                                        int keys);

} // namespace cw::bench
