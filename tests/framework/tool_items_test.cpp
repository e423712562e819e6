#include "framework/tool_items.h"

#include "tests/framework/kept_state.h"

namespace cw {
namespace {

using namespace test_support;

TEST(tool_items, go_in_and_come_out_at_places)
{
    std::vector<tool_item> items{tool_item::command(1), own_menu({tool_item::command(2)})};
    EXPECT_TRUE(insert_item(items, {0, {}}, tool_item::popup(u"P")));
    EXPECT_TRUE(insert_item(items, {3, {}}, tool_item::separator()));
    EXPECT_TRUE(insert_item(items, {2, 1}, tool_item::command(3)));
    EXPECT_TRUE(insert_item(items, {2, 0}, tool_item::separator()));
    const std::vector<tool_item> expected{
        tool_item::popup(u"P"), tool_item::command(1),
        own_menu({tool_item::separator(), tool_item::command(2), tool_item::command(3)}), tool_item::separator()};
    EXPECT_EQ(items, expected);

    ASSERT_NE(item_at(items, {2, 2}), nullptr);
    EXPECT_EQ(*item_at(items, {2, 2}), tool_item::command(3));
    EXPECT_EQ(take_item(items, {2, 0}), tool_item::separator());
    EXPECT_EQ(take_item(items, {0, {}}), tool_item::popup(u"P"));
    EXPECT_EQ(items.size(), 3u);
    EXPECT_EQ(items[1].contents.size(), 2u);
}

TEST(tool_items, have_no_places_elsewhere)
{
    std::vector<tool_item> items{tool_item::command(1), own_menu({tool_item::command(2)})};
    const std::vector<tool_item> before = items;
    EXPECT_FALSE(insert_item(items, {3, {}}, tool_item::separator()));
    EXPECT_FALSE(insert_item(items, {0, 0}, tool_item::separator())) << "no menu";
    EXPECT_FALSE(insert_item(items, {1, 2}, tool_item::separator()));
    EXPECT_FALSE(insert_item(items, {1, 0}, tool_item::popup(u"P"))) << "one level is all";
    EXPECT_FALSE(insert_item(items, {1, 0}, tool_item::menu(u"M")));
    EXPECT_FALSE(insert_item(items, {9, 0}, tool_item::separator()));
    EXPECT_EQ(take_item(items, {2, {}}), std::nullopt);
    EXPECT_EQ(take_item(items, {0, 0}), std::nullopt);
    EXPECT_EQ(take_item(items, {1, 1}), std::nullopt);
    EXPECT_EQ(item_at(items, {2, {}}), nullptr);
    EXPECT_EQ(item_at(items, {0, 0}), nullptr);
    EXPECT_EQ(item_at(items, {1, 1}), nullptr);
    EXPECT_EQ(items, before);

    // Only menus that a person has put together have places within them.
    std::vector<tool_item> closed{tool_item::popup(u"P"), tool_item::separator()};
    for (std::size_t index = 0; index < closed.size(); ++index)
        EXPECT_FALSE(insert_item(closed, {index, 0}, tool_item::command(1)));
    EXPECT_TRUE(closed[0].contents.empty() && closed[1].contents.empty());
}

TEST(tool_items, are_sound_within_their_limits)
{
    const tool_bar first{u"a", true, std::vector<tool_item>(tool_limits::items)};
    const tool_bar second{std::u16string(tool_limits::name_length, u'b'), false, {own_menu({tool_item::command(1)})}};
    EXPECT_TRUE(is_sound(std::vector<tool_bar>{}));
    EXPECT_TRUE(is_sound(std::vector<tool_bar>{first, second}));
    EXPECT_FALSE(is_sound(std::vector<tool_bar>{first, second, first})) << "a name twice";
    EXPECT_FALSE(is_sound(std::vector<tool_bar>(tool_limits::tool_bars + 1)));
    EXPECT_FALSE(is_sound(std::vector<tool_bar>{{u"a", true, std::vector<tool_item>(tool_limits::items + 1)}}));
    EXPECT_FALSE(is_sound(std::vector<tool_bar>{{u"a", true, {own_menu({own_menu({})})}}}));
    // Together they may be fewer than each by itself.
    std::vector<tool_bar> many;
    for (char16_t letter = u'a'; letter < u'a' + 16; ++letter)
        many.push_back({std::u16string(1, letter), true, std::vector<tool_item>(tool_limits::items)});
    EXPECT_TRUE(is_sound(many));
    many.push_back({u"z", true, {tool_item::separator()}});
    EXPECT_FALSE(is_sound(many));
}

} // namespace
} // namespace cw
