#include "app/main_frame.h"

#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

class feature_tree : public testing::Test {
protected:
    feature_tree()
    {
        program.start();
        frame_access::view_filter(program.frame()) = CString(u"Features");
    }
    CMainFrame& frame() { return program.frame(); }
    std::string tree_from(std::string_view picture, bool expert_mode = false)
    {
        frame_access::expert_mode(frame()) = expert_mode;
        EXPECT_TRUE(program.open_features(picture));
        return tree_of(frame());
    }

    frame_harness program;
};

TEST_F(feature_tree, root_stands_alone_over_no_features)
{
    EXPECT_TRUE(program.open_media(""));
    EXPECT_EQ(detailed_tree_of(frame()), "Features (-; 11, 11)\n");
}

TEST_F(feature_tree, nests_in_the_librarys_order)
{
    EXPECT_EQ(tree_from("Zebra\n"
                        "  b\n"
                        "    deep\n"
                        "  a\n"
                        "apple\n"
                        "Zebra\n"),
              "Features\n"
              "  Zebra\n"
              "    b\n"
              "      deep\n"
              "    a\n"
              "  apple\n"
              "  Zebra\n");
}

TEST_F(feature_tree, features_have_a_node_and_default_images)
{
    tree_from("Main\n  Help\n");
    EXPECT_EQ(detailed_tree_of(frame()), "Features (-; 11, 11) expanded\n"
                                         "  Main (0; 1, 2)\n"
                                         "    Help (0; 1, 2)\n");
}

TEST_F(feature_tree, icons_follow_the_text)
{
    tree_from("Desktop\nSTART MENU\nFeatures\n<Data>\n", true);
    EXPECT_EQ(detailed_tree_of(frame()), "Features (-; 11, 11) expanded\n"
                                         "  Desktop (0; 14, 14)\n"
                                         "  START MENU (0; 15, 15)\n"
                                         "  Features (0; 1, 2)\n"
                                         "  <Data> (0; 16, 16)\n");
}

TEST_F(feature_tree, hides_support_and_disk_with_all_below)
{
    EXPECT_EQ(tree_from("A\n"
                        "<Support>\n"
                        "  below\n"
                        "    deeper\n"
                        "my <Support> files\n"
                        "Disk<1>\n"
                        "  below\n"
                        "xDisk<1>x\n"
                        "B\n"),
              "Features\n  A\n  B\n");
}

TEST_F(feature_tree, replaces_data_by_its_sub_features)
{
    EXPECT_EQ(tree_from("P\n"
                        "  before\n"
                        "  my <Data>\n"
                        "    A\n"
                        "      below\n"
                        "    B\n"
                        "  after\n"),
              "Features\n"
              "  P\n"
              "    before\n"
              "    A\n"
              "      below\n"
              "    B\n"
              "    after\n");
}

TEST_F(feature_tree, replaces_data_within_data)
{
    EXPECT_EQ(tree_from("<Data>\n"
                        "  <Data>\n"
                        "    A\n"
                        "    <Support>\n"
                        "  B\n"
                        "C\n"),
              "Features\n  A\n  B\n  C\n");
}

TEST_F(feature_tree, hides_what_is_data_and_support)
{
    EXPECT_EQ(tree_from("<Data><Support>\n  A\n<Data> Disk<1>\n  B\nC\n"), "Features\n  C\n");
}

TEST_F(feature_tree, shows_names_that_only_look_internal)
{
    EXPECT_EQ(tree_from("<support>\n<data>\n  A\ndisk<1>\n<Disk1>\n<Engine>\nSupport\n"),
              "Features\n  <support>\n  <data>\n    A\n  disk<1>\n  <Disk1>\n  <Engine>\n  Support\n");
}

TEST_F(feature_tree, shows_everything_in_expert_mode)
{
    constexpr const char* picture = "<Support>\n  A\nDisk<1>\n<Data>\n  B\n";
    EXPECT_EQ(tree_from(picture, true), "Features\n  <Support>\n    A\n  Disk<1>\n  <Data>\n    B\n");
    EXPECT_EQ(tree_from(picture, false), "Features\n  B\n");
}

