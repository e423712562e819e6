// `cwcab import-dpkg`: makes an installation log of what the machine's package manager did.

#include "authoring/dpkg_import.h"
#include "console/commands.h"
#include "console/safe_text.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <string>

namespace cw::console {
namespace {

struct import_arguments {
    std::string log;
    std::string root = "/";
    bool force = false;
};

int import_packages(const import_arguments& arguments)
{
    const authoring::dpkg_import_result result = authoring::import_dpkg(arguments.root, arguments.log, arguments.force);
    std::cout << terminal_text(platform::from_utf8(arguments.log)) << ": " << result.packages << " packages, "
              << result.files << " files, " << result.actions << " actions\n";
    return exit_done;
}

} // namespace

void add_import_dpkg_command(CLI::App& app, action& chosen)
{
    auto arguments = std::make_shared<import_arguments>();
    CLI::App* command =
        app.add_subcommand("import-dpkg", "Make an installation log of what the package manager dpkg did");
    command->add_option("FILE", arguments->log, "The log to make")->required();
    command->add_option("--root", arguments->root, "The folder that the machine's files lie below")
        ->capture_default_str();
    command->add_flag("--force", arguments->force, "Replace a file that is there");
    command->callback([arguments, &chosen] { chosen = [arguments] { return import_packages(*arguments); }; });
}

} // namespace cw::console
