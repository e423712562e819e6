// What stands on the toolbars that a person puts together, and how they look. The command bars hold them
// (command_bars.h), the window shows them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

/// The most that there can be of anything.
struct tool_limits {
    static constexpr std::size_t tool_bars = 24;
    static constexpr std::size_t items = 64;            // on a toolbar, and in a menu
    static constexpr std::size_t items_together = 1024; // on all toolbars, their menus included
    static constexpr std::size_t name_length = 64;      // in code units
};

enum class tool_kind {
    command,
    separator,
    popup, // a popup of the program's menu, as a button that drops it down
    menu,  // a menu that a person has put together
};

/// One thing on a toolbar, or in a menu that stands on one.
struct tool_item {
    tool_kind kind = tool_kind::separator;
    std::uint32_t command_id = 0;    // of a command
    std::u16string text;             // a popup's text in the program's menu, a menu's name
    std::vector<tool_item> contents; // of a menu: commands and separators alone

    [[nodiscard]] static tool_item command(std::uint32_t id) { return {tool_kind::command, id, {}, {}}; }
    [[nodiscard]] static tool_item separator() { return {}; }
    [[nodiscard]] static tool_item popup(std::u16string_view text)
    {
        return {tool_kind::popup, 0, std::u16string(text), {}};
    }
    [[nodiscard]] static tool_item menu(std::u16string_view name)
    {
        return {tool_kind::menu, 0, std::u16string(name), {}};
    }
    friend bool operator==(const tool_item&, const tool_item&) = default;
};

struct tool_bar {
    std::u16string name;
    bool shown = true;
    std::vector<tool_item> items;

    friend bool operator==(const tool_bar&, const tool_bar&) = default;
};

/// Where a thing stands on a toolbar: among its items, or in the menu that stands there.
struct tool_place {
    std::size_t index = 0;
    std::optional<std::size_t> within_menu;

    friend bool operator==(const tool_place&, const tool_place&) = default;
};

enum class tool_button_text { none, beside, under };

struct bar_options {
    bool large_icons = false;
    tool_button_text button_text = tool_button_text::none;
    bool menu_icons = false;

    friend bool operator==(const bar_options&, const bar_options&) = default;
};

/// Whether these can be all toolbars: named, each name once and in one line, nothing beyond the limits, and
/// nothing where it may not stand.
[[nodiscard]] bool is_sound(std::span<const tool_bar> bars);

/// The item at a place of a toolbar's items; null where nothing stands there.
[[nodiscard]] const tool_item* item_at(const std::vector<tool_item>& items, const tool_place& place) noexcept;
/// Puts an item in before the one at that place, or behind the last. False, and nothing changes, where
/// there is no such place or what stands in a menu may not stand there.
bool insert_item(std::vector<tool_item>& items, const tool_place& place, tool_item item);
/// Takes the item at a place out; empty where nothing stands there.
std::optional<tool_item> take_item(std::vector<tool_item>& items, const tool_place& place);

} // namespace cw
