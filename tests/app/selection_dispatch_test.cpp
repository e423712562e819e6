#include "app/main_frame.h"

#include "app/menus.h"
#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

constexpr const char* property_columns = "Property (150) | Value (400)";
constexpr const char* file_columns = "Filename (200) | Size (200) | Compressed Size (200) | Date (200) | Version "
                                     "(200) | MD5 Signature (200) | Flags (200)";

class selection_dispatch : public testing::Test {
protected:
    selection_dispatch()
    {
        program.start();
        program.open_media(R"("Features": [{"Name": "Main"}], "Components": [{"Name": "Program"}])");
    }
    CMainFrame& frame() { return program.frame(); }
    /// An item below the first root with a node of that kind over the object of the feature "Main".
    HTREEITEM add_node(node_kind kind)
    {
        const auto object = frame().NavNodes().at(item_at(frame(), "Features/Main")).object;
        return frame().InsertNavNode({}, u"added", {kind, object});
    }
    lines rows_after_selecting(HTREEITEM item)
    {
        frame().Tree().SelectItem({});
        put_marked_row(frame());
        frame().Tree().SelectItem(item);
        return rows_of(frame());
    }

    frame_harness program;
};

TEST_F(selection_dispatch, an_item_without_a_node_resets_the_columns)
{
    select(frame(), "Components/Program/Files");
    EXPECT_EQ(columns_of(frame()), file_columns);
    put_marked_row(frame());
    select(frame(), "Components");
    EXPECT_EQ(columns_of(frame()), property_columns);
    EXPECT_EQ(rows_of(frame()), lines{});
}

TEST_F(selection_dispatch, no_item_resets_the_columns)
{
    select(frame(), "Components/Program/Files");
    put_marked_row(frame());
    frame().Tree().SelectItem({});
    EXPECT_EQ(columns_of(frame()), property_columns);
    EXPECT_EQ(rows_of(frame()), lines{});
    // Looking creates no entry.
    EXPECT_FALSE(frame().NavNodes().contains(HTREEITEM{}));
}

TEST_F(selection_dispatch, looking_up_an_item_creates_no_node)
{
    const std::size_t count = frame().NavNodes().size();
    select(frame(), "Features");
    EXPECT_EQ(frame().NavNodes().size(), count);
}

