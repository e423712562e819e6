#include "app/main_frame.h"

#include "app/menus.h"
#include "app/view_filters.h"
#include "platform/utf8.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

#include <utility>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

constexpr const char* sample_members =
    R"("Features": [{"Name": "Main", "SubFeatures": [{"Name": "Help"}]}, {"Name": "x<Support>"}],
       "Components": [{"Name": "Program"}, {"Name": "<Engine>"}])";

class view_commands : public testing::Test {
protected:
    view_commands() { program.start(); }
    CMainFrame& frame() { return program.frame(); }
    bool is_expanded(std::string_view path) { return frame().Tree().IsExpanded(item_at(frame(), path)); }

    frame_harness program;
};

TEST_F(view_commands, seven_filters_stand_in_order)
{
    std::vector<std::pair<std::uint32_t, std::u16string_view>> found;
    for (const view_filter& filter : view_filters())
        found.emplace_back(filter.command_id, filter.name);
    EXPECT_EQ(found, (std::vector<std::pair<std::uint32_t, std::u16string_view>>{{32801, u"All"},
                                                                                 {32772, u"Features"},
                                                                                 {32773, u"Components"},
                                                                                 {32774, u"SetupTypes"},
                                                                                 {32775, u"ShellObjects"},
                                                                                 {32776, u"RegistrySets"},
                                                                                 {32777, u"MediaSettings"}}));
    EXPECT_EQ(find_view_filter(32775)->name, u"ShellObjects");
    EXPECT_EQ(find_view_filter(32778), nullptr);
    EXPECT_EQ(view_filters()[0].build, nullptr);
}

TEST_F(view_commands, all_shows_every_subject_collapsed)
{
    EXPECT_TRUE(program.open_media(sample_members));
    const lines roots = roots_of(frame());
    EXPECT_EQ(roots,
              (lines{"Features", "Components", "Setup Types", "Explorer Shell", "Registry Entries", "Media Settings"}));
    for (const std::string& root : roots)
        EXPECT_FALSE(is_expanded(root)) << root;
}

TEST_F(view_commands, a_subject_stands_alone_and_expanded)
{
    program.open_media(sample_members);
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_FEATURES));
    EXPECT_EQ(frame().ViewFilter(), u"Features");
    EXPECT_EQ(detailed_tree_of(frame()), "Features (-; 11, 11) expanded\n  Main (0; 1, 2)\n    Help (0; 1, 2)\n");
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_COMPONENTS));
    EXPECT_EQ(detailed_tree_of(frame()), "Components (-; 12, 12) expanded\n  Program (1; 1, 2)\n    Files (2; 3, 3)\n");
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_ALL));
    EXPECT_FALSE(is_expanded("Features"));
    EXPECT_FALSE(is_expanded("Components"));
}

TEST_F(view_commands, each_command_sets_its_filter)
{
    program.open_media("");
    const lines roots = roots_of(frame());
    std::size_t place = 0;
    for (const view_filter& filter : view_filters()) {
        EXPECT_TRUE(frame().RunCommand(filter.command_id));
        EXPECT_EQ(frame().ViewFilter(), filter.name);
        EXPECT_EQ(roots_of(frame()), filter.build ? lines{roots.at(place++)} : roots);
    }
    EXPECT_EQ(place, 6u);
}

TEST_F(view_commands, filter_names_compare_exactly)
{
    program.open_media(sample_members);
    for (const char16_t* name : {u"features", u"Features ", u"", u"all"}) {
        frame_access::view_filter(frame()) = CString(name);
        frame().RebuildTree();
        EXPECT_EQ(tree_of(frame()), "") << platform::to_utf8(name);
    }
}

TEST_F(view_commands, an_open_keeps_the_filter)
{
    program.open_media(sample_members);
    frame().RunCommand(ID_VIEW_COMPONENTS);
    program.open_media(sample_members);
    EXPECT_EQ(roots_of(frame()), lines{"Components"});
    EXPECT_TRUE(is_expanded("Components"));
}

