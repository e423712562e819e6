#include "console/view_options.h"

#include "app/view_filters.h"
#include "platform/utf8.h"
#include "tests/console/console_support.h"
#include "tests/support/frame_pictures.h"

#include <CLI/CLI.hpp>
#include <gtest/gtest.h>

namespace cw::console {
namespace {

using namespace console_tests;

TEST(view_options, are_read_from_the_command_line)
{
    view_options options;
    CLI::App command;
    add_view_options(command, options);
    command.parse("--view MediaSettings --expert");
    EXPECT_EQ(options.view, "MediaSettings");
    EXPECT_TRUE(options.expert);
}

TEST(view_options, are_all_and_plain_without_a_word)
{
    view_options options;
    CLI::App command;
    add_view_options(command, options);
    command.parse("");
    EXPECT_EQ(options.view, "All");
    EXPECT_FALSE(options.expert);
}

TEST(view_options, take_the_seven_views_to_the_letter)
{
    for (const view_filter& filter : view_filters()) {
        view_options options;
        CLI::App command;
        add_view_options(command, options);
        EXPECT_NO_THROW(command.parse("--view " + platform::to_utf8(filter.name)));
    }
    for (const char* view : {"features", "", "all", "Setup Types", "Logs"}) {
        view_options options;
        CLI::App command;
        add_view_options(command, options);
        EXPECT_THROW(command.parse(std::vector<std::string>{view, "--view"}), CLI::ParseError) << view;
    }
}

class chosen_view : public console_test {
protected:
    /// The tree that `tree` prints with these options.
    std::string tree_with(std::vector<std::string> options)
    {
        const std::string file = write(R"({"media": {"Features": [{"Name": "Main"}, {"Name": "x<Support>"}],
            "RegistrySets": [{"Name": "Default:Set"}]}})");
        options.insert(options.begin(), {"tree", file});
        const outcome ran = run_program(options);
        EXPECT_EQ(ran.status, 0) << ran.error;
        return ran.out;
    }
};

TEST_F(chosen_view, shows_one_subject)
{
    EXPECT_EQ(tree_with({"--view", "Features"}), "Features\n  Main\n");
    EXPECT_EQ(tree_with({"--view", "MediaSettings"}), "Media Settings\n");
    EXPECT_EQ(tree_with({"--view", "ShellObjects"}), "Explorer Shell\n");
}

TEST_F(chosen_view, goes_with_expert_mode)
{
    EXPECT_EQ(tree_with({"--view", "Features", "--expert"}), "Features\n  Main\n  x<Support>\n");
    EXPECT_EQ(tree_with({"--expert", "--view", "RegistrySets"}).substr(0, 34), "Registry Entries\n  Default:Set\n   ");
}

TEST_F(chosen_view, tells_what_failed)
{
    const std::string file =
        write(R"({"media": {"Features": [{"Name": "Main"}], "ShellFolders": [{"Name": {"fail": "0x80070005"}}]}})");
    const outcome ran = run_program({"tree", file, "--view", "ShellObjects"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.error.find("0x80070005"), std::string::npos) << ran.error;
}

} // namespace
} // namespace cw::console
