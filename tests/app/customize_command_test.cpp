#include "app/main_frame.h"
#include "app/menus.h"
#include "tests/support/frame_harness.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using calls = std::vector<std::u16string>;

constexpr key_message f7{0x76};

TEST(customize_command, puts_the_sheet_together_and_shows_it)
{
    frame_harness program;
    program.start();
    program.toolkit_calls.offer_customize_sheet();
    program.toolkit_calls.forget_calls();
    EXPECT_TRUE(program.frame().RunCommand(ID_CUSTOMIZE));
    EXPECT_EQ(program.toolkit_calls.calls(),
              (calls{u"make_customize_sheet", u"add_keyboard_page 5", u"add_options_page", u"add_categories 5",
                     u"insert_all_commands_category All Commands -1", u"insert_built_in_menus 5 Built-in Menus -1",
                     u"insert_new_menu_category New Menu -1", u"run_modal", u"destroy_customize_sheet"}));
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST(customize_command, does_nothing_without_command_bars)
{
    frame_harness program;
    program.start();
    program.toolkit_calls.forget_calls();
    EXPECT_TRUE(program.frame().RunCommand(ID_CUSTOMIZE));
    EXPECT_EQ(program.toolkit_calls.calls(), calls{u"make_customize_sheet"});
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST(customize_command, is_always_enabled_and_stands_in_no_menu)
{
    frame_harness program;
    program.start();
    EXPECT_TRUE(program.frame().UpdateCommand(ID_CUSTOMIZE).enabled().value_or(false));
    for (const menu_item& popup : main_menu())
        for (const menu_item& item : popup.popup)
            EXPECT_NE(item.id, ID_CUSTOMIZE);
}

TEST(customize_command, what_was_changed_is_there_at_the_next_start)
{
    frame_harness first;
    first.start();
    EXPECT_FALSE(first.frame().KeyDown(f7));
    first.frame().CommandBars().assign_key(f7, ID_FILE_OPEN);
    ASSERT_TRUE(first.frame().CommandBars().set_tool_bars(
        {{u"Mine", true, {tool_item::command(ID_TOOLS_REPORT), tool_item::popup(u"&Recent Files")}}}));
    first.frame().Close();

    frame_harness second;
    second.settings = first.settings;
    second.start();
    EXPECT_EQ(second.frame().CommandBars().tool_bars(), first.frame().CommandBars().tool_bars());
    EXPECT_TRUE(second.frame().KeyDown(f7));
    EXPECT_EQ(second.person.take_questions().size(), 1u);
}

TEST(customize_command, nothing_is_kept_where_nothing_was_changed)
{
    frame_harness program;
    program.start();
    program.frame().Close();
    EXPECT_EQ(program.settings.read_text(u"CommandBars", u"State", u"none"), u"none");
}

TEST(customize_command, a_damaged_state_starts_with_the_programs_own)
{
    frame_harness program;
    program.settings.write_text(u"CommandBars", u"State", u"{\"version\":1,");
    program.start();
    EXPECT_EQ(program.frame().CommandBars().accelerators().size(), main_accelerators().size());
    EXPECT_TRUE(program.frame().CommandBars().tool_bars().empty());
    EXPECT_TRUE(program.take_unhandled().empty());
    program.frame().CommandBars().reset();
    program.frame().Close();
    EXPECT_EQ(program.settings.read_text(u"CommandBars", u"State", u"none"), u"none");
}

TEST(customize_command, a_state_that_was_not_touched_stays)
{
    frame_harness program;
    program.start();
    program.settings.write_text(u"CommandBars", u"State", u"of another window");
    program.frame().Close();
    EXPECT_EQ(program.settings.read_text(u"CommandBars", u"State", u"none"), u"of another window");
}

TEST(customize_command, keys_of_the_message_filter_stay_what_they_are)
{
    frame_harness program;
    program.start();
    const CMainFrame& frame = program.frame();
    EXPECT_EQ(frame.FilteredCommand({'O', true}), ID_FILE_OPEN);
    EXPECT_EQ(frame.FilteredCommand({'O', true, true, true}), ID_FILE_OPEN);
    EXPECT_EQ(frame.FilteredCommand({0x6F, true}), ID_FILE_OPEN) << "the keypad's slash";
    EXPECT_EQ(frame.FilteredCommand({'S', true}), ID_FILE_SAVE);
    EXPECT_EQ(frame.FilteredCommand({0x73, true}), ID_FILE_SAVE) << "F4";
    EXPECT_EQ(frame.FilteredCommand({0x72}), ID_SEARCH_FIND_NEXT);
    EXPECT_EQ(frame.FilteredCommand({0x72, true, true, true}), ID_SEARCH_FIND_NEXT);
    EXPECT_EQ(frame.FilteredCommand({'O'}), 0u);
    EXPECT_EQ(frame.FilteredCommand({'P', true}), 0u);

    program.frame().CommandBars().remove_key({'S', true});
    EXPECT_FALSE(program.frame().KeyDown({'S', true}));
    EXPECT_EQ(program.person.take_questions().size(), 1u) << "where to save, from the filter";
    program.frame().CommandBars().assign_key({'O', true}, ID_APP_ABOUT);
    EXPECT_TRUE(program.frame().KeyDown({'O', true}));
    EXPECT_EQ(program.person.take_questions().size(), 1u);
    EXPECT_EQ(program.person.about_count(), 1);
}

} // namespace
} // namespace cw
