// What can be put on toolbars and given keys, by category, with the texts that people read. Used by
// the pages of the customise dialog and by the toolbars.
#pragma once

#include "framework/command_bars.h"

#include <QString>

#include <span>
#include <vector>

namespace cw {

/// One line of a category.
struct tool_choice {
    QString text;
    tool_item item;
};

struct tool_category {
    QString name;
    std::vector<tool_choice> choices;
};

/// A menu text without its mnemonic.
[[nodiscard]] QString plain_text(std::u16string_view menu_text);
/// What a command is called, of the menu or of the class library's own; its number for others.
[[nodiscard]] QString command_name(std::span<const menu_item> menu, std::uint32_t command_id);
/// What a thing on a toolbar is called.
[[nodiscard]] QString tool_name(std::span<const menu_item> menu, const tool_item& item);

/// A category for each popup of the menu with the commands in it and in the popups below it, in their
/// order. What merely keeps a place for something else is left out.
[[nodiscard]] std::vector<tool_category> commands_by_popup(std::span<const menu_item> menu);
/// Every command of the menu once, by its text.
[[nodiscard]] tool_category all_commands(std::span<const menu_item> menu, const QString& name);
/// The popups of the menu, and those within them behind their own.
[[nodiscard]] tool_category all_popups(std::span<const menu_item> menu, const QString& name);
/// A menu with nothing in it, called like its category.
[[nodiscard]] tool_category empty_menu(const QString& name);

} // namespace cw
