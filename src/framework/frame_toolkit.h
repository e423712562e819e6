// What a frame window asks of the toolkit that draws it: the window itself, splitter and panes,
// status bar, menu, command bars, focus. The Qt window is one side of it, the headless toolkit of
// the companion and the tests another.
#pragma once

#include "framework/commands.h"
#include "framework/customize_sheet.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

namespace cw {

class CTreeCtrl;
class CListCtrl;
class control_window;

/// What `PreCreateWindow` may change before the window is made.
struct frame_create_parameters {
    std::uint32_t resource_id = 0;
    std::uint32_t style = 0;
    std::u16string_view class_name = u"";
    std::uint32_t class_style = 0;
    std::uint32_t icon_id = 0;
};

class frame_toolkit {
public:
    virtual ~frame_toolkit() = default;

    // The window.
    virtual bool create_window(const frame_create_parameters& parameters) = 0;
    virtual void destroy_window() = 0;
    virtual void set_title(std::u16string_view title) = 0;
    virtual void show_window(int show_command) = 0;
    virtual void update_window() = 0;
    virtual void set_focus(control_window& control) = 0;

    // The client area.
    virtual bool create_splitter(int rows, int columns, std::uint32_t style, std::uint32_t control_id) = 0;
    virtual bool create_tree_view(int row, int column, int width, int height, CTreeCtrl& tree) = 0;
    virtual bool create_list_view(int row, int column, int width, int height, CListCtrl& list) = 0;
    virtual void destroy_splitter() = 0;

    // The status bar.
    virtual bool create_status_bar(std::uint32_t style, std::uint32_t control_id) = 0;
    virtual void add_status_indicator(std::uint32_t id, int index) = 0;
    virtual void set_status_text(int pane, std::u16string_view text) = 0;

    // Command bars.
    virtual bool init_command_bars() = 0;
    virtual bool set_menu(std::u16string_view title, std::span<const menu_item> menu) = 0;
    virtual void set_theme(int theme) = 0;
    virtual void set_accelerators(std::span<const accelerator> table) = 0;
    /// The frame has restored its command bars, kept under that name: from here on they are shown.
    virtual void load_command_bars(std::u16string_view name) = 0;
    /// The frame is about to keep its command bars.
    virtual void save_command_bars(std::u16string_view name) = 0;
    /// The dialog in which a person changes menus, toolbars and keys; null where there are no command
    /// bars.
    virtual std::unique_ptr<customize_sheet> make_customize_sheet() = 0;
};

} // namespace cw
