#include "framework/tree_control.h"

#include "platform/services.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

namespace cw {
namespace {

using names = std::vector<std::u16string>;

/// "a(b c(d)) e" for two roots with children.
std::u16string drawn(const CTreeCtrl& tree, HTREEITEM first)
{
    std::u16string result;
    for (HTREEITEM item = first; item; item = tree.GetNextSiblingItem(item)) {
        if (!result.empty())
            result += u' ';
        result += tree.GetItemText(item);
        if (const HTREEITEM child = tree.GetChildItem(item))
            result += u"(" + drawn(tree, child) + u")";
    }
    return result;
}

std::u16string drawn(const CTreeCtrl& tree)
{
    return drawn(tree, tree.GetRootItem());
}

/// The same level seen by rows.
names rows(const CTreeCtrl& tree, HTREEITEM parent)
{
    names result;
    for (std::size_t row = 0; row < tree.GetChildCount(parent); ++row) {
        const HTREEITEM item = tree.GetChildAt(parent, row);
        EXPECT_EQ(tree.GetRow(item), row);
        result.emplace_back(tree.GetItemText(item));
    }
    return result;
}

class recording_observer final : public tree_observer {
public:
    names lines;
    void tree_structure_changing() override { lines.emplace_back(u"changing"); }
    void tree_selection_changed() override { lines.emplace_back(u"selection"); }
    void tree_item_expanded(HTREEITEM, bool expanded) override
    {
        lines.emplace_back(expanded ? u"expanded" : u"collapsed");
    }
    void tree_item_wanted_visible(HTREEITEM) override { lines.emplace_back(u"visible"); }
    void tree_style_changed() override { lines.emplace_back(u"style"); }
};

class tree_control : public testing::Test {
protected:
    void SetUp() override
    {
        tree.set_control_id(59648);
        tree.set_parent([this](std::uint32_t id, std::uint32_t code) {
            EXPECT_EQ(id, 59648u);
            EXPECT_EQ(code, TVN_SELCHANGEDW);
            selected.emplace_back(tree.GetItemText(tree.GetSelectedItem()));
        });
    }
    HTREEITEM add(std::u16string_view text, HTREEITEM parent = {}) { return tree.InsertItem(text, {}, parent); }