TEST_F(feature_tree, reads_a_hidden_feature_no_further_than_its_name)
{
    tree_from("<Support>\n  A\n");
    EXPECT_EQ(program.take_trace(), (lines{"IMediaFactory OpenMedia", "IMedia Features", "IMediaCollection Count",
                                           "IMediaCollection Item 1", "IMediaFeature Name", "IMediaCollection Count"}));
}

TEST_F(feature_tree, reads_the_count_anew_after_each_feature)
{
    EXPECT_TRUE(program.open_media(
        R"("Features": {"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}], "counts": [3, 3, 2]})"));
    EXPECT_EQ(tree_of(frame()), "Features\n  A\n  B\n");
    EXPECT_TRUE(program.open_media(
        R"("Features": {"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}], "counts": [1, 2, 3, 3]})"));
    EXPECT_EQ(tree_of(frame()), "Features\n  A\n  B\n  C\n");
    EXPECT_TRUE(program.open_media(R"("Features": {"items": [{"Name": "A"}], "counts": [-1]})"));
    EXPECT_EQ(tree_of(frame()), "Features\n");
}

TEST_F(feature_tree, stands_as_far_as_it_came_before_an_error)
{
    struct failing_media {
        const char* members;
        const char* tree;
    };
    for (const failing_media& media : {
             failing_media{R"("Features": {"fail": "0x80004005"})", "Features\n"},
             {R"("Features": null)", "Features\n"},
             {R"("Features": {"items": [{"Name": "A"}], "counts": [2]})", "Features\n  A\n"},
             {R"("Features": {"items": [{"Name": "A"}], "counts": [1, {"fail": "0x80004005"}]})", "Features\n  A\n"},
             {R"("Features": [{"Name": "A"}, {"Name": {"fail": "0x80004005"}}])", "Features\n  A\n"},
             {R"("Features": [{"Name": "A", "SubFeatures": {"fail": "0x80004005"}}, {"Name": "B"}])",
              "Features\n  A\n"},
             {R"("Features": [{"Name": "A", "SubFeatures": null}, {"Name": "B"}])", "Features\n  A\n"},
             {R"("Features": [{"Name": "A", "SubFeatures": [{"Name": "B"}, {"fail": "0x80004005"}]}, {"Name": "C"}])",
              "Features\n  A\n    B\n"},
         }) {
        program.open_media(media.members);
        EXPECT_EQ(program.take_unhandled().size(), 1u) << media.members;
        EXPECT_EQ(tree_of(frame()), media.tree) << media.members;
    }
    EXPECT_EQ(tree_from("Main\n"), "Features\n  Main\n");
}

TEST_F(feature_tree, a_null_name_is_an_empty_text)
{
    EXPECT_TRUE(program.open_media(R"("Features": [{"Name": null, "SubFeatures": [{"Name": "A"}]}, {}])"));
    EXPECT_EQ(tree_of(frame()), "Features\n  \n    A\n  \n");
}

TEST_F(feature_tree, grows_deeper_than_a_call_stack)
{
    constexpr int depth = 30'000;
    std::string members = "\"Features\": ";
    for (int level = 0; level < depth; ++level)
        members += R"([{"Name": "f", "SubFeatures": )";
    members += "[]";
    for (int level = 0; level < depth; ++level)
        members += "}]";
    EXPECT_TRUE(program.open_media(members));
    int levels = 0;
    for (HTREEITEM item = frame().Tree().GetRootItem(); item; item = frame().Tree().GetChildItem(item))
        ++levels;
    EXPECT_EQ(levels, depth + 1);
}

TEST_F(feature_tree, builds_nothing_without_a_media)
{
    frame().BuildFeatureTree();
    EXPECT_EQ(tree_of(frame()), "");
}

} // namespace
} // namespace cw
