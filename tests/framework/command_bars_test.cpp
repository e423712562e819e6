#include "framework/command_bars.h"

#include "platform/memory_user_settings.h"
#include "tests/framework/kept_state.h"

#include <gtest/gtest.h>

#include <array>

namespace cw {
namespace {

using namespace test_support;

constexpr std::uint32_t open_id = 57601;
constexpr std::uint32_t save_id = 57603;
constexpr std::uint32_t report_id = 32780;
constexpr std::uint32_t find_next_id = 32785;
constexpr std::uint32_t standard_copy_id = 57634; // stands in no menu

constexpr std::array<menu_item, 1> recent_popup{{{u"Recent File", 57616}}};
constexpr std::array<menu_item, 3> file_popup{
    {{u"&Open", open_id}, {u"&Save", save_id}, {u"&Recent Files", 0, false, recent_popup}}};
constexpr std::array<menu_item, 2> tools_popup{{{u"&Report", report_id}, {u"Find Next", find_next_id}}};
constexpr std::array<menu_item, 2> menu{{{u"&File", 0, false, file_popup}, {u"&Tools", 0, false, tools_popup}}};

constexpr std::array<accelerator, 3> defaults{{{'C', true, false, false, standard_copy_id},
                                               {0x72, false, false, false, find_next_id},
                                               {'S', true, false, false, save_id}}};

constexpr key_message ctrl_c{'C', true};
constexpr key_message ctrl_s{'S', true};
constexpr key_message f3{0x72};
constexpr key_message f7{0x76};
constexpr key_message alt_shift_f7{0x76, false, true, true};

constexpr std::u16string_view name = u"CommandBars";
constexpr std::u16string_view entry = u"State";

/// Everything that can differ, as one text.
std::string picture(const command_bars& bars)
{
    const auto narrow = [](std::u16string_view text) { return std::string(text.begin(), text.end()); };
    std::string drawn;
    for (const accelerator& key : bars.accelerators())
        drawn += std::to_string(key.virtual_key) + (key.control ? "c" : "") + (key.shift ? "s" : "") +
                 (key.alt ? "a" : "") + "=" + std::to_string(key.command_id) + " ";
    const auto draw_items = [&](const auto& self, const std::vector<tool_item>& items) -> void {
        for (const tool_item& item : items) {
            drawn += item.kind == tool_kind::command     ? " " + std::to_string(item.command_id)
                     : item.kind == tool_kind::separator ? " |"
                                                         : " " + narrow(item.text);
            if (item.kind == tool_kind::menu) {
                drawn += "(";
                self(self, item.contents);
                drawn += " )";
            }
        }
    };
    for (const tool_bar& bar : bars.tool_bars()) {
        drawn += "\n" + narrow(bar.name) + (bar.shown ? ":" : " hidden:");
        draw_items(draw_items, bar.items);
    }
    const bar_options& look = bars.options();
    drawn += std::string("\n") + (look.large_icons ? "large " : "small ") +
             std::to_string(static_cast<int>(look.button_text)) + (look.menu_icons ? " icons" : "");
    return drawn;
}

constexpr const char* untouched = "67c=57634 114=32785 83c=57603 \nsmall 0";

struct bars_of_program : testing::Test {
    bars_of_program()
    {
        prepare(bars);
        bars.set_changed_sink([this] { ++changes; });
    }
    static void prepare(command_bars& some)
    {
        some.set_menu(menu);
        some.set_default_accelerators(defaults);
    }
    /// What another start reads.
    [[nodiscard]] std::string reloaded()
    {
        command_bars fresh;
        prepare(fresh);
        fresh.load(settings, name);
        return picture(fresh);
    }
    [[nodiscard]] std::u16string kept() { return settings.read_text(name, entry, u"none"); }
    /// What a start reads of a state that something else has written.
    [[nodiscard]] std::string read_from(std::u16string_view state)
    {
        settings.write_text(name, entry, state);
        return reloaded();
    }
    void customise()
    {
        bars.assign_key(f7, report_id);
        bars.assign_key(alt_shift_f7, open_id);
        bars.remove_key(ctrl_c);
        ASSERT_TRUE(bars.set_tool_bars(
            {{u"First \u00E9\"",
              true,
              {tool_item::command(open_id), tool_item::separator(), tool_item::popup(u"&Recent Files"),
               own_menu({tool_item::command(save_id), tool_item::separator(), tool_item::command(report_id)})}},
             {u"Second", false, {}}}));
        bars.set_options({true, tool_button_text::under, true});
    }

