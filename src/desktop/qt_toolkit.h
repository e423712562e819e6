// The Qt side of the frame's toolkit: makes the main window as the frame asks for it, and carries
// what happens there into the frame.
#pragma once

#include "desktop/busy_cursor.h"
#include "desktop/frame_menus.h"
#include "desktop/list_pane.h"
#include "desktop/main_window.h"
#include "desktop/tool_bars.h"
#include "desktop/tree_pane.h"
#include "framework/frame_toolkit.h"
#include "framework/frame_window.h"

#include <QPointer>

#include <optional>

namespace cw {

class CRecentFileList;
class customize_dialog;

class qt_toolkit;

/// A question to the person, in an event loop of its own: ordinary cursors, and no exception of the
/// frame passes through the loop.
class question_scope {
public:
    explicit question_scope(qt_toolkit& toolkit);

private:
    busy_pause m_pause;
    std::optional<CXTPFrameWnd::NestedLoop> m_loop;
};

class qt_toolkit final : public frame_toolkit {
public:
    qt_toolkit();
    ~qt_toolkit() override;

    /// The frame that this toolkit draws, and its list of recent files; to be called before the frame
    /// makes its window. Both are borrowed until `destroy_window`.
    void attach(CXTPFrameWnd& frame, const CRecentFileList* recent_files);
    /// Called when the window has been destroyed.
    void set_destroyed_sink(std::function<void()> sink) { m_destroyed = std::move(sink); }
    /// Shows all that changed in the controls since the last time.
    void catch_up();
    /// Whether a command is enabled and checked.
    [[nodiscard]] command_ui command_state(std::uint32_t id);
    /// Runs a command as a menu does.
    void run_command(std::uint32_t id);
    /// Runs work of the frame under its boundary, with the wait cursor.
    void enter(const std::function<void()>& work);

    /// Null before `attach` and after `destroy_window`.
    [[nodiscard]] CXTPFrameWnd* frame() const noexcept { return m_frame; }
    /// Null before `create_window` and after `destroy_window`.
    [[nodiscard]] main_window* window() const noexcept { return m_window; }
    [[nodiscard]] tree_pane* tree() const noexcept { return m_tree; }
    [[nodiscard]] list_pane* list() const noexcept { return m_list; }

    bool create_window(const frame_create_parameters& parameters) override;
    void destroy_window() override;
    void set_title(std::u16string_view title) override;
    void show_window(int show_command) override;
    void update_window() override;
    void set_focus(control_window& control) override;
    bool create_splitter(int rows, int columns, std::uint32_t style, std::uint32_t control_id) override;
    bool create_tree_view(int row, int column, int width, int height, CTreeCtrl& tree) override;
    bool create_list_view(int row, int column, int width, int height, CListCtrl& list) override;
    void destroy_splitter() override;
    bool create_status_bar(std::uint32_t style, std::uint32_t control_id) override;
    void add_status_indicator(std::uint32_t id, int index) override;
    void set_status_text(int pane, std::u16string_view text) override;
    bool init_command_bars() override;
    bool set_menu(std::u16string_view title, std::span<const menu_item> menu) override;
    void set_theme(int theme) override;
    void set_accelerators(std::span<const accelerator> table) override;
    void load_command_bars(std::u16string_view name) override;
    void save_command_bars(std::u16string_view name) override;
    std::unique_ptr<customize_sheet> make_customize_sheet() override;

private:
    void focus_moved(QWidget* widget);
    void detach_panes();
    void show_command_bars();
    void run_customize_dialog(customize_dialog& dialog);

    CXTPFrameWnd* m_frame = nullptr;
    QPointer<main_window> m_window;
    bool m_hasSplitter = false;
    QPointer<tree_pane> m_tree;
    QPointer<list_pane> m_list;
    control_window* m_treeControl = nullptr;
    control_window* m_listControl = nullptr;
    frame_menus m_menus;
    std::optional<tool_bar_views> m_toolBars;
    QPointer<customize_dialog> m_customizing;
    std::function<void()> m_destroyed;
};

} // namespace cw
