// Opens what a command was given, with the password that it takes.
#pragma once

#include "console/headless_application.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace cw::console {

/// The option `--password-file` of a command that opens a file; empty where it was not given.
void add_password_option(CLI::App& command, std::string& password_file);

/// Opens `file`, an argument of the command line, in a viewer that has opened nothing yet. A media
/// that needs a password gets the one in the first line of `password_file`, or where that is empty
/// one that is asked for at the terminal, three times at most. None where it is open; otherwise why
/// not, in one line. Throws as `absolute_path` and `read_password` do.
[[nodiscard]] std::optional<std::u16string> open_input(headless_application& viewer, const std::string& file,
                                                       const std::string& password_file);

} // namespace cw::console
