// What a person can change about menus, toolbars and keys, and how it is kept in the settings. The
// frame owns one, looks keys up in it, reads it when it is made and writes it when it closes; the
// toolkit shows it and lets a person change it. No window system.
#pragma once

#include "framework/commands.h"
#include "platform/services.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

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

class command_bars {
public:
    // The most that there can be of anything; kept states beyond it are damaged.
    static constexpr std::size_t most_tool_bars = 24;
    static constexpr std::size_t most_items = 64;            // on a toolbar, and in a menu
    static constexpr std::size_t most_items_together = 1024; // on all toolbars, their menus included
    static constexpr std::size_t longest_name = 64;
    static constexpr std::size_t most_own_keys = 254 * 8; // every key with everything that can be held

    /// Called behind every change of what is below; null for nobody.
    void set_changed_sink(std::function<void()> sink) { m_changed = std::move(sink); }

    // ---- what the program brings ---------------------------------------------------------------
    /// The program's menu, whose commands and popups can be put on toolbars and get keys. Borrowed.
    void set_menu(std::span<const menu_item> menu) noexcept { m_menu = menu; }
    [[nodiscard]] std::span<const menu_item> menu() const noexcept { return m_menu; }
    /// The keys as the program brings them; they take the place of all keys that there are. Borrowed.
    void set_default_accelerators(std::span<const accelerator> table);
    /// The popup of that text, wherever in the menu it stands; null where there is none.
    [[nodiscard]] const menu_item* find_popup(std::u16string_view text) const noexcept;

    // ---- keys ----------------------------------------------------------------------------------
    /// Every key once: the program's own in their order, then those that a person has given.
    [[nodiscard]] std::span<const accelerator> accelerators() const noexcept { return m_accelerators; }
    /// The command of a key; 0 where it has none.
    [[nodiscard]] std::uint32_t command_of(const key_message& key) const noexcept;
    /// Gives a key to a command, and takes it from whichever had it.
    void assign_key(const key_message& key, std::uint32_t command_id);
    void remove_key(const key_message& key);
    void reset_keys();

    // ---- toolbars ------------------------------------------------------------------------------
    [[nodiscard]] const std::vector<tool_bar>& tool_bars() const noexcept { return m_toolBars; }
    /// Replaces them all. False, and nothing changes, where a name is empty, too long, there twice or no
    /// line of text, or where there is too much of anything.
    bool set_tool_bars(std::vector<tool_bar> bars);

    // ---- looks ---------------------------------------------------------------------------------
    [[nodiscard]] const bar_options& options() const noexcept { return m_options; }
    void set_options(const bar_options& options);

    /// Everything as the program brings it.
    void reset();

    // ---- settings ------------------------------------------------------------------------------
    /// Reads what `save` has written under that name, in place of everything. Without it, or where it
    /// is damaged in any way, everything is as the program brings it. Commands and popups that the
    /// program does not have (any more) are left out.
    void load(platform::user_settings& settings, std::u16string_view name);
    /// Writes what differs from the program's own, where anything was changed since `load`; no entry stays
    /// where nothing differs. Untouched, the settings stay as they are.
    void save(platform::user_settings& settings, std::u16string_view name) const;

private:
    struct kept_state;

    void changed();
    void put_key(const key_message& key, std::uint32_t command_id);
    void drop_key(const key_message& key);
    [[nodiscard]] bool knows_command(std::uint32_t id) const noexcept;
    [[nodiscard]] bool knows(const tool_item& item) const noexcept;
    void leave_out_unknown(std::vector<tool_item>& items) const;

    std::function<void()> m_changed;
    std::span<const menu_item> m_menu;
    std::span<const accelerator> m_defaults;
    std::vector<accelerator> m_accelerators;
    std::vector<tool_bar> m_toolBars;
    bar_options m_options;
    bool m_touched = false; // since `load`
};

/// The key of an accelerator.
[[nodiscard]] constexpr key_message key_of(const accelerator& entry) noexcept
{
    return {entry.virtual_key, entry.control, entry.shift, entry.alt};
}

/// The item at a place of a toolbar's items; null where nothing stands there.
[[nodiscard]] const tool_item* item_at(const std::vector<tool_item>& items, const tool_place& place) noexcept;
/// Puts an item in before the one at that place, or behind the last. False, and nothing changes, where
/// there is no such place or what stands in a menu may not stand there.
bool insert_item(std::vector<tool_item>& items, const tool_place& place, tool_item item);
/// Takes the item at a place out; empty where nothing stands there.
std::optional<tool_item> take_item(std::vector<tool_item>& items, const tool_place& place);

} // namespace cw
