#include "framework/kept_command_bars.h"

#include "tests/framework/kept_state.h"

namespace cw {
namespace {

using namespace test_support;

TEST(kept_command_bars, are_read_as_they_were_written)
{
    const auto kept = read_kept_command_bars(sound);
    ASSERT_TRUE(kept);
    const kept_command_bars expected{{{67, true, false, false, 57634}},
                                     {{118, false, false, false, 32780}},
                                     {{u"T",
                                       true,
                                       {tool_item::command(57601), tool_item::separator(), tool_item::popup(u"&File"),
                                        [] {
                                            tool_item menu = tool_item::menu(u"M");
                                            menu.contents = {tool_item::command(57603), tool_item::separator()};
                                            return menu;
                                        }()}}},
                                     {true, tool_button_text::beside, false}};
    EXPECT_EQ(*kept, expected);
    EXPECT_EQ(text_of(*kept), sound);
    EXPECT_EQ(read_kept_command_bars(text_of(kept_command_bars{})), kept_command_bars{});
}

TEST(kept_command_bars, damaged_are_none)
{
    const struct {
        std::u16string_view what;
        std::u16string_view by;
    } damages[]{
        {u"\"version\":1", u"\"version\":2"},
        {u"\"version\":1", u"\"version\":0"},
        {u"\"version\":1", u"\"version\":\"1\""},
        {u"\"version\":1", u"\"version\":-1"},
        {u"\"version\":1", u"\"version\":1.0"},
        {u"\"version\":1,", u""},
        {u"\"version\":1", u"\"version\":1,\"more\":1"},
        {u"\"held\":1", u"\"held\":8"},
        {u"\"held\":1", u"\"held\":true"},
        {u"\"key\":67", u"\"key\":0"},
        {u"\"key\":67", u"\"key\":255"},
        {u"\"key\":67", u"\"key\":-67"},
        {u"\"key\":67", u"\"key\":null"},
        {u"32780", u"4294967296"},
        {u"32780", u"1e400"},
        {u"[{\"key\":67", u"{\"key\":67"},
        {u"[{\"key\":67,\"held\":1,\"command\":57634}]", u"{}"},
        {u"\"name\":\"T\"", u"\"name\":\"\""},
        {u"\"name\":\"T\"", u"\"name\":7"},
        {u"\"name\":\"T\"", u"\"name\":\"a\\tb\""},
        {u"\"menu\":\"M\"", u"\"menu\":\"\\u007f\""},
        {u"\"name\":\"T\"", u"\"name\":\"0123456789012345678901234567890123456789012345678901234567890123456\""},
        {u"\"shown\":true", u"\"shown\":1"},
        {u"[57601,", u"[true,"},
        {u"[57601,", u"[-5,"},
        {u"[57601,", u"[57601.5,"},
        {u"[57601,", u"[\"57601\","},
        {u"[57601,", u"[[],"},
        {u"\"popup\":\"&File\"", u"\"popup\":1"},
        {u"\"popup\":\"&File\"", u"\"popup\":\"&File\",\"x\":1"},
        {u"\"popup\":\"&File\"", u"\"other\":\"&File\""},
        {u"\"menu\":\"M\"", u"\"menu\":\"\""},
        {u"[57603,null]", u"7"},
        {u"[57603,null]", u"[{\"menu\":\"N\",\"items\":[]}]"},
        {u"[57603,null]", u"[{\"popup\":\"&File\"}]"},
        {u"[57603,null]", u"[{}]"},
        {u"[57603,null]", u"[57603,/**/null]"},
        {u"\"menu\":\"M\"", u"\"menu\":\"01234567890123456789012345678901234567890123456789012345678901234\""},
        {u"&File", u"01234567890123456789012345678901234567890123456789012345678901234"},
        {u"\"beside\"", u"\"above\""},
        {u"\"beside\"", u"1"},
        {u"\"large_icons\":true", u"\"large_icons\":null"},
        {u"\"menu_icons\":false", u"\"menu_icons\":0"},
        {u",\"menu_icons\":false", u""},
        {u"}]}]", u"}]}"},
    };
    for (const auto& damage : damages)
        EXPECT_FALSE(read_kept_command_bars(replaced(damage.what, damage.by)))
            << std::string(damage.what.begin(), damage.what.end()) << " -> "
            << std::string(damage.by.begin(), damage.by.end());
    for (const std::u16string_view garbage :
         {u"5", u"garbage", u"{", u"[]", u"null", u"\"\"", u"{}", u"\xD800", u"\\x00", u"@ByteArray(\\0)"})
        EXPECT_FALSE(read_kept_command_bars(garbage)) << std::string(garbage.begin(), garbage.end());
}

TEST(kept_command_bars, every_cut_is_none)
{
    for (std::size_t length = 1; length < sound.size(); ++length)
        EXPECT_FALSE(read_kept_command_bars(sound.substr(0, length))) << length;
}

TEST(kept_command_bars, without_bounds_are_none)
{
    EXPECT_FALSE(read_kept_command_bars(std::u16string(900'000, u'[')));
    // Complete texts, too, with members behind what is nested.
    const std::u16string arrays = std::u16string(100'000, u'[') + std::u16string(100'000, u']');
    std::u16string objects = u"1";
    for (int level = 0; level < 20'000; ++level)
        objects = u"{\"items\":" + std::move(objects) + u"}";
    for (const std::u16string& nested : {arrays, objects})
        for (const std::u16string_view replaceable :
             {u"[57603,null]", u"{\"popup\":\"&File\"}", u"\"T\"", u"57634", u"\"beside\"", u"true"})
            EXPECT_FALSE(read_kept_command_bars(replaced(replaceable, nested)));
    EXPECT_FALSE(read_kept_command_bars(std::u16string(sound) + std::u16string(1'000'000, u' ')));
    std::u16string many;
    for (int bar = 0; bar <= 24; ++bar)
        many += std::u16string(bar ? u"," : u"") + u"{\"name\":\"" + static_cast<char16_t>(u'a' + bar) +
                u"\",\"shown\":true,\"items\":[]}";
    EXPECT_FALSE(read_kept_command_bars(replaced(u"{\"name\":\"T\"", many + u",{\"name\":\"T\"")));
    std::u16string long_bar;
    for (int item = 0; item < 65; ++item)
        long_bar += u"57601,";
    EXPECT_FALSE(read_kept_command_bars(replaced(u"[57601,", u"[" + long_bar)));
    EXPECT_FALSE(read_kept_command_bars(replaced(u"[57603,", u"[" + long_bar)));
    std::u16string many_keys;
    for (int key = 0; key < 2033; ++key)
        many_keys += u"{\"key\":1,\"held\":0,\"command\":1},";
    EXPECT_FALSE(read_kept_command_bars(replaced(u"\"own_keys\":[", u"\"own_keys\":[" + many_keys)));
    EXPECT_FALSE(read_kept_command_bars(
        replaced(u"\"toolbars\":[", u"\"toolbars\":[{\"name\":\"T\",\"shown\":true,\"items\":[]},")))
        << "two of a name";
}
} // namespace
} // namespace cw
