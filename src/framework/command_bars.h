// What a person can change about menus, toolbars and keys, and how it is kept in the settings. The
// frame owns one, looks keys up in it, reads it when it is made and writes it when it closes; the
// toolkit shows it and lets a person change it. No window system.
#pragma once

#include "framework/commands.h"
#include "framework/tool_items.h"
#include "platform/services.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

class command_bars {
public:
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

} // namespace cw
