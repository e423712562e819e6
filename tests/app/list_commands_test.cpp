#include "app/main_frame.h"

#include "app/menus.h"
#include "app/sort_order.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

class list_commands : public testing::Test {
protected:
    list_commands()
    {
        current_sort_order() = {};
        program.start();
    }
    ~list_commands() override { current_sort_order() = {}; }
    CMainFrame& frame() { return program.frame(); }
    CListCtrl& list() { return frame().List(); }
    bool is_enabled(std::uint32_t id) { return frame().UpdateCommand(id).enabled().value(); }
    void open_files()
    {
        program.open_media(R"("Components": [{"Name": "Program", "Files": [
            {"Name": "b.txt", "Size": 9}, {"Name": "B.txt", "Size": 10}, {"Name": "a.txt", "Size": 10, "Version": "1.0"},
            {"Name": "b.txt", "Size": 8}]}])");
        select(frame(), "Components/Program/Files");
    }
    std::string names()
    {
        std::string joined;
        for (const std::string& row : rows_of(frame()))
            joined += row.substr(0, row.find(" | ")) + " ";
        return joined;
    }
    std::string sizes()
    {
        std::string joined;
        for (const std::string& row : rows_of(frame())) {
            const std::size_t start = row.find(" | ") + 3;
            joined += row.substr(start, row.find(" | ", start) - start) + " ";
        }
        return joined;
    }

    scripted_log_library log;
    frame_harness program;
};

TEST_F(list_commands, copy_puts_the_selected_row_on_the_clipboard)
{
    program.open_media(R"("RegistrySets": [{"Name": "Set", "LocalMachineKeys": [{"Path": "Key", "Values": [
        {"Name": "One", "Data": ""}, {"Name": "Two", "Data": "x y", "Uninstall": true}]}]}])");
    select(frame(), "Registry Entries/Set/HKEY_LOCAL_MACHINE/Key");
    EXPECT_FALSE(program.person.clipboard().has_value());
    list().SelectRow(1);
    EXPECT_TRUE(frame().RunCommand(ID_EDIT_COPY_ROW));
    EXPECT_EQ(program.person.clipboard(), u"One\t\tNo");
    list().SelectRow(2);
    EXPECT_TRUE(frame().RunCommand(ID_EDIT_COPY_ROW));
    EXPECT_EQ(program.person.clipboard(), u"Two\tx y\tYes");
}

