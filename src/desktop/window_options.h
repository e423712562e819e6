// The window program's own options; every other argument belongs to the application.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace cw {

struct window_options {
    bool show_help = false;
    bool show_version = false;
    /// Where to write a picture of the window; empty for an ordinary run.
    std::u16string picture_path;
    /// What the application gets.
    std::vector<std::u16string> arguments;
    /// One line for people; empty where all is well.
    std::string error;
};

/// Reads the arguments behind the program's name. All are read, also behind an error.
[[nodiscard]] window_options parse_window_options(std::span<const char* const> arguments);

/// What "--help" prints.
[[nodiscard]] const char* window_help_text() noexcept;

} // namespace cw