    CTreeCtrl tree;
    names selected;
};

TEST_F(tree_control, knows_the_sibling_before)
{
    const HTREEITEM a = add(u"a");
    const HTREEITEM b = add(u"b");
    const HTREEITEM below = add(u"below", b);
    const HTREEITEM c = add(u"c");
    EXPECT_EQ(tree.GetPrevSiblingItem(c), b);
    EXPECT_EQ(tree.GetPrevSiblingItem(b), a);
    EXPECT_EQ(tree.GetPrevSiblingItem(a), HTREEITEM{});
    EXPECT_EQ(tree.GetPrevSiblingItem(below), HTREEITEM{});
    tree.DeleteItem(b);
    EXPECT_EQ(tree.GetPrevSiblingItem(c), a);
    EXPECT_EQ(tree.GetPrevSiblingItem(b), HTREEITEM{});
    EXPECT_EQ(tree.GetPrevSiblingItem({}), HTREEITEM{});
}

TEST_F(tree_control, inserts_behind_the_last_sibling)
{
    const HTREEITEM a = add(u"a");
    const HTREEITEM b = add(u"b");
    add(u"a1", a);
    add(u"b1", b);
    add(u"a2", a);
    EXPECT_EQ(drawn(tree), u"a(a1 a2) b(b1)");
    EXPECT_EQ(tree.GetItemCount(), 5u);
    EXPECT_EQ(tree.GetRootItem(), a);
    EXPECT_EQ(tree.GetFirstVisibleItem(), a);
    EXPECT_EQ(tree.GetParentItem(tree.GetChildItem(a)), a);
    EXPECT_EQ(tree.GetParentItem(a), HTREEITEM{});
    EXPECT_EQ(rows(tree, {}), (names{u"a", u"b"}));
    EXPECT_EQ(rows(tree, a), (names{u"a1", u"a2"}));
}

TEST_F(tree_control, keeps_text_and_images)
{
    const HTREEITEM plain = add(u"a");
    const HTREEITEM drawn_item = tree.InsertItem(u"b", tree_item_images{3, 4}, plain);
    EXPECT_EQ(tree.GetItemImages(plain), std::nullopt);
    EXPECT_EQ(tree.GetItemImages(drawn_item), (tree_item_images{3, 4}));
    EXPECT_EQ(tree.GetItemText(drawn_item), u"b");
}

TEST_F(tree_control, takes_the_text_of_one_of_its_own_items)
{
    const HTREEITEM first = add(u"a text that does not fit in the object itself");
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(tree.GetItemText(add(tree.GetItemText(first))), tree.GetItemText(first));
}

TEST_F(tree_control, deletes_an_item_with_all_below_it)
{
    const HTREEITEM a = add(u"a");
    const HTREEITEM a1 = add(u"a1", a);
    add(u"a11", a1);
    add(u"a2", a);
    add(u"b");
    EXPECT_EQ(rows(tree, a), (names{u"a1", u"a2"}));
    EXPECT_TRUE(tree.DeleteItem(a1));
    EXPECT_EQ(drawn(tree), u"a(a2) b");
    EXPECT_EQ(rows(tree, a), (names{u"a2"}));
    EXPECT_EQ(tree.GetItemCount(), 3u);
    EXPECT_TRUE(tree.DeleteItem(tree.GetChildItem(a)));
    EXPECT_TRUE(tree.DeleteItem(a));
    EXPECT_EQ(drawn(tree), u"b");
    EXPECT_EQ(rows(tree, {}), names{u"b"});
}

TEST_F(tree_control, deletes_first_middle_and_last_siblings)
{
    const HTREEITEM items[] = {add(u"a"), add(u"b"), add(u"c"), add(u"d"), add(u"e")};
    EXPECT_EQ(rows(tree, {}).size(), 5u);
    tree.DeleteItem(items[4]);
    EXPECT_EQ(rows(tree, {}), (names{u"a", u"b", u"c", u"d"}));
    tree.DeleteItem(items[1]);
    EXPECT_EQ(rows(tree, {}), (names{u"a", u"c", u"d"}));
    tree.DeleteItem(items[0]);
    EXPECT_EQ(rows(tree, {}), (names{u"c", u"d"}));
    add(u"f");
    EXPECT_EQ(drawn(tree), u"c d f");
    EXPECT_EQ(rows(tree, {}), (names{u"c", u"d", u"f"}));
}

TEST_F(tree_control, answers_none_for_a_handle_that_no_longer_lives)
{
    const HTREEITEM a = add(u"a");
    const HTREEITEM child = tree.InsertItem(u"child", tree_item_images{1, 2}, a);
    tree.Expand(a);
    tree.DeleteItem(a);
    const HTREEITEM again = add(u"again");
    add(u"again 2");
    for (const HTREEITEM stale : {a, child, HTREEITEM{}, HTREEITEM{~std::uint64_t{0}}, HTREEITEM{12345}}) {
        EXPECT_FALSE(tree.IsLive(stale));
        EXPECT_NE(stale, again);
        EXPECT_EQ(tree.GetParentItem(stale), HTREEITEM{});
        EXPECT_EQ(tree.GetChildItem(stale), HTREEITEM{});
        EXPECT_EQ(tree.GetNextSiblingItem(stale), HTREEITEM{});
        EXPECT_EQ(tree.GetItemText(stale), u"");
        EXPECT_EQ(tree.GetItemImages(stale), std::nullopt);
        EXPECT_FALSE(tree.IsExpanded(stale));
        EXPECT_EQ(tree.GetRow(stale), 0u);
        EXPECT_FALSE(tree.DeleteItem(stale));
        if (!stale)
            continue;
        EXPECT_EQ(add(u"x", stale), HTREEITEM{});
        EXPECT_EQ(tree.GetChildCount(stale), 0u);
        EXPECT_EQ(tree.GetChildAt(stale, 0), HTREEITEM{});
        tree.SelectItem(stale);
        tree.Expand(stale);
        tree.EnsureVisible(stale);
        tree.SortChildren(stale);
    }
    EXPECT_EQ(drawn(tree), u"again again 2");
    EXPECT_EQ(selected, names{});
    EXPECT_EQ(tree.GetChildAt({}, 2), HTREEITEM{});
}

TEST_F(tree_control, never_uses_a_handle_again)
{
    std::vector<HTREEITEM> seen;
    for (int i = 0; i < 50; ++i) {
        const HTREEITEM item = add(u"x");
        EXPECT_EQ(std::ranges::find(seen, item), seen.end());
        seen.push_back(item);
        if (i % 2)
            tree.DeleteItem(item);
        else
            tree.DeleteAllItems();
    }
}

TEST_F(tree_control, notifies_before_a_selection_returns)
{
    const HTREEITEM a = add(u"a");
    const HTREEITEM a1 = add(u"a1", a);
    tree.SelectItem(a1);
    EXPECT_EQ(selected, names{u"a1"});
    EXPECT_FALSE(tree.IsExpanded(a));
    tree.SelectItem(a1);
    EXPECT_EQ(selected, names{u"a1"});
    tree.SelectItem({});
    EXPECT_EQ(selected, (names{u"a1", u""}));
    EXPECT_EQ(tree.GetSelectedItem(), HTREEITEM{});
    tree.SelectItem({});
    EXPECT_EQ(selected.size(), 2u);
}

TEST_F(tree_control, deletes_the_selection_without_a_notification)
{
    const HTREEITEM a = add(u"a");
    const HTREEITEM a1 = add(u"a1", a);
    const HTREEITEM b = add(u"b");
    tree.SelectItem(b);
    tree.DeleteItem(a1);
    EXPECT_EQ(tree.GetSelectedItem(), b);

    const HTREEITEM a2 = add(u"a2", a);
    tree.SelectItem(a2);
    selected.clear();
    tree.DeleteItem(a);
    EXPECT_EQ(tree.GetSelectedItem(), HTREEITEM{});
    tree.SelectItem(b);
    selected.clear();
    tree.DeleteAllItems();
    EXPECT_EQ(tree.GetSelectedItem(), HTREEITEM{});
    EXPECT_EQ(tree.GetItemCount(), 0u);
    EXPECT_EQ(tree.GetRootItem(), HTREEITEM{});
    EXPECT_EQ(rows(tree, {}), names{});
    EXPECT_EQ(selected, names{});
    EXPECT_EQ(drawn(tree), u"");
    add(u"c");
    EXPECT_EQ(drawn(tree), u"c");
}

TEST_F(tree_control, keeps_the_selection_where_its_notification_throws)
{
    tree.set_parent([](std::uint32_t, std::uint32_t) { throw std::runtime_error("presenter"); });
    const HTREEITEM a = add(u"a");
    EXPECT_THROW(tree.SelectItem(a), std::runtime_error);
    EXPECT_EQ(tree.GetSelectedItem(), a);
}

TEST_F(tree_control, expands_only_items_with_children)
{
    const HTREEITEM a = add(u"a");
    tree.Expand(a);
    EXPECT_FALSE(tree.IsExpanded(a));
    const HTREEITEM child = add(u"a1", a);
    EXPECT_FALSE(tree.IsExpanded(a));
    tree.Expand(a);
    EXPECT_TRUE(tree.IsExpanded(a));
    tree.Expand(a, false);
    EXPECT_FALSE(tree.IsExpanded(a));
    tree.Expand(a);
    tree.DeleteItem(child);
    EXPECT_FALSE(tree.IsExpanded(a));
}

TEST_F(tree_control, expands_the_ancestors_of_what_is_to_be_seen)
{
    const HTREEITEM a = add(u"a");
    const HTREEITEM b = add(u"b", a);
    const HTREEITEM c = add(u"c", b);
    add(u"d", c);
    recording_observer observer;
    tree.SetObserver(&observer);
    tree.EnsureVisible(c);
    EXPECT_TRUE(tree.IsExpanded(a));
    EXPECT_TRUE(tree.IsExpanded(b));
    EXPECT_FALSE(tree.IsExpanded(c));
    EXPECT_EQ(observer.lines, (names{u"expanded", u"expanded", u"visible"}));
}

TEST_F(tree_control, sorts_direct_children_in_dictionary_order)
{
    const HTREEITEM root = add(u"root");
    for (const auto* text : {u"pear", u"Apple", u"apple", u"zoo", u"Éclair", u"apple pie", u"fig"})
        add(text, root);
    add(u"z", tree.GetChildAt(root, 0));
    add(u"y", tree.GetChildAt(root, 0));
    tree.SortChildren(root);
    EXPECT_EQ(drawn(tree), u"root(Apple apple apple pie Éclair fig pear(z y) zoo)");
    EXPECT_EQ(rows(tree, root), (names{u"Apple", u"apple", u"apple pie", u"Éclair", u"fig", u"pear", u"zoo"}));
    add(u"aaa", root);
    EXPECT_EQ(rows(tree, root).back(), u"aaa");
    tree.DeleteItem(tree.GetChildAt(root, 0));
    EXPECT_EQ(rows(tree, root).front(), u"apple");
}

TEST_F(tree_control, sorts_the_roots_for_a_null_handle)
{
    add(u"b");
    add(u"a");
    tree.SortChildren({});
    EXPECT_EQ(drawn(tree), u"a b");
}

TEST_F(tree_control, computes_one_sort_key_a_child)
{
    struct counting_rules final : platform::text_rules {
        platform::text_rules* real = platform::current().rules;
        int keys = 0;
        char16_t to_upper(char16_t unit) noexcept override { return real->to_upper(unit); }
        char16_t to_lower(char16_t unit) noexcept override { return real->to_lower(unit); }
        int compare_no_case(const char16_t* a, const char16_t* b, std::size_t count) noexcept override
        {
            return real->compare_no_case(a, b, count);
        }
        std::string sort_key(std::u16string_view text) override
        {
            ++keys;
            return real->sort_key(text);
        }
    } rules;
    platform::services set = platform::current();
    set.rules = &rules;
    const platform::scoped_services in_use(set);
    for (int i = 0; i < 100; ++i)
        add(std::u16string(1, static_cast<char16_t>(u'a' + i % 26)));
    tree.SortChildren({});
    EXPECT_EQ(rules.keys, 100);
}

TEST_F(tree_control, tells_its_observer)
{
    recording_observer observer;
    tree.SetObserver(&observer);
    const HTREEITEM b = add(u"b");
    const HTREEITEM a = add(u"a");
    add(u"c", b);
    EXPECT_EQ(observer.lines, (names{u"changing", u"changing", u"changing"}));
    observer.lines.clear();
    tree.SelectItem(a);
    tree.Expand(b);
    tree.Expand(b);
    tree.Expand(b, false);
    tree.SortChildren({});
    tree.add_style(1);
    tree.DeleteItem(a);
    tree.DeleteAllItems();
    EXPECT_EQ(observer.lines, (names{u"selection", u"expanded", u"collapsed", u"changing", u"style", u"changing",
                                     u"selection", u"changing"}));
    tree.SetObserver(nullptr);
    add(u"x");
    EXPECT_EQ(observer.lines.size(), 8u);
}

TEST_F(tree_control, grows_and_shrinks_without_renumbering)
{
    constexpr int count = 20'000;
    const auto start = std::chrono::steady_clock::now();
    const HTREEITEM root = add(u"root");
    std::vector<HTREEITEM> items;
    for (int i = 0; i < count; ++i) {
        items.push_back(add(u"component", root));
        // A view that asks for rows between inserts costs no count of all siblings.
        ASSERT_EQ(tree.GetRow(items.back()), static_cast<std::size_t>(i));
    }
    for (const HTREEITEM item : items)
        tree.DeleteItem(item);
    const auto taken = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(tree.GetItemCount(), 1u);
    // A quadratic step would need 400 million moves; the bound leaves room for slow builds.
    EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count(), 2000);
}

TEST_F(tree_control, deletes_a_chain_of_any_depth)
{
    HTREEITEM parent;
    const HTREEITEM root = add(u"root");
    parent = root;
    for (int i = 0; i < 200'000; ++i)
        parent = add(u"x", parent);
    tree.DeleteItem(root);
    EXPECT_EQ(tree.GetItemCount(), 0u);
}

} // namespace
} // namespace cw
