// `cwcab session`: a session over standard input and output.

#include "console/commands.h"
#include "console/headless_application.h"
#include "console/session.h"
#include "platform/ini_document.h"
#include "platform/ini_user_settings.h"
#include "platform/memory_user_settings.h"
#include "platform/services.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace cw::console {
namespace {

struct session_options {
    std::string settings_file;
    bool json = false;
};

/// Throws where the file is there and cannot be read: its settings would be neither used nor kept, and
/// nobody would be told.
std::unique_ptr<platform::user_settings> settings_of(const std::string& file)
{
    std::error_code failure;
    if (!platform::read_whole_file(file, platform::longest_user_settings_in_bytes) &&
        std::filesystem::exists(file, failure))
        throw std::runtime_error(file + ": the settings cannot be read");
    return std::make_unique<platform::ini_user_settings>(file);
}

int run_session(const session_options& options)
{
    // Nothing of the person's own settings is read or changed.
    std::unique_ptr<platform::user_settings> settings;
    if (options.settings_file.empty())
        settings = std::make_unique<platform::memory_user_settings>();
    else
        settings = settings_of(options.settings_file);
    platform::services services = platform::current();
    services.user = settings.get();
    const platform::scoped_services in_use(services);

    headless_application viewer;
    session driven(viewer, std::cout, options.json ? session::form::json : session::form::text);
    for (std::string line; !driven.is_closed() && std::cout && std::getline(std::cin, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        driven.take(line);
    }
    return exit_done;
}

} // namespace

void add_session_command(CLI::App& app, action& chosen)
{
    auto options = std::make_shared<session_options>();
    CLI::App* command = app.add_subcommand("session", "Use the viewer line by line, from standard input");
    command->add_flag("--json", options->json, "Answer each line with one line of JSON");
    command->add_option("--settings", options->settings_file,
                        "An INI file to keep the user's settings in; without it nothing is kept");
    command->callback([options, &chosen] { chosen = [options] { return run_session(*options); }; });
}

} // namespace cw::console
