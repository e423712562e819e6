#include "console/view_options.h"

#include "app/menus.h"
#include "app/view_filters.h"
#include "platform/utf8.h"

#include <CLI/CLI.hpp>

#include <vector>

namespace cw::console {

void add_view_options(CLI::App& command, view_options& options)
{
    std::vector<std::string> views;
    for (const view_filter& filter : view_filters())
        views.push_back(platform::to_utf8(filter.name));
    command.add_option("--view", options.view, "Which subject of a media to show")
        ->check(CLI::IsMember(views))
        ->capture_default_str();
    command.add_flag("--expert", options.expert, "Show the installer's internal groups too");
}

std::optional<std::u16string> choose_view(headless_application& viewer, const view_options& options)
{
    std::optional<std::u16string> failure;
    if (options.expert)
        failure = viewer.run_command(ID_VIEW_EXPERT_MODE);
    for (const view_filter& filter : view_filters())
        if (!failure && filter.name != viewer.frame().ViewFilter() && platform::to_utf8(filter.name) == options.view)
            failure = viewer.run_command(filter.command_id);
    return failure;
}

} // namespace cw::console
