// `cwcab tree`: the tree that the window would show.

#include "console/commands.h"
#include "console/headless_application.h"
#include "console/open_input.h"
#include "console/safe_text.h"
#include "console/tree_output.h"
#include "console/view_options.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

namespace cw::console {
namespace {

struct tree_options {
    std::string file;
    std::string password_file;
    view_options view;
    bool json = false;
};

int show_tree(const tree_options& options)
{
    headless_application viewer;
    auto failure = open_input(viewer, options.file, options.password_file);
    CMainFrame& frame = viewer.frame();
    if (!failure)
        failure = choose_view(viewer, options.view);
    if (!failure || frame.Tree().GetRootItem()) {
        if (options.json)
            print_tree_json(std::cout, frame.Tree(), frame.NavNodes());
        else
            print_tree(std::cout, frame.Tree());
    }
    if (!failure)
        return exit_done;
    std::cout.flush();
    // In one piece: other programs may write to the same terminal.
    std::cerr << "cwcab: " + terminal_text(platform::from_utf8(options.file)) + ": " + terminal_text(*failure) + "\n";
    return exit_failed;
}

} // namespace

void add_tree_command(CLI::App& app, action& chosen)
{
    auto options = std::make_shared<tree_options>();
    CLI::App* command = app.add_subcommand("tree", "Print the tree that the window would show");
    command->add_option("FILE", options->file, "A setup media (.hdr, .cab) or an installation log (.clg)")->required();
    add_view_options(*command, options->view);
    command->add_flag("--json", options->json, "Print one line of JSON");
    add_password_option(*command, options->password_file);
    command->callback([options, &chosen] { chosen = [options] { return show_tree(*options); }; });
}

} // namespace cw::console