TEST_F(list_commands, copy_of_nothing_leaves_the_clipboard)
{
    open_files();
    list().SelectRow(0);
    frame().RunCommand(ID_EDIT_COPY_ROW);
    const auto before = program.person.clipboard();
    ASSERT_TRUE(before.has_value());
    // No row is selected.
    list().SelectRow(CListCtrl::no_row);
    EXPECT_TRUE(frame().RunCommand(ID_EDIT_COPY_ROW));
    EXPECT_EQ(program.person.clipboard(), before);
    // No row is there.
    select(frame(), "Components");
    EXPECT_TRUE(frame().RunCommand(ID_EDIT_COPY_ROW));
    EXPECT_EQ(program.person.clipboard(), before);
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(list_commands, copy_and_report_are_enabled_while_something_is_open)
{
    EXPECT_FALSE(is_enabled(ID_EDIT_COPY_ROW));
    EXPECT_FALSE(is_enabled(ID_TOOLS_REPORT));
    EXPECT_FALSE(frame().RunCommand(ID_EDIT_COPY_ROW));
    EXPECT_FALSE(frame().UpdateCommand(ID_EDIT_COPY_ROW).checked().has_value());
    program.open_media("");
    EXPECT_TRUE(is_enabled(ID_EDIT_COPY_ROW));
    EXPECT_TRUE(is_enabled(ID_TOOLS_REPORT));
    EXPECT_FALSE(frame().UpdateCommand(ID_EDIT_COPY_ROW).checked().has_value());
}

TEST_F(list_commands, with_a_log_open_copy_and_report_alone_are_enabled)
{
    program.libraries.add("LogKit.dll", &scripted_log_library::entry_point);
    program.open(u"C:\\setup.clg");
    EXPECT_TRUE(is_enabled(ID_EDIT_COPY_ROW));
    EXPECT_TRUE(is_enabled(ID_TOOLS_REPORT));
    for (std::uint32_t id = ID_VIEW_FEATURES; id <= ID_VIEW_EXPERT_MODE; ++id)
        EXPECT_FALSE(is_enabled(id)) << id;
    EXPECT_FALSE(is_enabled(ID_VIEW_ALL));
}

TEST_F(list_commands, the_context_menu_needs_a_selected_row)
{
    open_files();
    list().RightClick();
    EXPECT_TRUE(program.person.take_menus().empty());
    list().SelectRow(2);
    list().RightClick();
    EXPECT_EQ(program.person.take_menus(), (std::vector<std::vector<std::uint32_t>>{{ID_EDIT_COPY_ROW}}));
}

TEST_F(list_commands, notifications_are_heard_by_their_control_ids)
{
    open_files();
    list().SelectRow(0);
    list().set_control_id(1);
    list().RightClick();
    EXPECT_TRUE(program.person.take_menus().empty());
    // The header has an id of its own.
    list().ClickHeader(0);
    EXPECT_EQ(names(), "B.txt a.txt b.txt b.txt ");
}

TEST_F(list_commands, the_first_click_sorts_up_and_the_second_down)
{
    open_files();
    list().ClickHeader(0);
    EXPECT_EQ(names(), "B.txt a.txt b.txt b.txt ");
    EXPECT_EQ(sizes(), "10 10 9 8 ");
    EXPECT_EQ(current_sort_order().column, 0);
    EXPECT_TRUE(current_sort_order().descending);
    list().ClickHeader(0);
    EXPECT_EQ(names(), "b.txt b.txt a.txt B.txt ");
    // Equal texts stay in the order that they had.
    EXPECT_EQ(sizes(), "9 8 10 10 ");
    EXPECT_FALSE(current_sort_order().descending);
}

TEST_F(list_commands, numbers_sort_as_texts)
{
    open_files();
    list().ClickHeader(1);
    EXPECT_EQ(sizes(), "10 10 8 9 ");
    EXPECT_EQ(current_sort_order().column, 1);
}

TEST_F(list_commands, the_direction_turns_on_every_click_whatever_the_column)
{
    open_files();
    list().ClickHeader(0);
    list().ClickHeader(1);
    EXPECT_EQ(sizes(), "9 8 10 10 ");
    list().ClickHeader(4);
    EXPECT_EQ(rows_of(frame()).back().find("a.txt"), 0u);
}

TEST_F(list_commands, the_direction_outlives_selections_opens_and_frames)
{
    open_files();
    list().ClickHeader(0);
    // The presenter's order is back after any change of the selection.
    select(frame(), "Components/Program");
    select(frame(), "Components/Program/Files");
    EXPECT_EQ(names(), "b.txt B.txt a.txt b.txt ");
    list().ClickHeader(0);
    EXPECT_EQ(names(), "b.txt b.txt a.txt B.txt ");
    open_files();
    EXPECT_EQ(names(), "b.txt B.txt a.txt b.txt ");
    list().ClickHeader(0);
    EXPECT_EQ(names(), "B.txt a.txt b.txt b.txt ");

    frame_harness other;
    other.start();
    other.open_media(R"("Components": [{"Name": "Program", "Files": [{"Name": "1"}, {"Name": "2"}]}])");
    select(other.frame(), "Components/Program/Files");
    other.frame().List().ClickHeader(0);
    EXPECT_EQ(rows_of(other.frame()).front().substr(0, 1), "2");
}

TEST_F(list_commands, a_sort_keeps_the_selected_record_and_the_icons)
{
    program.open_media(R"("RegistrySets": [{"Name": "Set", "UsersKeys": [{"Path": "Key", "Values": [
        {"Name": "z", "ValueType": 4, "Data": 1}, {"Name": "b", "ValueType": 7, "Data": "0041"}]}]}])");
    select(frame(), "Registry Entries/Set/HKEY_USERS/Key");
    list().SelectRow(1);
    list().ClickHeader(0);
    EXPECT_EQ(rows_of(frame()), (lines{"(Default) |  | ", "b | A | No", "z | 1 | No"}));
    EXPECT_EQ(list().GetSelectedRow(), 2u);
    EXPECT_EQ(list().GetItemImage(0), 21);
    EXPECT_EQ(list().GetItemImage(1), 17);
    EXPECT_EQ(list().GetItemImage(2), 20);
}

TEST_F(list_commands, sorting_an_empty_list_turns_the_direction_all_the_same)
{
    list().ClickHeader(1);
    EXPECT_TRUE(current_sort_order().descending);
    EXPECT_EQ(current_sort_order().column, 1);
    EXPECT_EQ(rows_of(frame()), lines{});
    // A column that is not there has no texts: nothing moves.
    open_files();
    list().ClickHeader(40);
    EXPECT_EQ(names(), "b.txt B.txt a.txt b.txt ");
    EXPECT_FALSE(current_sort_order().descending);
}

} // namespace
} // namespace cw
