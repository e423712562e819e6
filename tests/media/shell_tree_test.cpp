#include "tests/media/media_support.h"

namespace cw {
namespace {

using namespace test_support;

class shell_tree : public media_view_test {
protected:
    shell_tree() : media_view_test(u"ShellObjects") {}
    std::string tree_from(std::string_view folders)
    {
        EXPECT_TRUE(program.open_media("\"ShellFolders\": " + std::string(folders)));
        return tree_of(frame());
    }
};

TEST_F(shell_tree, root_stands_alone_over_no_folders)
{
    EXPECT_TRUE(program.open_media(""));
    EXPECT_EQ(detailed_tree_of(frame()), "Explorer Shell (-; 13, 13)\n");
}

TEST_F(shell_tree, sub_folders_stand_before_shortcuts_in_the_librarys_order)
{
    EXPECT_EQ(tree_from(R"([
                  {"Name": "Programs", "Shortcuts": [{"Name": "b"}, {"Name": "a"}],
                   "SubFolders": [{"Name": "Tools", "Shortcuts": [{"Name": "deep"}]}, {"Name": "Extras"}]},
                  {"Name": "Desktop", "Shortcuts": [{"Name": "c"}]}])"),
              "Explorer Shell\n"
              "  Programs\n"
              "    Tools\n"
              "      deep\n"
              "    Extras\n"
              "    b\n"
              "    a\n"
              "  Desktop\n"
              "    c\n");
}

TEST_F(shell_tree, folders_and_shortcuts_have_their_kinds_and_images)
{
    tree_from(R"([{"Name": "Programs", "SubFolders": [{"Name": "start menu"}], "Shortcuts": [{"Name": "Run"}]},
                  {"Name": "DESKTOP", "Shortcuts": [{"Name": "Desktop"}]}, {"Name": "Start Menu"},
                  {"Name": "<Data>"}, {"Name": "Features"}])");
    EXPECT_EQ(detailed_tree_of(frame()), "Explorer Shell (-; 13, 13) expanded\n"
                                         "  Programs (5; 1, 2)\n"
                                         "    start menu (5; 15, 15)\n"
                                         "    Run (17; 4, 4)\n"
                                         "  DESKTOP (5; 14, 14)\n"
                                         "    Desktop (17; 14, 14)\n"
                                         "  Start Menu (5; 15, 15)\n"
                                         "  <Data> (5; 16, 16)\n"
                                         "  Features (5; 1, 2)\n");
}

TEST_F(shell_tree, expert_mode_changes_nothing)
{
    constexpr const char* folders =
        R"([{"Name": "<Support>", "SubFolders": [{"Name": "Disk<1>"}], "Shortcuts": [{"Name": "<Support>"}]}])";
    const std::string shown = "Explorer Shell\n  <Support>\n    Disk<1>\n    <Support>\n";
    EXPECT_EQ(tree_from(folders), shown);
    frame_access::expert_mode(frame()) = true;
    EXPECT_EQ(tree_from(folders), shown);
}

TEST_F(shell_tree, every_item_has_its_own_object)
{
    tree_from(R"([{"Name": "F", "DisplayName": "the folder", "SubFolders": [{"Name": "G", "DisplayName": "within"}],
                   "Shortcuts": [{"Name": "S", "ShortcutText": "the shortcut"}]}])");
    select(frame(), "Explorer Shell/F");
    EXPECT_EQ(rows_of(frame()).at(0), "Display Name | the folder");
    select(frame(), "Explorer Shell/F/G");
    EXPECT_EQ(rows_of(frame()).at(0), "Display Name | within");
    select(frame(), "Explorer Shell/F/S");
    EXPECT_EQ(rows_of(frame()).at(0), "Shortcut Text | the shortcut");
}

