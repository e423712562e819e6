// `cwcab show`: the list that the window would show for an item of the tree.

#include "console/commands.h"
#include "console/headless_application.h"
#include "console/index_path.h"
#include "console/list_output.h"
#include "console/open_input.h"
#include "console/safe_text.h"
#include "console/view_options.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

namespace cw::console {
namespace {

struct show_options {
    std::string file;
    std::string password_file;
    std::string at;
    view_options view;
    bool json = false;
};

int failed(const show_options& options, const std::u16string& why)
{
    std::cout.flush();
    std::cerr << "cwcab: " + terminal_text(platform::from_utf8(options.file)) + ": " + terminal_text(why) + "\n";
    return exit_failed;
}

int show_list(const show_options& options)
{
    headless_application viewer;
    CMainFrame& frame = viewer.frame();
    auto failure = open_input(viewer, options.file, options.password_file);
    if (!failure)
        failure = choose_view(viewer, options.view);
    // A tree that is there in part can still be looked at.
    if (failure && !frame.Tree().GetRootItem())
        return failed(options, *failure);
    if (!options.at.empty()) {
        const HTREEITEM item = item_at(frame.Tree(), parse_index_path(options.at).value());
        if (!item)
            return failed(options, failure ? *failure : u"no item at " + platform::from_utf8(options.at));
        if (const auto unhandled = viewer.select(item); unhandled && !failure)
            failure = unhandled;
    }
    if (options.json) {
        std::cout << '{';
        write_list_fields(std::cout, frame.List());
        std::cout << "}\n";
    } else {
        print_list(std::cout, frame.List());
    }
    return failure ? failed(options, *failure) : exit_done;
}

std::string check_index_path(const std::string& text)
{
    return parse_index_path(text) ? std::string{} : text + " is no path of places such as 0/2/1";
}

} // namespace

void add_show_command(CLI::App& app, action& chosen)
{
    auto options = std::make_shared<show_options>();
    CLI::App* command = app.add_subcommand("show", "Print the list that the window would show for a tree item");
    command->add_option("FILE", options->file, "A setup media (.hdr, .cab) or an installation log (.clg)")->required();
    command->add_option("--at", options->at, "The item by its places in the tree, counted from 0, such as 0/2/1")
        ->check(CLI::Validator(check_index_path, "PLACES"));
    add_view_options(*command, options->view);
    add_password_option(*command, options->password_file);
    command->add_flag("--json", options->json, "Print one line of JSON");
    command->callback([options, &chosen] { chosen = [options] { return show_list(*options); }; });
}

} // namespace cw::console