TEST_F(selection_dispatch, a_null_object_empties_the_list_and_keeps_the_columns)
{
    for (node_kind kind = 0; kind <= NODEKIND_SHELL_SHORTCUT; ++kind) {
        const HTREEITEM item = frame().InsertNavNode({}, u"empty", {kind, nullptr});
        select(frame(), "Components/Program/Files");
        put_marked_row(frame());
        frame().Tree().SelectItem(item);
        EXPECT_EQ(rows_of(frame()), lines{}) << kind;
        EXPECT_EQ(columns_of(frame()), file_columns) << kind;
    }
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(selection_dispatch, a_root_item_with_a_node_empties_the_list)
{
    const auto object = frame().NavNodes().at(item_at(frame(), "Features/Main")).object;
    for (const node_kind kind : {NODEKIND_FEATURE, NODEKIND_SETUP_TYPE_FEATURE, NODEKIND_COMPONENT}) {
        frame().Tree().DeleteAllItems();
        const HTREEITEM root = frame().InsertNavNode({}, u"root", {kind, object});
        ASSERT_FALSE(frame().Tree().GetParentItem(root));
        EXPECT_EQ(rows_after_selecting(root), lines{}) << kind;
    }
}

TEST_F(selection_dispatch, features_show_their_properties)
{
    select(frame(), "Features/Main");
    EXPECT_EQ(rows_of(frame()).at(0), "Name | Main");
    EXPECT_EQ(rows_of(frame()).size(), 26u);
    EXPECT_EQ(rows_after_selecting(add_node(NODEKIND_SETUP_TYPE_FEATURE)).at(0), "Name | Main");
}

TEST_F(selection_dispatch, components_and_their_files_show_theirs)
{
    select(frame(), "Components/Program");
    EXPECT_EQ(rows_of(frame()).at(0), "Name | Program");
    EXPECT_EQ(columns_of(frame()), property_columns);
    select(frame(), "Components/Program/Files");
    EXPECT_EQ(columns_of(frame()), file_columns);
    EXPECT_EQ(rows_of(frame()), lines{});
}

TEST_F(selection_dispatch, every_kind_of_a_media_shows_its_rows)
{
    program.open_media(R"("SetupTypes": [{"Name": "Typical", "Features": [{"Name": "Main"}]}],
        "ShellFolders": [{"Name": "Desktop", "DisplayName": "The Desktop", "Shortcuts": [
            {"Name": "Tour", "ShortcutText": "The Tour"}]}],
        "RegistrySets": [{"Name": "Set", "Components": ["Program"], "UsersKeys": [
            {"Path": "Software\\Tour", "DefaultValue": "x"}]}],
        "MediaSettings": {"ProductName": "Harbour"})");
    const auto first_row_of = [&](std::string_view path) {
        select(frame(), path);
        const lines rows = rows_of(frame());
        return rows.empty() ? std::string("none") : rows.front();
    };
    EXPECT_EQ(first_row_of("Setup Types/Typical"), "none");
    EXPECT_EQ(first_row_of("Setup Types/Typical/Features"), "none");
    EXPECT_EQ(first_row_of("Setup Types/Typical/Features/Main"), "Name | Main");
    EXPECT_EQ(first_row_of("Explorer Shell/Desktop"), "Display Name | The Desktop");
    EXPECT_EQ(first_row_of("Explorer Shell/Desktop/Tour"), "Shortcut Text | The Tour");
    EXPECT_EQ(first_row_of("Registry Entries/Set"), "Component(s) | Program");
    EXPECT_EQ(first_row_of("Registry Entries/Set/HKEY_USERS"), "none");
    EXPECT_EQ(first_row_of("Registry Entries/Set/HKEY_USERS/Software"), "none");
    EXPECT_EQ(first_row_of("Registry Entries/Set/HKEY_USERS/Software/Tour"), "(Default) | x | ");
    EXPECT_EQ(first_row_of("Media Settings"), "Product Name | Harbour");
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(selection_dispatch, of_the_roots_the_media_settings_alone_have_a_list)
{
    for (const std::string& root : roots_of(frame())) {
        select(frame(), "Features/Main");
        select(frame(), root);
        EXPECT_EQ(rows_of(frame()).empty(), root != "Media Settings") << root;
    }
}

TEST_F(selection_dispatch, registry_keys_have_icons_until_the_next_selection)
{
    program.open_media(R"("Features": [{"Name": "Main"}],
        "RegistrySets": [{"Name": "Set", "UsersKeys": [{"Path": "Software\\Tour"}]}])");
    const auto has_icons_after = [&](std::string_view path) {
        select(frame(), path);
        EXPECT_TRUE(frame().List().GetSmallImages() == &frame().TreeImages() ||
                    frame().List().GetSmallImages() == &frame().SpacerImages());
        return frame().List().GetSmallImages() == &frame().TreeImages();
    };
    EXPECT_TRUE(has_icons_after("Registry Entries/Set/HKEY_USERS/Software/Tour"));
    EXPECT_FALSE(has_icons_after("Features/Main"));
    EXPECT_TRUE(has_icons_after("Registry Entries/Set/HKEY_USERS/Software/Tour"));
    // Nodes without an object get no list, and no icons.
    EXPECT_FALSE(has_icons_after("Registry Entries/Set/HKEY_USERS/Software"));
    // The one row of a set has none either.
    EXPECT_FALSE(has_icons_after("Registry Entries/Set"));
    EXPECT_FALSE(has_icons_after("Registry Entries"));
}

TEST_F(selection_dispatch, kinds_without_a_presenter_empty_the_list)
{
    for (const node_kind kind : {NODEKIND_SETUP_TYPE, NODEKIND_REGISTRY_VALUES, 18, 1000})
        EXPECT_EQ(rows_after_selecting(add_node(kind)), lines{}) << kind;
    EXPECT_TRUE(program.take_unhandled().empty());
}

TEST_F(selection_dispatch, every_selection_takes_the_icons_away)
{
    const auto expect_spacer_after = [&](HTREEITEM item) {
        frame().List().SetSmallImages(&frame().TreeImages());
        frame().Tree().SelectItem(item);
        EXPECT_EQ(frame().List().GetSmallImages(), &frame().SpacerImages());
    };
    expect_spacer_after(item_at(frame(), "Features/Main"));
    expect_spacer_after(item_at(frame(), "Features"));
    expect_spacer_after(item_at(frame(), "Components/Program/Files"));
    expect_spacer_after({});
}

TEST_F(selection_dispatch, the_object_lives_for_the_time_of_the_dispatch)
{
    int reads = 0;
    HTREEITEM item;
    {
        const auto feature = scripted_object::make(
            [&](DISPID member, const VARIANT*, VARIANT& result) {
                // What a library that calls back might do.
                if (reads++ == 0) {
                    frame_access::nodes(frame()).clear();
                    EXPECT_EQ(scripted_object::alive, 1);
                }
                if (member == media_feature::Flags.id) {
                    result.lVal = 0;
                    result.vt = VT_I4;
                }
                return member == media_feature::Flags.id ? S_OK : E_FAIL;
            },
            IID_IMediaFeature);
        item = frame().InsertNavNode({}, u"calls back", {NODEKIND_FEATURE, feature});
    }
    frame().Tree().SelectItem(item);
    EXPECT_EQ(reads, 2);
    EXPECT_EQ(scripted_object::alive, 0);
    EXPECT_EQ(program.take_unhandled().size(), 1u);
}

TEST_F(selection_dispatch, an_error_in_a_presenter_leaves_its_rows_and_the_frame)
{
    program.open_media(R"("Features": [{"Name": "Main", "StatusText": {"fail": "0x80070005"}}, {"Name": "Other"}])");
    select(frame(), "Features/Main");
    const lines unhandled = program.take_unhandled();
    ASSERT_EQ(unhandled.size(), 1u);
    EXPECT_TRUE(unhandled[0].starts_with("cwcabview: unhandled error: 0x80070005")) << unhandled[0];
    EXPECT_EQ(rows_of(frame()), (lines{"Name | Main", "Description | "}));
    select(frame(), "Features/Other");
    EXPECT_EQ(rows_of(frame()).size(), 26u);
    EXPECT_TRUE(program.take_unhandled().empty());
}

} // namespace
} // namespace cw
