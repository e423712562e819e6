// Where the companion's report goes: what stands at the place that was named, and whether a report may
// be put there.
#pragma once

#include <optional>
#include <span>
#include <string>

namespace cw::console {

/// The open descriptor that a path such as /dev/stdout or /dev/fd/3 stands for, also through links.
[[nodiscard]] std::optional<int> descriptor_named(const std::string& path);

/// What stands at a place.
enum class target_kind {
    nothing,
    file,
    stream, // a pipe, a device, a terminal: written to as it is
};

/// Throws `std::runtime_error` for what no report can be written to: a folder, a link that leads
/// nowhere, a file that is read-only.
[[nodiscard]] target_kind kind_of_target(const std::string& path);

/// Throws `std::runtime_error` where the file at `target` is one of `inputs`, or a header or volume
/// beside the first of them. Names that are empty are left out.
void refuse_inputs(const std::string& target, std::span<const std::string> inputs);

/// Gives the file at `path` the permissions of another, and its owner where this user may.
void take_over_permissions(const std::string& path, const std::string& from);

} // namespace cw::console
