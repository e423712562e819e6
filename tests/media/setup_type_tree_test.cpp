#include "tests/media/media_support.h"

namespace cw {
namespace {

using namespace test_support;

class setup_type_tree : public media_view_test {
protected:
    setup_type_tree() : media_view_test(u"SetupTypes") {}
    /// The tree of one type called "Full" with features as the picture shows them.
    std::string tree_from(std::string_view picture, bool expert_mode = false)
    {
        frame_access::expert_mode(frame()) = expert_mode;
        EXPECT_TRUE(program.open_media(R"("SetupTypes": [{"Name": "Full", "Features": )" +
                                       frame_harness::features_json(picture) + "}]"));
        return tree_of(frame());
    }
};

TEST_F(setup_type_tree, root_stands_alone_over_no_types)
{
    EXPECT_TRUE(program.open_media(""));
    EXPECT_EQ(detailed_tree_of(frame()), "Setup Types (-; 10, 10)\n");
}

TEST_F(setup_type_tree, a_type_without_features_has_its_features_item_all_the_same)
{
    EXPECT_TRUE(program.open_media(R"("SetupTypes": [{"Name": "Minimal"}, {"Name": "Compact", "Features": []}])"));
    EXPECT_EQ(detailed_tree_of(frame()), "Setup Types (-; 10, 10) expanded\n"
                                         "  Minimal (3; 10, 10)\n"
                                         "    Features (3; 11, 11)\n"
                                         "  Compact (3; 10, 10)\n"
                                         "    Features (3; 11, 11)\n");
}

TEST_F(setup_type_tree, types_and_features_keep_the_librarys_order)
{
    EXPECT_TRUE(program.open_media(R"("SetupTypes": [
        {"Name": "b", "Features": [{"Name": "Z", "SubFeatures": [{"Name": "y"}, {"Name": "X"}]}, {"Name": "A"}]},
        {"Name": "a", "Features": [{"Name": "Z"}]}, {"Name": "b"}])"));
    EXPECT_EQ(tree_of(frame()), "Setup Types\n"
                                "  b\n"
                                "    Features\n"
                                "      Z\n"
                                "        y\n"
                                "        X\n"
                                "      A\n"
                                "  a\n"
                                "    Features\n"
                                "      Z\n"
                                "  b\n"
                                "    Features\n");
}

TEST_F(setup_type_tree, every_level_has_its_kind_and_images)
{
    tree_from("Main\n  Help\nDesktop\n  start menu\nFeatures\n<Data>\n");
    EXPECT_EQ(detailed_tree_of(frame()), "Setup Types (-; 10, 10) expanded\n"
                                         "  Full (3; 10, 10)\n"
                                         "    Features (3; 11, 11)\n"
                                         "      Main (4; 1, 2)\n"
                                         "        Help (4; 1, 2)\n"
                                         "      Desktop (4; 14, 14)\n"
                                         "        start menu (4; 15, 15)\n"
                                         "      Features (4; 1, 2)\n"
                                         "      <Data> (4; 16, 16)\n");
}

TEST_F(setup_type_tree, types_take_their_icons_by_text_too)
{
    EXPECT_TRUE(program.open_media(R"("SetupTypes": [{"Name": "Features"}, {"Name": "DESKTOP"}])"));
    EXPECT_EQ(detailed_tree_of(frame()), "Setup Types (-; 10, 10) expanded\n"
                                         "  Features (3; 11, 11)\n"
                                         "    Features (3; 11, 11)\n"
                                         "  DESKTOP (3; 14, 14)\n"
                                         "    Features (3; 11, 11)\n");
}

TEST_F(setup_type_tree, a_type_has_its_object_and_the_features_item_none)
{
    tree_from("Main\n");
    EXPECT_TRUE(frame().NavNodes().at(item_at(frame(), "Setup Types/Full")).object);
    EXPECT_FALSE(frame().NavNodes().at(item_at(frame(), "Setup Types/Full/Features")).object);
    EXPECT_TRUE(frame().NavNodes().at(item_at(frame(), "Setup Types/Full/Features/Main")).object);
}

TEST_F(setup_type_tree, hides_support_and_disk_with_all_below_at_every_level)
{
    EXPECT_EQ(tree_from("A\n"
                        "  my <Support> files\n"
                        "    below\n"
                        "  xDisk<1>x\n"
                        "  B\n"
                        "<Support>\n"
                        "  below\n"
                        "Disk<1>\n"
                        "C\n"),
              "Setup Types\n  Full\n    Features\n      A\n        B\n      C\n");
}

TEST_F(setup_type_tree, shows_data_like_any_other_feature)
{
    EXPECT_EQ(tree_from("<Data>\n  A\n    my <Data>\n      B\n<Data><Support>\n"),
              "Setup Types\n  Full\n    Features\n      <Data>\n        A\n          my <Data>\n            B\n");
}

TEST_F(setup_type_tree, shows_names_that_only_look_internal)
{
    EXPECT_EQ(tree_from("<support>\ndisk<1>\n<Disk1>\n<Engine>\n"),
              "Setup Types\n  Full\n    Features\n      <support>\n      disk<1>\n      <Disk1>\n      <Engine>\n");
}

TEST_F(setup_type_tree, hides_no_type)
{
    EXPECT_TRUE(program.open_media(R"("SetupTypes": [{"Name": "<Support>"}, {"Name": "Disk<1>"}])"));
    EXPECT_EQ(tree_of(frame()), "Setup Types\n  <Support>\n    Features\n  Disk<1>\n    Features\n");
}

TEST_F(setup_type_tree, shows_everything_in_expert_mode)
{
    constexpr const char* picture = "<Support>\n  Disk<1>\n<Data>\n";
    EXPECT_EQ(tree_from(picture, true),
              "Setup Types\n  Full\n    Features\n      <Support>\n        Disk<1>\n      <Data>\n");
    EXPECT_EQ(tree_from(picture, false), "Setup Types\n  Full\n    Features\n      <Data>\n");
}

TEST_F(setup_type_tree, reads_in_order)
{
    EXPECT_EQ(trace_of_opening(R"("SetupTypes": [{"Name": "Full", "Features": [
                  {"Name": "A", "SubFeatures": [{"Name": "B"}]}, {"Name": "<Support>"}]}])"),
              (lines{
                  "IMedia SetupTypes",         // the root
                  "IMediaCollection Count",    //
                  "IMediaCollection Item 1",   // Full
                  "IMediaSetupType Features",  // before its name
                  "IMediaSetupType Name",      //
                  "IMediaCollection Count",    //
                  "IMediaCollection Item 1",   // A
                  "IMediaFeature Name",        //
                  "IMediaFeature SubFeatures", //
                  "IMediaCollection Count",    //
                  "IMediaCollection Item 1",   // B
                  "IMediaFeature Name",        //
                  "IMediaFeature SubFeatures", //
                  "IMediaCollection Count",    // below B
                  "IMediaCollection Count",    // behind B
                  "IMediaCollection Count",    // behind A
                  "IMediaCollection Item 2",   // hidden: no further than its name
                  "IMediaFeature Name",        //
                  "IMediaCollection Count",    // behind it
                  "IMediaCollection Count",    // behind Full
              }));
}

