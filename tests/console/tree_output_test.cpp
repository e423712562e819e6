#include "console/tree_output.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace cw::console {
namespace {

using nlohmann::json;

class tree_output : public testing::Test {
protected:
    std::string text_of() const
    {
        std::ostringstream out;
        print_tree(out, tree);
        return out.str();
    }
    std::string json_of() const
    {
        std::ostringstream out;
        print_tree_json(out, tree, nodes);
        return out.str();
    }

    CTreeCtrl tree;
    NavNodeMap nodes;
};

TEST_F(tree_output, of_an_empty_tree_is_empty)
{
    EXPECT_EQ(text_of(), "");
    EXPECT_EQ(json_of(), "[]\n");
}

TEST_F(tree_output, indents_each_level_by_two_blanks)
{
    const HTREEITEM a = tree.InsertItem(u"a", {}, {});
    const HTREEITEM b = tree.InsertItem(u"b", {}, a);
    tree.InsertItem(u"c", {}, b);
    tree.InsertItem(u"d", {}, a);
    const HTREEITEM e = tree.InsertItem(u"e", {}, {});
    tree.InsertItem(u"", {}, e);
    EXPECT_EQ(text_of(), "a\n  b\n    c\n  d\ne\n  \n");
}

TEST_F(tree_output, nodes_have_five_fields_in_order)
{
    tree.InsertItem(u"a", tree_item_images{3, 4}, {});
    EXPECT_EQ(json_of(), R"([{"text":"a","kind":null,"images":[3,4],"expanded":false,"children":[]}])"
                         "\n");
}

TEST_F(tree_output, kind_and_images_are_null_where_there_are_none)
{
    const HTREEITEM a = tree.InsertItem(u"a", {}, {});
    nodes[a] = {NODEKIND_SHELL_SHORTCUT, nullptr};
    const HTREEITEM b = tree.InsertItem(u"b", tree_item_images{0, 0}, a);
    tree.Expand(a);
    EXPECT_TRUE(b);
    EXPECT_EQ(json::parse(json_of()), json::parse(R"([{"text": "a", "kind": 17, "images": null, "expanded": true,
        "children": [{"text": "b", "kind": null, "images": [0, 0], "expanded": false, "children": []}]}])"));
}

TEST_F(tree_output, closes_as_many_levels_as_it_opened)
{
    // Every step down, up and across.
    const HTREEITEM a = tree.InsertItem(u"a", {}, {});
    const HTREEITEM b = tree.InsertItem(u"b", {}, a);
    tree.InsertItem(u"d", {}, tree.InsertItem(u"c", {}, b));
    tree.InsertItem(u"e", {}, a);
    tree.InsertItem(u"g", {}, tree.InsertItem(u"f", {}, {}));
    tree.InsertItem(u"h", {}, {});
    json roots = json::parse(json_of());
    ASSERT_EQ(roots.size(), 3u);
    EXPECT_EQ(roots[0]["children"][0]["children"][0]["children"][0]["text"], "d");
    EXPECT_EQ(roots[0]["children"][1]["text"], "e");
    EXPECT_EQ(roots[1]["children"][0]["text"], "g");
    EXPECT_EQ(roots[2]["text"], "h");
}

TEST_F(tree_output, controls_are_replaced_for_people_and_kept_for_programs)
{
    tree.InsertItem(u"a\x1b\n\"\\\u00e9", {}, {});
    EXPECT_EQ(text_of(), "a\uFFFD\uFFFD\"\\\u00e9\n");
    EXPECT_EQ(json::parse(json_of())[0]["text"], "a\x1b\n\"\\\u00e9");
    EXPECT_EQ(json_of().find('\x1b'), std::string::npos);
}

TEST_F(tree_output, half_a_character_is_replaced)
{
    const char16_t half[] = {u'a', 0xD800, u'b', 0xDC00, 0};
    tree.InsertItem(half, {}, {});
    EXPECT_EQ(text_of(), "a\uFFFDb\uFFFD\n");
    EXPECT_EQ(json::parse(json_of())[0]["text"], "a\uFFFDb\uFFFD");
}

} // namespace
} // namespace cw::console
