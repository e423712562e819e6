#include "app/application.h"

#include "app/menus.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

std::size_t place_of(const frame_harness& program, std::u16string_view call)
{
    const auto& calls = program.toolkit_calls.calls();
    return static_cast<std::size_t>(std::ranges::find(calls, call) - calls.begin());
}

TEST(application, comes_up_in_its_fixed_order)
{
    frame_harness program;
    EXPECT_TRUE(program.start());
    EXPECT_EQ(program.calls,
              (lines{"enable_control_container null", "ole_init", "init_common_controls 8 255", "base_init_instance",
                     "set_registry_key Cratewright", "create_frame", "arguments"}));
}

TEST(application, reads_the_recent_list_before_the_frame_is_made)
{
    frame_harness program;
    program.settings.write_text(u"Recent File List", u"File1", u"C:\\first.hdr");
    program.settings.write_text(u"Recent File List", u"File16", u"C:\\last.hdr");
    program.settings.write_text(u"Recent File List", u"File17", u"C:\\beyond.hdr");
    program.on_call = [&](std::string_view call) {
        if (call.starts_with("set_registry_key")) {
            EXPECT_EQ(program.application().RecentFiles(), nullptr);
        }
        if (call == "create_frame") {
            EXPECT_EQ(program.recent(), (std::vector<std::u16string>{u"C:\\first.hdr", u"C:\\last.hdr"}));
            EXPECT_EQ(program.application().MainWindow(), nullptr);
        }
    };
    EXPECT_TRUE(program.start());
    EXPECT_EQ(program.application().RecentFiles()->GetSize(), 16u);
    EXPECT_EQ(program.application().RecentFiles()->GetFirstIndex(), 0u);
}

TEST(application, reads_the_command_line_between_making_and_showing_the_frame)
{
    frame_harness program;
    program.on_call = [&](std::string_view call) {
        if (call != "arguments")
            return;
        EXPECT_TRUE(program.frame().HasWindow());
        EXPECT_EQ(place_of(program, u"show_window 5"), program.toolkit_calls.calls().size());
    };
    EXPECT_TRUE(program.start());
    EXPECT_EQ(place_of(program, u"update_window"), place_of(program, u"show_window 5") + 1);
}

TEST(application, shows_an_empty_frame_without_an_argument)
{
    frame_harness program;
    EXPECT_TRUE(program.start());
    EXPECT_EQ(program.toolkit_calls.calls().back(), u"update_window");
    EXPECT_EQ(tree_of(program.frame()), "");
    EXPECT_TRUE(program.frame().OpenPath().empty());
}

TEST(application, opens_the_argument_after_the_frame_was_shown)
{
    frame_harness program;
    const std::u16string path = program.write(R"({"media": {"Features": [{"Name": "Main"}]}})");
    EXPECT_TRUE(program.start({path}));
    EXPECT_LT(place_of(program, u"update_window"), place_of(program, u"set_title " + path));
    EXPECT_EQ(tree_of(program.frame(), "Features"), "Features\n  Main\n");
    EXPECT_EQ(program.recent(), (std::vector<std::u16string>{path}));
}

TEST(application, stays_up_and_empty_where_the_argument_does_not_open)
{
    frame_harness program;
    const std::u16string path = program.folder.wide_file("absent.hdr");
    EXPECT_TRUE(program.start({path}));
    EXPECT_TRUE(program.frame().HasWindow());
    EXPECT_EQ(program.person.take_messages().size(), 1u);
    EXPECT_EQ(tree_of(program.frame()), "");
    EXPECT_EQ(rows_of(program.frame()), lines{});
    EXPECT_EQ(program.frame().GetTitle(), path);
}

TEST(application, outlives_an_error_while_the_argument_is_opened)
{
    frame_harness program;
    const std::u16string path = program.write(R"({"media": {"Features": {"fail": "0x80004005"}}})");
    EXPECT_TRUE(program.start({path}));
    EXPECT_EQ(program.take_unhandled().size(), 1u);
    EXPECT_TRUE(program.frame().HasWindow());
}

TEST(application, opens_nothing_for_any_other_shell_command)
{
    for (const char16_t* option : {u"-p", u"-pt", u"-dde"}) {
        frame_harness program;
        EXPECT_TRUE(program.start({option, program.write(R"({"media": {}})")}));
        EXPECT_TRUE(program.frame().OpenPath().empty());
        EXPECT_EQ(tree_of(program.frame()), "");
    }
}

TEST(application, does_not_look_at_what_the_platform_answers)
{
    frame_harness program;
    program.host_answers = false;
    EXPECT_TRUE(program.start());
    EXPECT_TRUE(program.frame().HasWindow());
}

TEST(application, ends_quietly_where_the_frame_cannot_be_allocated)
{
    frame_harness program;
    program.frame_can_be_made = false;
    EXPECT_FALSE(program.start({u"/a.hdr"}));
    EXPECT_EQ(program.calls.back(), "create_frame");
    EXPECT_TRUE(program.toolkit_calls.calls().empty());
    EXPECT_TRUE(program.person.take_messages().empty());
    EXPECT_EQ(program.application().ExitInstance(), 0);
}

TEST(application, goes_on_where_the_window_cannot_be_made)
{
    frame_harness program;
    program.toolkit_calls.fail(u"create_window");
    const std::u16string path = program.write(R"({"media": {"Features": [{"Name": "Main"}]}})");
    EXPECT_TRUE(program.start({path}));
    EXPECT_FALSE(program.frame().HasWindow());
    EXPECT_EQ(tree_of(program.frame(), "Features"), "Features\n  Main\n");
}

TEST(application, shows_the_about_box)
{
    frame_harness program;
    program.start();
    EXPECT_TRUE(program.frame().UpdateCommand(ID_APP_ABOUT).enabled().value());
    EXPECT_TRUE(program.frame().RunCommand(57664));
    EXPECT_EQ(program.person.about_count(), 1);
}

TEST(application, closes_the_frame_on_exit)
{
    frame_harness program;
    program.start();
    EXPECT_TRUE(program.frame().UpdateCommand(ID_APP_EXIT).enabled().value());
    EXPECT_TRUE(program.frame().RunCommand(57665));
    EXPECT_FALSE(program.frame().HasWindow());
}

TEST(application, takes_no_other_command)
{
    frame_harness program;
    program.start();
    for (const std::uint32_t id : {0u, 57662u, 57666u, 1u})
        EXPECT_FALSE(program.frame().RunCommand(id)) << id;
}

TEST(application, writes_the_recent_list_when_the_session_is_gone)
{
    frame_harness program;
    program.start();
    const std::u16string path = program.write(R"({"media": {}})");
    program.open(path);
    const auto stored = [&] { return program.settings.read_text(u"Recent File List", u"File1", u""); };
    bool session_ended = false;
    {
        const auto media = scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; });
        frame_access::media(program.frame()) = media;
        media->on_release = [&] {
            session_ended = true;
            EXPECT_EQ(stored(), u"");
        };
        program.frame().Close();
        EXPECT_EQ(program.application().ExitInstance(), 0);
        EXPECT_TRUE(session_ended);
        media->on_release = nullptr;
    }
    EXPECT_EQ(program.application().MainWindow(), nullptr);
    EXPECT_EQ(stored(), path);
}

} // namespace
} // namespace cw