TEST_F(setup_type_tree, reads_the_count_anew_after_each_item)
{
    EXPECT_TRUE(program.open_media(
        R"("SetupTypes": {"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}], "counts": [3, 3, 2]})"));
    EXPECT_EQ(tree_of(frame()), "Setup Types\n  A\n    Features\n  B\n    Features\n");
    EXPECT_TRUE(program.open_media(
        R"("SetupTypes": [{"Name": "T", "Features":
            {"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}], "counts": [1, 2, 2]}}])"));
    EXPECT_EQ(tree_of(frame()), "Setup Types\n  T\n    Features\n      A\n      B\n");
    EXPECT_TRUE(program.open_media(
        R"("SetupTypes": [{"Name": "T", "Features": [{"Name": "F", "SubFeatures":
            {"items": [{"Name": "A"}, {"Name": "B"}], "counts": [2, 1]}}]}])"));
    EXPECT_EQ(tree_of(frame()), "Setup Types\n  T\n    Features\n      F\n        A\n");
}

TEST_F(setup_type_tree, stands_as_far_as_it_came_before_an_error)
{
    for (const failing_media& media : {
             failing_media{R"("SetupTypes": null)", "Setup Types\n", "0x80004003"},
             {R"("SetupTypes": {"fail": "0x80004005"})", "Setup Types\n", "0x80004005"},
             {R"("SetupTypes": [{"Name": "A"}, null, {"Name": "B"}])", "Setup Types\n  A\n    Features\n",
              "0x80004003"},
             {R"("SetupTypes": [{"Name": "A", "Features": {"fail": "0x8000ABCD"}}])", "Setup Types\n", "0x8000ABCD"},
             {R"("SetupTypes": [{"Name": {"fail": "0x8000ABCD"}}])", "Setup Types\n", "0x8000ABCD"},
             {R"("SetupTypes": [{"Name": "A", "Features": null}, {"Name": "B"}])", "Setup Types\n  A\n    Features\n",
              "0x80004003"},
             {R"("SetupTypes": [{"Name": "T", "Features": [{"Name": "A"}, null]}])",
              "Setup Types\n  T\n    Features\n      A\n", "0x80004003"},
             {R"("SetupTypes": [{"Name": "T", "Features": [{"Name": "A", "SubFeatures": null}, {"Name": "B"}]}])",
              "Setup Types\n  T\n    Features\n      A\n", "0x80004003"},
             {R"("SetupTypes": [{"Name": "T", "Features":
                 [{"Name": "A", "SubFeatures": [{"Name": "B"}, {"Name": {"fail": "0x8000ABCD"}}]}]}])",
              "Setup Types\n  T\n    Features\n      A\n        B\n", "0x8000ABCD"},
         }) {
        program.open_media(media.members);
        EXPECT_EQ(take_error_codes(), lines{media.code}) << media.members;
        EXPECT_EQ(tree_of(frame()), media.tree) << media.members;
    }
    EXPECT_EQ(tree_from("Main\n"), "Setup Types\n  Full\n    Features\n      Main\n");
}

