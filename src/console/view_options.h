// Which part of an open input a command shows.
#pragma once

#include "console/headless_application.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace cw::console {

struct view_options {
    std::string view = "All";
    bool expert = false;
};

/// Adds `--view` and `--expert` to a command; `options` must outlive the parse.
void add_view_options(CLI::App& command, view_options& options);

/// Chooses the view as a person would, and like for a person it means nothing where a log is open.
/// None where it went well; otherwise what went wrong, in one line.
[[nodiscard]] std::optional<std::u16string> choose_view(headless_application& viewer, const view_options& options);

} // namespace cw::console
