#include "app/main_frame.h"

#include "bridges/media_objects.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

class component_tree : public testing::Test {
protected:
    component_tree()
    {
        program.start();
        frame_access::view_filter(program.frame()) = CString(u"Components");
    }
    CMainFrame& frame() { return program.frame(); }
    /// The texts below the root of a media with these components.
    lines names_from(const lines& names, bool expert_mode = false)
    {
        frame_access::expert_mode(frame()) = expert_mode;
        std::string members;
        for (const std::string& name : names)
            members += (members.empty() ? "{\"Name\": \"" : ", {\"Name\": \"") + name + "\"}";
        EXPECT_TRUE(program.open_media("\"Components\": [" + members + "]"));
        lines shown;
        for (HTREEITEM item = frame().Tree().GetChildItem(frame().Tree().GetRootItem()); item;
             item = frame().Tree().GetNextSiblingItem(item)) {
            const std::u16string text(frame().Tree().GetItemText(item));
            shown.emplace_back(text.begin(), text.end());
        }
        return shown;
    }

    frame_harness program;
};

TEST_F(component_tree, root_stands_alone_over_no_components)
{
    EXPECT_TRUE(program.open_media(""));
    EXPECT_EQ(detailed_tree_of(frame()), "Components (-; 12, 12)\n");
}

TEST_F(component_tree, each_component_has_one_child_for_its_files)
{
    EXPECT_TRUE(program.open_media(
        R"("Components": [{"Name": "Empty", "Files": []}, {"Name": "Full", "Files": [{"Name": "a"}, {"Name": "b"}]}])"));
    EXPECT_EQ(detailed_tree_of(frame()), "Components (-; 12, 12) expanded\n"
                                         "  Empty (1; 1, 2)\n"
                                         "    Files (2; 3, 3)\n"
                                         "  Full (1; 1, 2)\n"
                                         "    Files (2; 3, 3)\n");
}

TEST_F(component_tree, no_text_rule_touches_a_components_icon)
{
    EXPECT_TRUE(
        program.open_media(R"("Components": [{"Name": "<Data>"}, {"Name": "Desktop"}, {"Name": "Start Menu"}])"));
    EXPECT_EQ(detailed_tree_of(frame()), "Components (-; 12, 12) expanded\n"
                                         "  <Data> (1; 1, 2)\n"
                                         "    Files (2; 3, 3)\n"
                                         "  Desktop (1; 1, 2)\n"
                                         "    Files (2; 3, 3)\n"
                                         "  Start Menu (1; 1, 2)\n"
                                         "    Files (2; 3, 3)\n");
}

TEST_F(component_tree, is_sorted_without_regard_to_case)
{
    EXPECT_EQ(names_from({"zebra", "Beta", "alpha", "ALPHA 2", "beta", "Zebra 2"}),
              (lines{"alpha", "ALPHA 2", "Beta", "beta", "zebra", "Zebra 2"}));
}

TEST_F(component_tree, hides_support_disk_and_engine)
{
    EXPECT_EQ(names_from({"a", "<Support>", "my <Support> x", "<Disk1>", "x<Disk1>", "<Engine>", "<Engine>x", "b"}),
              (lines{"a", "b"}));
}

TEST_F(component_tree, shows_names_that_only_look_internal)
{
    const lines shown = names_from({"<Data>", "Disk<1>", "<support>", "<engine>", "Engine", "<disk1>"});
    EXPECT_EQ(shown.size(), 6u);
    EXPECT_TRUE(std::ranges::count(shown, "<Data>") == 1);
    EXPECT_TRUE(std::ranges::count(shown, "Disk<1>") == 1);
}

TEST_F(component_tree, shows_everything_in_expert_mode)
{
    EXPECT_EQ(names_from({"<Support>", "<Disk1>", "<Engine>", "a"}, true).size(), 4u);
    for (HTREEITEM item = frame().Tree().GetChildItem(frame().Tree().GetRootItem()); item;
         item = frame().Tree().GetNextSiblingItem(item))
        EXPECT_EQ(frame().Tree().GetItemText(frame().Tree().GetChildItem(item)), u"Files");
}

TEST_F(component_tree, reads_the_library_in_order)
{
    program.open_media(R"("Components": [{"Name": "A"}, {"Name": "<Engine>"}])");
    EXPECT_EQ(program.take_trace(), (lines{"IMediaFactory OpenMedia", "IMedia Components", "IMediaCollection Count",
                                           "IMediaCollection Item 1", "IMediaComponent Name", "IMediaComponent Files",
                                           "IMediaCollection Count", "IMediaCollection Item 2", "IMediaComponent Name",
                                           "IMediaCollection Count"}));
}

TEST_F(component_tree, reads_the_count_anew_after_each_component)
{
    EXPECT_TRUE(program.open_media(
        R"("Components": {"items": [{"Name": "B"}, {"Name": "A"}, {"Name": "C"}], "counts": [3, 3, 2]})"));
    EXPECT_EQ(tree_of(frame()), "Components\n  A\n    Files\n  B\n    Files\n");
}

TEST_F(component_tree, stands_unsorted_as_far_as_it_came_before_an_error)
{
    struct failing_media {
        const char* members;
        const char* tree;
    };
    for (const failing_media& media : {
             failing_media{R"("Components": {"fail": "0x80004005"})", "Components\n"},
             {R"("Components": null)", "Components\n"},
             {R"("Components": [{"Name": "B"}, {"Name": {"fail": "0x80004005"}}])", "Components\n  B\n    Files\n"},
             {R"("Components": [{"Name": "B"}, {"Name": "A", "Files": {"fail": "0x80004005"}}])",
              "Components\n  B\n    Files\n  A\n"},
             {R"("Components": {"items": [{"Name": "B"}, {"Name": "A"}], "counts": [2, 2, {"fail": "0x80004005"}]})",
              "Components\n  B\n    Files\n  A\n    Files\n"},
         }) {
        program.open_media(media.members);
        EXPECT_EQ(program.take_unhandled().size(), 1u) << media.members;
        EXPECT_EQ(tree_of(frame()), media.tree) << media.members;
    }
}

TEST_F(component_tree, a_component_without_a_file_list_keeps_its_child)
{
    EXPECT_TRUE(program.open_media(R"("Components": [{"Name": "A", "Files": null}])"));
    EXPECT_EQ(detailed_tree_of(frame()), "Components (-; 12, 12) expanded\n  A (1; 1, 2)\n    Files (2; 3, 3)\n");
    EXPECT_FALSE(frame().NavNodes().at(item_at(frame(), "Components/A/Files")).object);
}

TEST_F(component_tree, goes_under_the_first_root_where_no_parent_is_given)
{
    program.open_media(R"("Components": [{"Name": "A"}])");
    const auto collection = get(frame_access::media(frame()).get(), media::Components);
    frame().AddComponents({}, collection.get());
    EXPECT_EQ(tree_of(frame()), "Components\n  A\n    Files\n  A\n    Files\n");
}

TEST_F(component_tree, builds_nothing_without_a_media)
{
    frame().BuildComponentTree();
    EXPECT_EQ(tree_of(frame()), "");
}

} // namespace
} // namespace cw
