#include "app/main_frame.h"

#include "tests/support/frame_harness.h"
#include "tests/support/frame_pictures.h"
#include "tests/support/scripted_readers.h"

#include <gtest/gtest.h>

namespace cw {
namespace {

using namespace test_support;

using lines = std::vector<std::string>;

class navigator : public testing::Test {
protected:
    navigator()
    {
        program.start();
        root = frame().Tree().InsertItem(u"root", {}, {});
    }
    CMainFrame& frame() { return program.frame(); }
    /// The images of a new node below the root, or below an item that is below it.
    tree_item_images images_of(node_kind kind, const char16_t* text = u"text", bool deeper = false)
    {
        const HTREEITEM parent = deeper ? frame().Tree().InsertItem(u"parent", {}, root) : root;
        return frame().Tree().GetItemImages(frame().InsertNavNode(parent, text, {kind, nullptr})).value();
    }

    frame_harness program;
    HTREEITEM root;
};

automation::com_ptr<scripted_object> some_object()
{
    return scripted_object::make([](DISPID, const VARIANT*, VARIANT&) { return E_FAIL; });
}

TEST_F(navigator, a_node_is_inserted_last_and_entered_in_the_map)
{
    const auto object = some_object();
    const HTREEITEM first = frame().InsertNavNode(root, u"b", {NODEKIND_FEATURE, object});
    const HTREEITEM second = frame().InsertNavNode(root, u"a", {NODEKIND_SHELL_SHORTCUT, nullptr});
    EXPECT_EQ(tree_of(frame()), "root\n  b\n  a\n");
    EXPECT_EQ(frame().NavNodes().size(), 2u);
    EXPECT_EQ(frame().NavNodes().at(first).kind, NODEKIND_FEATURE);
    EXPECT_EQ(frame().NavNodes().at(first).object.get(), object.get());
    EXPECT_EQ(frame().NavNodes().at(second).kind, NODEKIND_SHELL_SHORTCUT);
    EXPECT_FALSE(frame().NavNodes().at(second).object);
}

TEST_F(navigator, a_null_parent_means_the_first_root)
{
    frame().Tree().InsertItem(u"other", {}, {});
    frame().InsertNavNode({}, u"a", {NODEKIND_REGISTRY_KEY, nullptr});
    EXPECT_EQ(detailed_tree_of(frame()), "root (-; -)\n  a (6; 5, 5)\nother (-; -)\n");
}

TEST_F(navigator, a_null_parent_in_an_empty_tree_makes_a_root)
{
    frame().Tree().DeleteAllItems();
    frame().InsertNavNode({}, u"Media Settings", {NODEKIND_MEDIA_SETTINGS, nullptr});
    frame().InsertNavNode({}, u"a", {NODEKIND_LOG_FILEREG, nullptr});
    EXPECT_EQ(detailed_tree_of(frame()), "Media Settings (8; 1, 2)\n  a (11; 5, 5)\n");
}

TEST_F(navigator, images_follow_the_kind)
{
    struct rule {
        node_kind kind;
        tree_item_images first_level;
        tree_item_images deeper;
    };
    for (const rule& expected : {rule{NODEKIND_FEATURE, {1, 2}, {1, 2}},
                                 {NODEKIND_COMPONENT, {1, 2}, {1, 2}},
                                 {NODEKIND_COMPONENT_FILES, {3, 3}, {3, 3}},
                                 {NODEKIND_SETUP_TYPE, {10, 10}, {10, 10}},
                                 {NODEKIND_SETUP_TYPE_FEATURE, {1, 2}, {1, 2}},
                                 {NODEKIND_SHELL_FOLDER, {1, 2}, {1, 2}},
                                 {NODEKIND_REGISTRY_KEY, {5, 5}, {1, 2}},
                                 {NODEKIND_REGISTRY_VALUES, {1, 2}, {1, 2}},
                                 {NODEKIND_MEDIA_SETTINGS, {1, 2}, {1, 2}},
                                 {NODEKIND_LOG_FEATURE, {1, 2}, {1, 2}},
                                 {NODEKIND_LOG_FILE, {3, 3}, {3, 3}},
                                 {NODEKIND_LOG_FILEREG, {5, 5}, {1, 2}},
                                 {NODEKIND_LOG_REGISTRY, {5, 5}, {1, 2}},
                                 {NODEKIND_LOG_INI, {3, 3}, {3, 3}},
                                 {NODEKIND_LOG_SHELL, {4, 4}, {4, 4}},
                                 {NODEKIND_LOG_GENERAL, {0, 0}, {0, 0}},
                                 {NODEKIND_LOG_DOTNET, {9, 9}, {9, 9}},
                                 {NODEKIND_SHELL_SHORTCUT, {4, 4}, {4, 4}},
                                 {18, {1, 2}, {1, 2}},
                                 {-1, {1, 2}, {1, 2}}}) {
        EXPECT_EQ(images_of(expected.kind), expected.first_level) << expected.kind;
        EXPECT_EQ(images_of(expected.kind, u"text", true), expected.deeper) << expected.kind;
    }
}

TEST_F(navigator, texts_win_over_kinds)
{
    for (node_kind kind = 0; kind <= NODEKIND_SHELL_SHORTCUT; ++kind) {
        for (const char16_t* text : {u"Desktop", u"desktop", u"DESKTOP"})
            EXPECT_EQ(images_of(kind, text), (tree_item_images{14, 14})) << kind;
        for (const char16_t* text : {u"Start Menu", u"start menu"})
            EXPECT_EQ(images_of(kind, text), (tree_item_images{15, 15})) << kind;
        for (const char16_t* text : {u"<Data>", u"<data>"})
            EXPECT_EQ(images_of(kind, text, true), (tree_item_images{16, 16})) << kind;
    }
}

TEST_F(navigator, features_has_its_images_below_a_setup_type_only)
{
    EXPECT_EQ(images_of(NODEKIND_SETUP_TYPE, u"Features"), (tree_item_images{11, 11}));
    EXPECT_EQ(images_of(NODEKIND_SETUP_TYPE, u"FEATURES"), (tree_item_images{11, 11}));
    EXPECT_EQ(images_of(NODEKIND_FEATURE, u"Features"), (tree_item_images{1, 2}));
}

TEST_F(navigator, only_the_whole_text_counts)
{
    for (const char16_t* text : {u"Desktop ", u" Desktop", u"Start", u"<Data>x", u"StartMenu", u""})
        EXPECT_EQ(images_of(NODEKIND_FEATURE, text), (tree_item_images{1, 2}));
}

TEST_F(navigator, a_node_holds_one_reference)
{
    HTREEITEM item;
    {
        const auto object = some_object();
        item = frame().InsertNavNode(root, u"a", {NODEKIND_FEATURE, object});
    }
    EXPECT_EQ(scripted_object::alive, 1);
    // Deleting the item leaves the entry and its reference.
    frame().Tree().DeleteItem(item);
    EXPECT_EQ(scripted_object::alive, 1);
    frame_access::nodes(frame())[item] = {NODEKIND_COMPONENT, some_object()};
    EXPECT_EQ(scripted_object::alive, 1);
    EXPECT_EQ(frame().NavNodes().at(item).kind, NODEKIND_COMPONENT);
    frame_access::nodes(frame()).clear();
    EXPECT_EQ(scripted_object::alive, 0);
}

TEST_F(navigator, assigning_a_node_releases_the_old_object_last)
{
    const auto old_object = some_object();
    const auto new_object = some_object();
    NavNode& node = frame_access::nodes(frame())[root];
    node = {NODEKIND_FEATURE, old_object};
    IDispatch* at_release = nullptr;
    old_object->on_release = [&] { at_release = node.object.get(); };
    node = {NODEKIND_COMPONENT, new_object};
    EXPECT_EQ(at_release, new_object.get());
    old_object->on_release = nullptr;
}

TEST_F(navigator, property_rows_have_a_label_and_a_value)
{
    frame().AddPropertyRow(0, 157u, u"Main");
    frame().AddYesNoRow(1, 161, true);
    frame().AddYesNoRow(2, 161, false);
    frame().AddPropertyRow(3, string(u"own label"), string(u""));
    EXPECT_EQ(rows_of(frame()), (lines{"Name | Main", "Visible | Yes", "Visible | No", "own label | "}));
    // At the index that is given, the later ones move down.
    frame().AddPropertyRow(1, string(u"between"), string(u"x"));
    EXPECT_EQ(rows_of(frame()).at(1), "between | x");
    EXPECT_EQ(rows_of(frame()).at(2), "Visible | Yes");
}

TEST_F(navigator, columns_are_replaced_by_those_of_a_kind)
{
    frame().SetListColumns(NODEKIND_LOG_REGISTRY);
    EXPECT_EQ(frame().List().GetColumnCount(), 9u);
    frame().List().InsertItem(0, u"row");
    frame().SetListColumns(NODEKIND_REGISTRY_VALUES);
    EXPECT_EQ(columns_of(frame()), "Name (120) | Data (300) | Uninstall (100)");
    EXPECT_EQ(rows_of(frame()), lines{});
    frame().SetListColumns(NODEKIND_REGISTRY_VALUES);
    EXPECT_EQ(columns_of(frame()), "Name (120) | Data (300) | Uninstall (100)");
}

TEST_F(navigator, a_kind_without_columns_leaves_the_list_as_it_is)
{
    put_marked_row(frame());
    for (const node_kind kind : {NODEKIND_SETUP_TYPE_FEATURE, 18, -1}) {
        frame().SetListColumns(kind);
        EXPECT_EQ(columns_of(frame()), "Property (150) | Value (400)");
        EXPECT_EQ(rows_of(frame()), lines{std::string(marked_row)});
    }
}

} // namespace
} // namespace cw
