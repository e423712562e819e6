// The dialog in which a person changes menus, toolbars and keys, as the frame puts it together page by
// page. The toolkit makes it (frame_toolkit.h).
#pragma once

#include "framework/commands.h"

#include <span>
#include <string_view>

namespace cw {

class customize_sheet {
public:
    /// The place behind all categories that are there.
    static constexpr int last_place = -1;

    virtual ~customize_sheet() = default;

    /// Appends a page that changes keys, with a category for each popup of the menu.
    virtual void add_keyboard_page(std::span<const menu_item> menu) = 0;
    /// Appends a page of sizes and looks.
    virtual void add_options_page() = 0;

    // The page of commands, which is there from the start and shows what can be put on toolbars.
    /// A category for each popup of the menu.
    virtual void add_categories(std::span<const menu_item> menu) = 0;
    virtual void insert_all_commands_category(std::u16string_view name, int place) = 0;
    /// A category with the popups of the menu themselves.
    virtual void insert_built_in_menus(std::span<const menu_item> menu, std::u16string_view name, int place) = 0;
    /// A category with an empty menu that a person can fill.
    virtual void insert_new_menu_category(std::u16string_view name, int place) = 0;

    /// Shows the dialog until the person closes it.
    virtual void run_modal() = 0;
};

} // namespace cw
