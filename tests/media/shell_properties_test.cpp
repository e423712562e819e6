#include "tests/media/media_support.h"

#include "bridges/media_interface.h"
#include "tests/support/scripted_readers.h"

namespace cw {
namespace {

using namespace test_support;

class shell_properties : public media_view_test {
protected:
    shell_properties() : media_view_test(u"ShellObjects") {}
    /// What the list shows for a folder called "F" with these further members.
    lines folder_rows(std::string members)
    {
        if (!members.empty())
            members.insert(0, ", ");
        EXPECT_TRUE(program.open_media(R"("ShellFolders": [{"Name": "F")" + members + "}]"));
        (void)program.take_trace();
        select(frame(), "Explorer Shell/F");
        return rows_of(frame());
    }
    /// The same for a shortcut called "S" in a folder "F".
    lines shortcut_rows(std::string members)
    {
        if (!members.empty())
            members.insert(0, ", ");
        EXPECT_TRUE(
            program.open_media(R"("ShellFolders": [{"Name": "F", "Shortcuts": [{"Name": "S")" + members + "}]}]"));
        (void)program.take_trace();
        select(frame(), "Explorer Shell/F/S");
        return rows_of(frame());
    }
    std::string shortcut_row(std::size_t row, const std::string& members) { return shortcut_rows(members).at(row); }
};

TEST_F(shell_properties, a_folder_has_two_rows)
{
    EXPECT_EQ(folder_rows(R"("DisplayName": "Programs", "Shared": true)"),
              (lines{"Display Name | Programs", "Shared | Yes"}));
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
    EXPECT_EQ(program.take_trace(), (lines{"IMediaShellFolder DisplayName", "IMediaShellFolder Shared"}));
    EXPECT_EQ(folder_rows(""), (lines{"Display Name | ", "Shared | No"}));
}

TEST_F(shell_properties, a_shortcut_has_sixteen_rows)
{
    EXPECT_EQ(shortcut_rows(R"("ShortcutText": "Start", "ShortcutFlags": 1, "Target": "a.exe", "Parameters": "/x",
                               "StartIn": "<TARGETDIR>", "FolderType": 0, "ShortcutKey": "Ctrl+A", "ShowCommand": 1,
                               "IconFile": "a.ico", "IconIndex": -3, "Uninstall": true, "ReplaceExisting": false,
                               "PreventPinning": true, "NoHighlightOnInstall": false, "NoPinToStart": true,
                               "RunAsAdministrator": false)"),
              (lines{
                  "Shortcut Text | Start",
                  "Internet Shortcut | Yes",
                  "Target | a.exe",
                  "Parameters | /x",
                  "Start In | <TARGETDIR>",
                  "Folder Type | Common",
                  "Shortcut Key | Ctrl+A",
                  "Run | Normal Window",
                  "Icon File | a.ico",
                  "Icon Index | -3",
                  "Uninstall | Yes",
                  "Replace Existing | No",
                  "Prevent Pinning | Yes",
                  "Do not highlight on new install | No",
                  "Do not pin to Start screen | Yes",
                  "Run As Administrator | No",
              }));
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
    EXPECT_EQ(program.take_trace(), (lines{
                                        "IMediaShortcut ShortcutText",
                                        "IMediaShortcut ShortcutFlags",
                                        "IMediaShortcut Target",
                                        "IMediaShortcut Parameters",
                                        "IMediaShortcut StartIn",
                                        "IMediaShortcut FolderType",
                                        "IMediaShortcut ShortcutKey",
                                        "IMediaShortcut ShowCommand",
                                        "IMediaShortcut IconFile",
                                        "IMediaShortcut IconIndex",
                                        "IMediaShortcut Uninstall",
                                        "IMediaShortcut ReplaceExisting",
                                        "IMediaShortcut PreventPinning",
                                        "IMediaShortcut NoHighlightOnInstall",
                                        "IMediaShortcut NoPinToStart",
                                        "IMediaShortcut RunAsAdministrator",
                                    }));
}

TEST_F(shell_properties, each_yes_and_no_is_its_own_members)
{
    const std::pair<const char*, std::string> flags[] = {
        {"Uninstall", "Uninstall | Yes"},
        {"ReplaceExisting", "Replace Existing | Yes"},
        {"PreventPinning", "Prevent Pinning | Yes"},
        {"NoHighlightOnInstall", "Do not highlight on new install | Yes"},
        {"NoPinToStart", "Do not pin to Start screen | Yes"},
        {"RunAsAdministrator", "Run As Administrator | Yes"},
    };
    for (std::size_t set = 0; set < std::size(flags); ++set) {
        const lines rows = shortcut_rows(std::string("\"") + flags[set].first + "\": true");
        ASSERT_EQ(rows.size(), 16u);
        for (std::size_t row = 0; row < std::size(flags); ++row)
            EXPECT_EQ(rows[10 + row] == flags[row].second, row == set) << rows[10 + row];
    }
}

TEST_F(shell_properties, absent_members_show_no_empty_common_and_zero)
{
    EXPECT_EQ(shortcut_rows(""), (lines{
                                     "Shortcut Text | ",
                                     "Internet Shortcut | No",
                                     "Target | ",
                                     "Parameters | ",
                                     "Start In | ",
                                     "Folder Type | Common",
                                     "Shortcut Key | ",
                                     "Run | ",
                                     "Icon File | ",
                                     "Icon Index | 0",
                                     "Uninstall | No",
                                     "Replace Existing | No",
                                     "Prevent Pinning | No",
                                     "Do not highlight on new install | No",
                                     "Do not pin to Start screen | No",
                                     "Run As Administrator | No",
                                 }));
}

TEST_F(shell_properties, the_internet_row_shows_bit_zero)
{
    EXPECT_EQ(shortcut_row(1, R"("ShortcutFlags": 3)"), "Internet Shortcut | Yes");
    EXPECT_EQ(shortcut_row(1, R"("ShortcutFlags": 2)"), "Internet Shortcut | No");
    EXPECT_EQ(shortcut_row(1, R"("ShortcutFlags": -1)"), "Internet Shortcut | Yes");
    EXPECT_EQ(shortcut_row(1, R"("ShortcutFlags": -2)"), "Internet Shortcut | No");
}

TEST_F(shell_properties, the_folder_type_shows_bit_zero)
{
    EXPECT_EQ(shortcut_row(5, R"("FolderType": 1)"), "Folder Type | Personal");
    EXPECT_EQ(shortcut_row(5, R"("FolderType": 2)"), "Folder Type | Common");
    EXPECT_EQ(shortcut_row(5, R"("FolderType": 3)"), "Folder Type | Personal");
}

TEST_F(shell_properties, run_shows_three_commands)
{
    EXPECT_EQ(shortcut_row(7, R"("ShowCommand": 3)"), "Run | Maximized Window");
    EXPECT_EQ(shortcut_row(7, R"("ShowCommand": 7)"), "Run | Minimized Window");
    EXPECT_EQ(shortcut_row(7, R"("ShowCommand": 0)"), "Run | ");
    EXPECT_EQ(shortcut_row(7, R"("ShowCommand": 2)"), "Run | ");
}

TEST_F(shell_properties, the_icon_index_has_32_bits)
{
    EXPECT_EQ(shortcut_row(9, R"("IconIndex": 2147483647)"), "Icon Index | 2147483647");
    EXPECT_EQ(shortcut_row(9, R"("IconIndex": -2147483648)"), "Icon Index | -2147483648");
}

TEST_F(shell_properties, an_error_leaves_the_rows_so_far)
{
    EXPECT_EQ(folder_rows(R"("DisplayName": "Programs", "Shared": {"fail": "0x8000ABCD"})"),
              lines{"Display Name | Programs"});
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
    EXPECT_EQ(shortcut_rows(R"("ShortcutText": "Start", "Target": {"fail": "0x8000ABCD"})"),
              (lines{"Shortcut Text | Start", "Internet Shortcut | No"}));
    EXPECT_EQ(take_error_codes(), lines{"0x8000ABCD"});
}

TEST_F(shell_properties, the_kind_of_the_node_decides_nothing)
{
    // The object tells what it is, whichever of the two kinds its node has.
    folder_rows(R"("DisplayName": "Programs", "Shortcuts": [{"Name": "S"}])");
    NavNodeMap& nodes = frame_access::nodes(frame());
    nodes[item_at(frame(), "Explorer Shell/F")].kind = NODEKIND_SHELL_SHORTCUT;
    nodes[item_at(frame(), "Explorer Shell/F/S")].kind = NODEKIND_SHELL_FOLDER;
    select(frame(), "Explorer Shell/F/S");
    EXPECT_EQ(rows_of(frame()).size(), 16u);
    select(frame(), "Explorer Shell/F");
    EXPECT_EQ(rows_of(frame()), (lines{"Display Name | Programs", "Shared | No"}));
}

TEST_F(shell_properties, the_folder_is_asked_for_first_and_wins)
{
    const auto object = scripted_object::make([](DISPID, const VARIANT*, VARIANT& result) {
        result.vt = VT_BOOL;
        result.boolVal = VARIANT_TRUE;
        return S_OK;
    });
    object->is_everything = true;
    folder_rows("");
    const HTREEITEM item = frame().InsertNavNode({}, u"both", {NODEKIND_SHELL_SHORTCUT, object});
    object->asked.clear();
    frame().Tree().SelectItem(item);
    EXPECT_EQ(rows_of(frame()).size(), 2u);
    EXPECT_EQ(object->asked, (std::vector<IID>{IID_IMediaShellFolder, IID_IMediaShortcut}));
    frame_access::nodes(frame()).clear();
}

TEST_F(shell_properties, an_object_that_is_neither_leaves_an_empty_list)
{
    const auto stranger = scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; });
    folder_rows("");
    const HTREEITEM item = frame().InsertNavNode({}, u"stranger", {NODEKIND_SHELL_FOLDER, stranger});
    frame().SetListColumns(NODEKIND_REGISTRY_VALUES);
    put_marked_row(frame());
    frame().Tree().SelectItem(item);
    EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
    EXPECT_EQ(rows_of(frame()), lines{});
    EXPECT_EQ(take_error_codes(), lines{});
    frame_access::nodes(frame()).clear();
}

TEST_F(shell_properties, rows_have_no_icons)
{
    shortcut_rows("");
    EXPECT_EQ(frame().List().GetSmallImages(), &frame().SpacerImages());
    EXPECT_FALSE(frame().List().GetItemImage(0).has_value());
}

} // namespace
} // namespace cw
