// Makes an installation log of what the package manager dpkg did on a machine, for `cwcab import-dpkg`.
// docs/log-format.md tells what becomes of what.
#pragma once

#include <cstdint>
#include <filesystem>

namespace cw::authoring {

struct dpkg_import_result {
    std::uint64_t packages = 0;
    std::uint64_t files = 0; // folders included
    std::uint64_t actions = 0;
};

/// Reads the records below `root` and makes the log, which appears whole or not at all. A file that is
/// there is an `error`, or replaced where `replace` says so.
dpkg_import_result import_dpkg(const std::filesystem::path& root, const std::filesystem::path& log, bool replace);

} // namespace cw::authoring
