#include "console/index_path.h"

#include <gtest/gtest.h>

namespace cw::console {
namespace {

using places = std::vector<std::size_t>;

TEST(index_path, is_places_behind_slashes)
{
    EXPECT_EQ(parse_index_path("0"), places{0});
    EXPECT_EQ(parse_index_path("0/2/1"), (places{0, 2, 1}));
    EXPECT_EQ(parse_index_path("10/007"), (places{10, 7}));
}

TEST(index_path, takes_nothing_else)
{
    for (const char* text : {"", "/", "0/", "/0", "0//1", "a", "0/a", "-1", "+1", " 0", "0 ", "0x1", "1.5", "none",
                             "99999999999999999999999"})
        EXPECT_FALSE(parse_index_path(text).has_value()) << text;
}

class index_path_of_a_tree : public testing::Test {
protected:
    CTreeCtrl tree;
    HTREEITEM first = tree.InsertItem(u"first", {}, {});
    HTREEITEM second = tree.InsertItem(u"second", {}, {});
    HTREEITEM child = tree.InsertItem(u"child", {}, second);
    HTREEITEM other = tree.InsertItem(u"other", {}, second);
    HTREEITEM leaf = tree.InsertItem(u"leaf", {}, other);
};

TEST_F(index_path_of_a_tree, finds_items_by_their_places)
{
    EXPECT_EQ(item_at(tree, places{0}), first);
    EXPECT_EQ(item_at(tree, places{1, 0}), child);
    EXPECT_EQ(item_at(tree, places{1, 1, 0}), leaf);
}

TEST_F(index_path_of_a_tree, finds_nothing_beside_the_tree)
{
    EXPECT_FALSE(item_at(tree, places{2}));
    EXPECT_FALSE(item_at(tree, places{0, 0}));
    EXPECT_FALSE(item_at(tree, places{1, 1, 1}));
    // Behind a place that is not there no search begins at the roots again.
    EXPECT_FALSE(item_at(tree, places{7, 0}));
    EXPECT_FALSE(item_at(tree, places{static_cast<std::size_t>(-1)}));
}

TEST_F(index_path_of_a_tree, tells_an_items_places)
{
    for (const HTREEITEM item : {first, second, child, other, leaf})
        EXPECT_EQ(item_at(tree, parse_index_path(index_path_of(tree, item)).value()), item);
    EXPECT_EQ(index_path_of(tree, leaf), "1/1/0");
    EXPECT_EQ(index_path_of(tree, {}), "");
}

} // namespace
} // namespace cw::console