    platform::memory_user_settings settings;
    command_bars bars;
    int changes = 0;
};

TEST_F(bars_of_program, begin_with_the_programs_own)
{
    EXPECT_EQ(picture(bars), untouched);
    EXPECT_EQ(bars.menu().data(), menu.data());
    EXPECT_EQ(bars.find_popup(u"&Recent Files"), &file_popup[2]);
    EXPECT_EQ(bars.find_popup(u"&Open"), nullptr);
}

TEST_F(bars_of_program, find_the_command_of_a_key_with_all_that_is_held)
{
    EXPECT_EQ(bars.command_of(ctrl_s), save_id);
    EXPECT_EQ(bars.command_of({'S'}), 0u);
    EXPECT_EQ(bars.command_of({'S', true, true}), 0u);
    EXPECT_EQ(bars.command_of({'S', true, false, true}), 0u);
    EXPECT_EQ(bars.command_of({0}), 0u);
}

TEST_F(bars_of_program, an_assigned_key_is_taken_from_its_command)
{
    bars.assign_key(ctrl_s, report_id);
    EXPECT_EQ(picture(bars), "67c=57634 114=32785 83c=32780 \nsmall 0");
    bars.assign_key(f7, report_id);
    EXPECT_EQ(picture(bars), "67c=57634 114=32785 83c=32780 118=32780 \nsmall 0");
    EXPECT_EQ(changes, 2);
}

TEST_F(bars_of_program, a_key_that_comes_back_leaves_no_trace)
{
    bars.remove_key(f3);
    bars.assign_key(ctrl_c, report_id);
    bars.assign_key(f7, report_id);
    bars.assign_key(ctrl_c, standard_copy_id);
    bars.assign_key(f3, find_next_id);
    bars.remove_key(f7);
    EXPECT_EQ(picture(bars), untouched);
    bars.save(settings, name);
    EXPECT_EQ(kept(), u"none");
}

TEST_F(bars_of_program, keys_alone_are_reset_by_themselves)
{
    customise();
    changes = 0;
    bars.reset_keys();
    EXPECT_TRUE(picture(bars).starts_with("67c=57634 114=32785 83c=57603 \nFirst")) << picture(bars);
    EXPECT_EQ(changes, 1);
    bars.reset();
    EXPECT_EQ(picture(bars), untouched);
    EXPECT_EQ(changes, 2);
}

TEST_F(bars_of_program, everything_is_kept)
{
    customise();
    bars.save(settings, name);
    EXPECT_EQ(reloaded(), picture(bars));
    EXPECT_EQ(picture(bars).substr(0, 60), "114=32785 83c=57603 118=32780 118sa=57601 \nFirst \xE9\": 57601 |");
    bars.reset();
    bars.save(settings, name);
    EXPECT_EQ(kept(), u"none");
    EXPECT_EQ(reloaded(), untouched);
}

TEST_F(bars_of_program, nothing_is_kept_of_what_nobody_changed)
{
    bars.save(settings, name);
    EXPECT_EQ(kept(), u"none");
    // What another window has kept meanwhile stays, and so does what this program cannot read.
    settings.write_text(name, entry, u"of another");
    bars.save(settings, name);
    EXPECT_EQ(kept(), u"of another");
    bars.load(settings, name);
    bars.save(settings, name);
    EXPECT_EQ(kept(), u"of another");
    bars.set_default_accelerators({});
    bars.save(settings, name);
    EXPECT_EQ(kept(), u"of another");
    // A change that leads back to the beginning is one.
    bars.reset();
    bars.save(settings, name);
    EXPECT_EQ(kept(), u"none");
}

TEST_F(bars_of_program, each_difference_alone_is_kept)
{
    const std::array<std::function<void(command_bars&)>, 4> differences{
        [](command_bars& some) { some.remove_key(f3); }, [](command_bars& some) { some.assign_key(f7, report_id); },
        [](command_bars& some) {
            (void)some.set_tool_bars({{u"T", true, {}}});
        },
        [](command_bars& some) {
            some.set_options({false, tool_button_text::beside, false});
        }};
    for (const auto& difference : differences) {
        command_bars some;
        prepare(some);
        difference(some);
        some.save(settings, name);
        EXPECT_NE(picture(some), untouched);
        EXPECT_EQ(reloaded(), picture(some));
    }
}

TEST_F(bars_of_program, every_change_is_told_once)
{
    bars.set_default_accelerators(defaults);
    EXPECT_EQ(changes, 1);
    bars.assign_key(f7, report_id);
    EXPECT_EQ(changes, 2);
    bars.remove_key(f7);
    EXPECT_EQ(changes, 3);
    bars.set_options({true, tool_button_text::none, false});
    EXPECT_EQ(changes, 4);
    EXPECT_TRUE(bars.set_tool_bars({}));
    EXPECT_EQ(changes, 5);
}

TEST_F(bars_of_program, a_load_takes_the_place_of_everything)
{
    customise();
    changes = 0;
    bars.load(settings, name);
    EXPECT_EQ(picture(bars), untouched);
    EXPECT_EQ(changes, 1);
}

constexpr const char* sound_picture = "114=32785 83c=57603 118=32780 \nT: 57601 | &File M( 57603 | )\nlarge 1";

TEST_F(bars_of_program, a_sound_state_is_read)
{
    EXPECT_EQ(read_from(sound), sound_picture);
    // Blanks are no damage.
    EXPECT_EQ(read_from(u" " + std::u16string(sound) + u"\n"), sound_picture);
}

TEST_F(bars_of_program, a_damaged_state_is_no_state)
{
    for (const std::u16string& damaged :
         {replaced(u"\"version\":1", u"\"version\":2"), std::u16string(u"garbage"), std::u16string(900'000, u'[')})
        EXPECT_EQ(read_from(damaged), untouched);
}

TEST_F(bars_of_program, what_the_program_does_not_have_is_left_out_alone)
{
    EXPECT_EQ(read_from(replaced(u"[57601,", u"[40000,")),
              "114=32785 83c=57603 118=32780 \nT: | &File M( 57603 | )\nlarge 1");
    EXPECT_EQ(read_from(replaced(u"&File", u"&Gone")),
              "114=32785 83c=57603 118=32780 \nT: 57601 | M( 57603 | )\nlarge 1");
    EXPECT_EQ(read_from(replaced(u"[57603,", u"[40000,")),
              "114=32785 83c=57603 118=32780 \nT: 57601 | &File M( | )\nlarge 1");
    EXPECT_EQ(read_from(replaced(u"32780", u"40000")), "114=32785 83c=57603 \nT: 57601 | &File M( 57603 | )\nlarge 1");
    EXPECT_EQ(read_from(replaced(u"57634", u"40000")),
              "67c=57634 114=32785 83c=57603 118=32780 \nT: 57601 | &File M( 57603 | )\nlarge 1")
        << "such a key was never there";
    // Popups and separators of the menu have the number 0, which is no command's.
    EXPECT_EQ(read_from(replaced(u"[57601,", u"[0,")),
              "114=32785 83c=57603 118=32780 \nT: | &File M( 57603 | )\nlarge 1");
    EXPECT_EQ(read_from(replaced(u"32780", u"0")), "114=32785 83c=57603 \nT: 57601 | &File M( 57603 | )\nlarge 1");
}

TEST_F(bars_of_program, a_kept_key_takes_a_key_from_the_program)
{
    EXPECT_EQ(read_from(replaced(u"\"key\":118,\"held\":0", u"\"key\":83,\"held\":1")),
              "114=32785 83c=32780 \nT: 57601 | &File M( 57603 | )\nlarge 1");
}

TEST_F(bars_of_program, unsound_toolbars_are_refused)
{
    ASSERT_TRUE(bars.set_tool_bars({{u"T", true, {}}}));
    const std::string before = picture(bars);
    changes = 0;
    const tool_bar named{u"N", true, {}};
    const auto with_items = [](std::vector<tool_item> items) { return tool_bar{u"I", true, std::move(items)}; };
    EXPECT_FALSE(bars.set_tool_bars({{u"", true, {}}}));
    EXPECT_FALSE(bars.set_tool_bars({{std::u16string(65, u'x'), true, {}}}));
    EXPECT_FALSE(bars.set_tool_bars({{u"two\nlines", true, {}}}));
    EXPECT_FALSE(bars.set_tool_bars({with_items({tool_item::menu(u"a\tb")})}));
    EXPECT_FALSE(bars.set_tool_bars({with_items({tool_item::popup(u"")})}));
    EXPECT_FALSE(bars.set_tool_bars({named, named}));
    EXPECT_FALSE(bars.set_tool_bars({with_items(std::vector<tool_item>(65))}));
    EXPECT_FALSE(bars.set_tool_bars({with_items({own_menu(std::vector<tool_item>(65))})}));
    EXPECT_FALSE(bars.set_tool_bars({with_items({own_menu({own_menu({})})})}));
    EXPECT_FALSE(bars.set_tool_bars({with_items({own_menu({tool_item::popup(u"&File")})})}));
    EXPECT_FALSE(bars.set_tool_bars({with_items({tool_item::menu(u"")})}));
    const std::u16string too_long(65, u'x');
    EXPECT_FALSE(bars.set_tool_bars({with_items({tool_item::menu(too_long)})}));
    EXPECT_FALSE(bars.set_tool_bars({with_items({tool_item::popup(too_long)})}));
    for (tool_item holder : {tool_item::command(open_id), tool_item::popup(u"&File"), tool_item::separator()}) {
        holder.contents = {tool_item::separator()};
        EXPECT_FALSE(bars.set_tool_bars({with_items({holder})})) << "only menus hold anything";
    }
    EXPECT_EQ(picture(bars), before);
    EXPECT_EQ(changes, 0);
    EXPECT_TRUE(bars.set_tool_bars({with_items(std::vector<tool_item>(64)), named}));
    EXPECT_EQ(changes, 1);
}

TEST_F(bars_of_program, the_most_that_there_can_be_is_kept)
{
    // Names of characters that take the most room, as many keys as there are, and as many menus as fit.
    const auto menus = [](std::size_t count) {
        std::vector<tool_item> items(count, tool_item::menu(std::u16string(tool_limits::name_length, u'"')));
        return items;
    };
    std::vector<tool_bar> most;
    for (char16_t bar = 0; bar < 16; ++bar)
        most.push_back({std::u16string(63, u'\\') + static_cast<char16_t>(u'a' + bar), true, menus(64)});
    ASSERT_TRUE(bars.set_tool_bars(most));
    for (std::uint32_t key = 1; key <= 0xFE; ++key)
        for (unsigned held = 0; held < 8; ++held)
            bars.assign_key({key, (held & 1) != 0, (held & 2) != 0, (held & 4) != 0}, report_id);
    bars.save(settings, name);
    EXPECT_EQ(reloaded(), picture(bars));

    most[0].items[0].contents = {tool_item::separator()};
    EXPECT_FALSE(bars.set_tool_bars(most)) << "one more in all";
    most[1].items.pop_back();
    EXPECT_TRUE(bars.set_tool_bars(most));
}

TEST_F(bars_of_program, nobody_needs_to_look)
{
    bars.set_changed_sink(nullptr);
    bars.remove_key(f3);
    EXPECT_EQ(bars.command_of(f3), 0u);
}

} // namespace
} // namespace cw
