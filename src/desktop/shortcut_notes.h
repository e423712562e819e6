// What a person should know about a key before it is given to a command. Used by the keyboard page
// of the customise dialog, and by the menus for the keys that nobody can take away.
#pragma once

#include "framework/commands.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <span>

namespace cw {

/// Keys that the frame's message filter answers itself, whatever stands in the accelerator table: the
/// ones that people know, each in its plainest form.
[[nodiscard]] std::span<const accelerator> fixed_keys() noexcept;

struct shortcut_note {
    bool assignable = true;
    QString text; // empty where there is nothing to tell
};

/// Looks at a key. `filtered_command` answers the command that the frame's message filter runs for it
/// (0 for none); the menu tells which keys open its popups, and what commands are called.
[[nodiscard]] shortcut_note note_on_key(const key_message& key, std::span<const menu_item> menu,
                                        const std::function<std::uint32_t(const key_message& key)>& filtered_command);

} // namespace cw
