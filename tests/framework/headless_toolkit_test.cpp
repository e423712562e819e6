#include "framework/headless_toolkit.h"

#include "framework/list_control.h"
#include "framework/tree_control.h"

#include <gtest/gtest.h>

#include <array>

namespace cw {
namespace {

using lines = std::vector<std::u16string>;

TEST(headless_toolkit, writes_every_call_down_with_its_arguments)
{
    headless_toolkit toolkit;
    CTreeCtrl tree;
    tree.set_control_id(5);
    CListCtrl list;
    const std::array<accelerator, 1> keys{{{0x72, false, false, false, 32785}}};
    EXPECT_TRUE(toolkit.create_window({128, 7, u"Class", 8, 128}));
    EXPECT_TRUE(toolkit.create_splitter(1, 2, 3, 4));
    EXPECT_TRUE(toolkit.create_tree_view(0, 0, 250, 100, tree));
    EXPECT_TRUE(toolkit.create_list_view(0, 1, 100, -1, list));
    EXPECT_TRUE(toolkit.create_status_bar(6, 7));
    toolkit.add_status_indicator(0, 1);
    toolkit.set_status_text(0, u"ready");
    EXPECT_TRUE(toolkit.init_command_bars());
    EXPECT_TRUE(toolkit.set_menu(u"Bar", {}));
    toolkit.set_theme(16);
    toolkit.set_accelerators(keys);
    toolkit.load_command_bars(u"Bars");
    toolkit.save_command_bars(u"Bars");
    toolkit.set_title(u"Title");
    toolkit.show_window(5);
    toolkit.update_window();
    toolkit.set_focus(tree);
    toolkit.destroy_splitter();
    toolkit.destroy_window();
    EXPECT_EQ(toolkit.calls(),
              (lines{u"create_window 128 7 Class 8 128", u"create_splitter 1 2 3 4", u"create_tree_view 0 0 250 100",
                     u"create_list_view 0 1 100 -1", u"create_status_bar 6 7", u"add_status_indicator 0 1",
                     u"set_status_text 0 ready", u"init_command_bars", u"set_menu Bar", u"set_theme 16",
                     u"set_accelerators 1", u"load_command_bars Bars", u"save_command_bars Bars", u"set_title Title",
                     u"show_window 5", u"update_window", u"set_focus 5", u"destroy_splitter", u"destroy_window"}));
    toolkit.forget_calls();
    EXPECT_EQ(toolkit.calls(), lines{});
}

TEST(headless_toolkit, has_a_sheet_to_customise_with_where_it_was_told_to)
{
    headless_toolkit toolkit;
    EXPECT_EQ(toolkit.make_customize_sheet(), nullptr);
    toolkit.offer_customize_sheet();
    const std::array<menu_item, 1> menu{{{u"&Copy", 32803}}};
    {
        const std::unique_ptr<customize_sheet> sheet = toolkit.make_customize_sheet();
        ASSERT_NE(sheet, nullptr);
        sheet->add_keyboard_page(menu);
        sheet->add_options_page();
        sheet->add_categories(menu);
        sheet->insert_all_commands_category(u"All", customize_sheet::last_place);
        sheet->insert_built_in_menus(menu, u"Menus", 2);
        sheet->insert_new_menu_category(u"New", 3);
        sheet->run_modal();
    }
    EXPECT_EQ(toolkit.calls(),
              (lines{u"make_customize_sheet", u"make_customize_sheet", u"add_keyboard_page 1", u"add_options_page",
                     u"add_categories 1", u"insert_all_commands_category All -1", u"insert_built_in_menus 1 Menus 2",
                     u"insert_new_menu_category New 3", u"run_modal", u"destroy_customize_sheet"}));
}

TEST(headless_toolkit, keeps_what_it_was_given)
{
    headless_toolkit toolkit;
    CListCtrl list;
    const std::array<menu_item, 1> menu{{{u"&Copy", 32803}}};
    const std::array<accelerator, 1> keys{{{0x72, false, false, false, 32785}}};
    EXPECT_FALSE(toolkit.has_window());
    toolkit.create_window({.resource_id = 128, .style = 7});
    toolkit.set_title(u"Title");
    toolkit.set_status_text(1, u"second");
    toolkit.set_status_text(-1, u"nowhere");
    toolkit.set_menu(u"Bar", menu);
    toolkit.set_accelerators(keys);
    toolkit.set_focus(list);
    EXPECT_TRUE(toolkit.has_window());
    EXPECT_EQ(toolkit.parameters().style, 7u);
    EXPECT_EQ(toolkit.title(), u"Title");
    EXPECT_EQ(toolkit.status_text(0), u"");
    EXPECT_EQ(toolkit.status_text(1), u"second");
    EXPECT_EQ(toolkit.status_text(2), u"");
    EXPECT_EQ(toolkit.menu().data(), menu.data());
    EXPECT_EQ(toolkit.accelerators().data(), keys.data());
    EXPECT_EQ(toolkit.focus(), &list);
    toolkit.destroy_window();
    EXPECT_FALSE(toolkit.has_window());
    EXPECT_EQ(toolkit.focus(), nullptr);
}

TEST(headless_toolkit, fails_the_operations_that_it_is_told_to)
{
    headless_toolkit toolkit;
    CTreeCtrl tree;
    CListCtrl list;
    for (const auto* operation : {u"create_window", u"create_splitter", u"create_tree_view", u"create_list_view",
                                  u"create_status_bar", u"init_command_bars", u"set_menu"})
        toolkit.fail(operation);
    EXPECT_FALSE(toolkit.create_window({}));
    EXPECT_FALSE(toolkit.has_window());
    EXPECT_FALSE(toolkit.create_splitter(1, 2, 3, 4));
    EXPECT_FALSE(toolkit.create_tree_view(0, 0, 0, 0, tree));
    EXPECT_FALSE(toolkit.create_list_view(0, 0, 0, 0, list));
    EXPECT_FALSE(toolkit.create_status_bar(0, 0));
    EXPECT_FALSE(toolkit.init_command_bars());
    EXPECT_FALSE(toolkit.set_menu(u"", {}));
    EXPECT_EQ(toolkit.calls().size(), 7u);
}

} // namespace
} // namespace cw