TEST_F(view_commands, a_rebuild_clears_list_and_selection_and_focuses_the_tree)
{
    program.open_media(sample_members);
    select(frame(), "Features/Main");
    ASSERT_FALSE(rows_of(frame()).empty());
    frame().FocusMoved(&frame().List());
    program.toolkit_calls.forget_calls();
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_FEATURES));
    EXPECT_EQ(rows_of(frame()), lines{});
    EXPECT_FALSE(frame().Tree().GetSelectedItem());
    EXPECT_EQ(frame().GetFocus(), &frame().Tree());
    EXPECT_EQ(program.toolkit_calls.calls(), std::vector<std::u16string>{u"set_focus 59648"});
}

struct scroll_observer final : tree_observer {
    void tree_structure_changing() override {}
    void tree_selection_changed() override {}
    void tree_item_expanded(HTREEITEM, bool) override { ++expansions; }
    void tree_item_wanted_visible(HTREEITEM item) override { wanted.push_back(item); }
    void tree_style_changed() override {}
    std::vector<HTREEITEM> wanted;
    int expansions = 0;
};

TEST_F(view_commands, a_rebuild_makes_the_first_root_visible)
{
    program.open_media(sample_members);
    scroll_observer observer;
    frame().Tree().SetObserver(&observer);
    frame().RunCommand(ID_VIEW_ALL);
    EXPECT_EQ(observer.wanted, std::vector<HTREEITEM>{frame().Tree().GetRootItem()});
    EXPECT_EQ(observer.expansions, 0);
    frame().RunCommand(ID_VIEW_COMPONENTS);
    EXPECT_EQ(observer.wanted.back(), frame().Tree().GetRootItem());
    EXPECT_EQ(observer.expansions, 1);
    frame().Tree().SetObserver(nullptr);
}

TEST_F(view_commands, a_rebuild_keeps_the_nodes_of_the_tree_before)
{
    program.open_media(sample_members);
    const HTREEITEM before = item_at(frame(), "Features/Main");
    const std::size_t count = frame().NavNodes().size();
    frame().RunCommand(ID_VIEW_FEATURES);
    EXPECT_EQ(frame().NavNodes().size(), count + 2);
    ASSERT_TRUE(frame().NavNodes().contains(before));
    EXPECT_TRUE(frame().NavNodes().at(before).object);
}

TEST_F(view_commands, the_filter_that_is_set_rebuilds_all_the_same)
{
    program.open_media(sample_members);
    frame().RunCommand(ID_VIEW_FEATURES);
    const HTREEITEM before = item_at(frame(), "Features/Main");
    frame().RunCommand(ID_VIEW_FEATURES);
    EXPECT_FALSE(frame().Tree().IsLive(before));
    EXPECT_EQ(tree_of(frame()), "Features\n  Main\n    Help\n");
}

TEST_F(view_commands, an_empty_subject_stays_collapsed)
{
    program.open_media("");
    frame().RunCommand(ID_VIEW_FEATURES);
    EXPECT_EQ(detailed_tree_of(frame()), "Features (-; 11, 11)\n");
}

TEST_F(view_commands, are_enabled_while_a_media_is_open)
{
    for (const view_filter& filter : view_filters())
        EXPECT_FALSE(frame().UpdateCommand(filter.command_id).enabled().value());
    EXPECT_FALSE(frame().UpdateCommand(ID_VIEW_EXPERT_MODE).enabled().value());
    EXPECT_FALSE(frame().RunCommand(ID_VIEW_FEATURES));
    EXPECT_FALSE(frame().RunCommand(ID_VIEW_EXPERT_MODE));
    EXPECT_EQ(frame().ViewFilter(), u"All");
    EXPECT_FALSE(frame().ExpertMode());

    program.open_media("");
    for (const view_filter& filter : view_filters())
        EXPECT_TRUE(frame().UpdateCommand(filter.command_id).enabled().value());
    EXPECT_TRUE(frame().UpdateCommand(ID_VIEW_EXPERT_MODE).enabled().value());
}

