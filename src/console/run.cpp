#include "console/commands.h"
#include "console/safe_text.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

namespace cw::console {

namespace {

/// What was written may wait in a buffer until here.
int status_of_output(int status)
{
    std::cout.flush();
    if (std::cout)
        return status;
    std::cerr << "cwcab: standard output cannot be written\n";
    return exit_failed;
}

} // namespace

int run(int argument_count, const char* const* arguments)
{
    CLI::App app("Cratewright Cabinet and Log File Viewer, without a window", "cwcab");
    app.set_version_flag("--version", "cwcab " CW_VERSION);
    app.require_subcommand(1);
    action chosen;
    add_tree_command(app, chosen);
    add_show_command(app, chosen);
    add_session_command(app, chosen);
    add_build_command(app, chosen);
    add_extract_command(app, chosen);
    add_report_command(app, chosen);
    add_record_command(app, chosen);
    add_import_dpkg_command(app, chosen);
    add_readers_command(app, chosen);
    try {
        app.parse(argument_count, arguments);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
            return status_of_output(app.exit(error)); // help or version
        std::cerr << "cwcab: " << terminal_text(platform::from_utf8(error.what())) << " (see cwcab --help)\n";
        return exit_wrong_usage;
    }
    try {
        return status_of_output(chosen());
    } catch (const std::exception& error) {
        std::cerr << "cwcab: " << terminal_text(platform::from_utf8(error.what())) << '\n';
        return exit_failed;
    }
}

} // namespace cw::console
