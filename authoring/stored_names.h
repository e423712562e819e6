// The names that files bear inside of volumes. A volume can be unpacked by any cabinet tool on any
// system, so a name must be harmless everywhere and there only once; the name that the header gives
// a file is another matter and stays as it is.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace cw::authoring {

/// Whether the bytes are well-formed UTF-8.
[[nodiscard]] bool is_utf8(std::string_view text);

/// "Component\folder\file", UTF-8: relative, never climbing, without control characters, drive
/// letters, and what one system or another refuses; at most 255 bytes, cut at a code point. Both
/// arguments are any bytes; either separator divides a file name.
[[nodiscard]] std::string stored_name(std::string_view component, std::string_view file_name);

/// A name with something put before its extension, within 255 bytes. `addition` is short ASCII.
[[nodiscard]] std::string with_addition(std::string_view name, std::string_view addition);

/// The names of one volume.
class stored_name_set {
public:
    /// The name itself, or the next free form of it where another case of it is there already or
    /// where it would be a file and a folder at once.
    [[nodiscard]] std::string add(std::string_view name);
    void clear();

private:
    // Names in lower case.
    [[nodiscard]] bool is_under_a_file(const std::string& name) const;
    bool take(const std::string& name);

    std::unordered_set<std::string> m_files;
    std::unordered_set<std::string> m_folders;
    std::unordered_map<std::string, unsigned> m_lastNumber;
};

} // namespace cw::authoring
