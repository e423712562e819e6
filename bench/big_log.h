// Makes logs of any size through the recorder.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace cw::bench {

/// Features nest two deep; each has a few properties.
struct log_size {
    int features = 200;
    int operations = 1'000'000;
};

/// Writes the log, or takes the one that an earlier run left; answers its path. The operations, of five
/// types, are spread evenly over the features.
[[nodiscard]] std::filesystem::path make_big_log(const std::filesystem::path& folder, const log_size& size);

enum class long_list {
    files,      // one list
    registries, // half of them on each side of the registry
};

/// As above, a log whose one sub-feature has all its operations in one list of the viewer.
[[nodiscard]] std::filesystem::path make_long_log(const std::filesystem::path& folder, long_list list, int operations);
/// The statement that reads all columns of the operations of a type in such a log, in their order.
[[nodiscard]] std::string select_long_list(std::u16string_view type);

} // namespace cw::bench