TEST_F(view_commands, the_filter_that_is_set_is_checked)
{
    const auto checked = [&] {
        std::vector<std::uint32_t> ids;
        for (const view_filter& filter : view_filters())
            if (frame().UpdateCommand(filter.command_id).checked().value())
                ids.push_back(filter.command_id);
        return ids;
    };
    // With no media as well.
    EXPECT_EQ(checked(), std::vector<std::uint32_t>{ID_VIEW_ALL});
    program.open_media("");
    frame().RunCommand(ID_VIEW_REGISTRY_SETS);
    EXPECT_EQ(checked(), std::vector<std::uint32_t>{ID_VIEW_REGISTRY_SETS});
}

TEST_F(view_commands, expert_mode_shows_internal_groups_and_keeps_the_filter)
{
    program.open_media(sample_members);
    frame().RunCommand(ID_VIEW_FEATURES);
    select(frame(), "Features/Main");
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_EXPERT_MODE));
    EXPECT_TRUE(frame().ExpertMode());
    EXPECT_EQ(tree_of(frame()), "Features\n  Main\n    Help\n  x<Support>\n");
    EXPECT_EQ(frame().ViewFilter(), u"Features");
    EXPECT_EQ(rows_of(frame()), lines{});
    EXPECT_FALSE(frame().Tree().GetSelectedItem());
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_EXPERT_MODE));
    EXPECT_FALSE(frame().ExpertMode());
    EXPECT_EQ(tree_of(frame()), "Features\n  Main\n    Help\n");
}

TEST_F(view_commands, expert_mode_is_checked_only_with_a_media)
{
    EXPECT_FALSE(frame().UpdateCommand(ID_VIEW_EXPERT_MODE).checked().has_value());
    program.open_media("");
    EXPECT_FALSE(frame().UpdateCommand(ID_VIEW_EXPERT_MODE).checked().value());
    frame().RunCommand(ID_VIEW_EXPERT_MODE);
    EXPECT_TRUE(frame().UpdateCommand(ID_VIEW_EXPERT_MODE).checked().value());
    program.open(u"/a.clg");
    EXPECT_FALSE(frame().UpdateCommand(ID_VIEW_EXPERT_MODE).checked().has_value());
}

TEST_F(view_commands, the_media_settings_are_shown_by_the_rebuild_itself)
{
    program.open_media(R"("MediaSettings": {"ProductName": "Tour"})");
    EXPECT_EQ(rows_of(frame()).at(0), "Product Name | Tour");
    EXPECT_FALSE(frame().Tree().GetSelectedItem());
    frame().RunCommand(ID_VIEW_FEATURES);
    EXPECT_EQ(rows_of(frame()), lines{});
    frame().RunCommand(ID_VIEW_MEDIA_SETTINGS);
    EXPECT_EQ(rows_of(frame()).at(0), "Product Name | Tour");
    EXPECT_EQ(detailed_tree_of(frame()), "Media Settings (8; 1, 2)\n");
}

TEST_F(view_commands, an_error_in_a_builder_ends_the_rebuild)
{
    program.open_media(R"("Features": [{"Name": "A"}], "Components": {"fail": "0x80004005"})");
    EXPECT_EQ(program.take_unhandled().size(), 1u);
    EXPECT_EQ(tree_of(frame()), "Features\n  A\nComponents\n");
    EXPECT_TRUE(frame().RunCommand(ID_VIEW_FEATURES));
    EXPECT_TRUE(program.take_unhandled().empty());
    EXPECT_EQ(tree_of(frame()), "Features\n  A\n");
    EXPECT_FALSE(frame().RunCommand(ID_VIEW_COMPONENTS));
    EXPECT_EQ(program.take_unhandled().size(), 1u);
    EXPECT_EQ(frame().ViewFilter(), u"Components");
}

} // namespace
} // namespace cw
