// The text of an INI file, line by line: entries can be read and changed, and everything that is not
// understood stays where it is. For the settings of machine and user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::platform {

class ini_document {
public:
    /// One `name=value` line; `section` is empty before the first `[section]`.
    struct entry {
        std::string_view section;
        std::string_view name;
        std::string_view value;
    };

    ini_document() = default;
    /// Any bytes at all. A byte order mark of UTF-8 is skipped.
    explicit ini_document(std::string_view bytes);

    /// In the order of the file, blanks around names and values cut off. Valid until a change.
    [[nodiscard]] std::vector<entry> entries() const;
    /// The value of the last entry of that name, by exact names.
    [[nodiscard]] std::optional<std::string> find(std::string_view section, std::string_view name) const;
    /// Changes the last entry of that name, or adds one at the end of the section.
    void set(std::string_view section, std::string_view name, std::string_view value);
    /// Removes every entry of that name; the section's line stays.
    void remove(std::string_view section, std::string_view name);
    /// The whole text, each line with its line feed.
    [[nodiscard]] std::string to_bytes() const;

private:
    // Small: a file that is no settings file at all can be millions of lines.
    struct line {
        std::string text;
        std::uint32_t section; // the place in `m_sections` of the section that the line stands in or opens
        bool is_entry;
    };
    [[nodiscard]] entry entry_of(const line& each) const;
    [[nodiscard]] bool is_named(const line& each, std::string_view section, std::string_view name) const;
    [[nodiscard]] std::vector<line>::iterator find_line(std::string_view section, std::string_view name);

    std::vector<std::string> m_sections{std::string()};
    std::vector<line> m_lines;
};

/// The bytes of a regular file of at most that length; nothing where there is none or it cannot be read.
/// Never waits: what stands in the place of settings may be a pipe.
[[nodiscard]] std::optional<std::string> read_whole_file(const std::string& path, std::size_t longest_in_bytes);

} // namespace cw::platform
