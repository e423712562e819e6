// What the package manager dpkg keeps of its work below a root folder: the packages that it knows,
// their files, and its diary. The importer of logs reads it. Bytes that are no UTF-8 come as U+FFFD.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cw::authoring {

struct dpkg_package {
    std::string name;
    std::string architecture;
    std::map<std::string, std::string, std::less<>> fields; // as written; further lines behind '\n'

    /// "name:architecture", as dpkg's diary calls it.
    [[nodiscard]] std::string identifier() const { return name + ":" + architecture; }
    /// Empty where there is no such field.
    [[nodiscard]] std::string_view field(std::string_view field_name) const;
    /// Whether it is there, and not just known of.
    [[nodiscard]] bool is_installed() const;
};

/// The packages in the order of `var/lib/dpkg/status`. Throws `error` where that cannot be read or is
/// not what it should be.
[[nodiscard]] std::vector<dpkg_package> read_dpkg_packages(const std::filesystem::path& root);

/// What the package brought, files and folders, each as an absolute path that does not name the root;
/// empty where dpkg has no list of it.
[[nodiscard]] std::vector<std::string> read_dpkg_file_list(const std::filesystem::path& root,
                                                           const dpkg_package& package);
/// Its configuration files, as absolute paths; they stay behind when it is removed.
[[nodiscard]] std::vector<std::string> read_dpkg_configuration_files(const std::filesystem::path& root,
                                                                     const dpkg_package& package);

/// One line of the diary.
struct dpkg_action {
    std::string moment;  // "2025-06-24 14:36:25"
    std::string action;  // "install"
    std::string subject; // "name:architecture", or whatever the action is about
    std::string details; // the rest of the line
};

/// Visits the lines of `var/log/dpkg.log` and of its older parts, packed or not, oldest first. Lines of
/// any other form are passed over. Throws `error` for a part that cannot be read; none at all is none.
void for_each_dpkg_action(const std::filesystem::path& root, const std::function<void(const dpkg_action&)>& visit);

/// The value of a line "KEY=value", without quotes around it; of a file in sections, within the first
/// one. Empty where there is none, or no such file.
[[nodiscard]] std::string read_setting(const std::filesystem::path& file, std::string_view key);

} // namespace cw::authoring
