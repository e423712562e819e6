// The companion's commands. Each adds itself to the command line and is run when it was chosen.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace cw::console {

inline constexpr int exit_done = 0;
inline constexpr int exit_failed = 1;
inline constexpr int exit_wrong_usage = 2;

/// What a chosen command does; answers the exit status.
using action = std::function<int()>;

/// Each adds a command to `app`; where it is the chosen one, parsing stores what to do in `chosen`.
void add_tree_command(CLI::App& app, action& chosen);
void add_show_command(CLI::App& app, action& chosen);
void add_session_command(CLI::App& app, action& chosen);
void add_build_command(CLI::App& app, action& chosen);
void add_extract_command(CLI::App& app, action& chosen);
void add_report_command(CLI::App& app, action& chosen);
void add_record_command(CLI::App& app, action& chosen);
void add_import_dpkg_command(CLI::App& app, action& chosen);
void add_readers_command(CLI::App& app, action& chosen);

/// Runs the companion with the arguments behind the program's name; answers the exit status.
int run(int argument_count, const char* const* arguments);

} // namespace cw::console