TEST_F(setup_type_tree, selecting_a_type_or_its_features_item_empties_the_list)
{
    tree_from("Main\n");
    for (const char* path : {"Setup Types/Full", "Setup Types/Full/Features"}) {
        put_marked_row(frame());
        EXPECT_EQ(trace_of_selecting(path), lines{}) << path;
        EXPECT_EQ(rows_of(frame()), lines{}) << path;
    }
}

TEST_F(setup_type_tree, selecting_a_feature_shows_its_properties)
{
    tree_from("<Data>\n  Main\n");
    select(frame(), "Setup Types/Full/Features/<Data>/Main");
    EXPECT_EQ(rows_of(frame()).size(), 26u);
    EXPECT_EQ(rows_of(frame()).at(0), "Name | Main");
    select(frame(), "Setup Types/Full/Features/<Data>");
    EXPECT_EQ(rows_of(frame()).at(0), "Name | <Data>");
}

TEST_F(setup_type_tree, grows_deeper_than_a_call_stack)
{
    constexpr int depth = 30'000;
    std::string members = R"("SetupTypes": [{"Name": "T", "Features": )";
    for (int level = 0; level < depth; ++level)
        members += R"([{"Name": "f", "SubFeatures": )";
    members += "[]";
    for (int level = 0; level < depth; ++level)
        members += "}]";
    EXPECT_TRUE(program.open_media(members + "}]"));
    int levels = 0;
    for (HTREEITEM item = frame().Tree().GetRootItem(); item; item = frame().Tree().GetChildItem(item))
        ++levels;
    EXPECT_EQ(levels, depth + 3);
}

TEST_F(setup_type_tree, builds_nothing_without_a_media)
{
    frame().BuildSetupTypeTree();
    EXPECT_EQ(tree_of(frame()), "");
}

} // namespace
} // namespace cw