TEST_F(shell_tree, reads_in_order)
{
    EXPECT_EQ(trace_of_opening(R"("ShellFolders": [{"Name": "F", "SubFolders": [{"Name": "G"}],
                                                    "Shortcuts": [{"Name": "S"}]}])"),
              (lines{
                  "IMedia ShellFolders",          // the root
                  "IMediaCollection Count",       //
                  "IMediaCollection Item 1",      // F
                  "IMediaShellFolder Name",       //
                  "IMediaShellFolder SubFolders", // of F
                  "IMediaCollection Count",       //
                  "IMediaCollection Item 1",      // G
                  "IMediaShellFolder Name",       //
                  "IMediaShellFolder SubFolders", // of G
                  "IMediaCollection Count",       //
                  "IMediaShellFolder Shortcuts",  // of G
                  "IMediaCollection Count",       //
                  "IMediaCollection Count",       // behind G
                  "IMediaShellFolder Shortcuts",  // of F
                  "IMediaCollection Count",       //
                  "IMediaCollection Item 1",      // S
                  "IMediaShortcut Name",          //
                  "IMediaCollection Count",       // behind S
                  "IMediaCollection Count",       // behind F
              }));
}

TEST_F(shell_tree, reads_the_count_anew_after_each_item)
{
    EXPECT_EQ(tree_from(R"({"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}], "counts": [3, 3, 2]})"),
              "Explorer Shell\n  A\n  B\n");
    EXPECT_EQ(tree_from(R"([{"Name": "F",
                  "SubFolders": {"items": [{"Name": "A"}, {"Name": "B"}, {"Name": "C"}], "counts": [1, 2, 2]},
                  "Shortcuts": {"items": [{"Name": "x"}, {"Name": "y"}, {"Name": "z"}], "counts": [1, 2, 3, 3]}}])"),
              "Explorer Shell\n  F\n    A\n    B\n    x\n    y\n    z\n");
}

TEST_F(shell_tree, stands_as_far_as_it_came_before_an_error)
{
    for (const failing_media& media : {
             failing_media{R"("ShellFolders": null)", "Explorer Shell\n", "0x80004003"},
             {R"("ShellFolders": {"fail": "0x80004005"})", "Explorer Shell\n", "0x80004005"},
             {R"("ShellFolders": [{"Name": "A"}, null])", "Explorer Shell\n  A\n", "0x80004003"},
             {R"("ShellFolders": [{"Name": {"fail": "0x8000ABCD"}}])", "Explorer Shell\n", "0x8000ABCD"},
             {R"("ShellFolders": [{"Name": "A", "SubFolders": null, "Shortcuts": [{"Name": "S"}]}])",
              "Explorer Shell\n  A\n", "0x80004003"},
             {R"("ShellFolders": [{"Name": "A", "SubFolders": [{"Name": "B"}], "Shortcuts": null}, {"Name": "C"}])",
              "Explorer Shell\n  A\n    B\n", "0x80004003"},
             {R"("ShellFolders": [{"Name": "A", "Shortcuts": [{"Name": "S"}, null, {"Name": "T"}]}])",
              "Explorer Shell\n  A\n    S\n", "0x80004003"},
             {R"("ShellFolders": [{"Name": "A", "Shortcuts": [{"Name": "S"}, {"Name": {"fail": "0x8000ABCD"}}]}])",
              "Explorer Shell\n  A\n    S\n", "0x8000ABCD"},
         }) {
        program.open_media(media.members);
        EXPECT_EQ(take_error_codes(), lines{media.code}) << media.members;
        EXPECT_EQ(tree_of(frame()), media.tree) << media.members;
    }
    EXPECT_EQ(tree_from(R"([{"Name": "Desktop"}])"), "Explorer Shell\n  Desktop\n");
}

TEST_F(shell_tree, grows_deeper_than_a_call_stack)
{
    constexpr int depth = 30'000;
    std::string folders;
    for (int level = 0; level < depth; ++level)
        folders += R"([{"Name": "f", "SubFolders": )";
    folders += "[]";
    for (int level = 0; level < depth; ++level)
        folders += "}]";
    EXPECT_TRUE(program.open_media("\"ShellFolders\": " + folders));
    int levels = 0;
    for (HTREEITEM item = frame().Tree().GetRootItem(); item; item = frame().Tree().GetChildItem(item))
        ++levels;
    EXPECT_EQ(levels, depth + 1);
}

TEST_F(shell_tree, builds_nothing_without_a_media)
{
    frame().BuildShellTree();
    EXPECT_EQ(tree_of(frame()), "");
}

} // namespace
} // namespace cw
