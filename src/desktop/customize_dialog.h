// The dialog in which a person changes toolbars, keys and looks, and how the frame puts it together.
// Used by the toolkit.
#pragma once

#include "desktop/tool_choices.h"
#include "framework/command_bars.h"
#include "framework/customize_sheet.h"

#include <QDialog>
#include <QPointer>

#include <functional>

class QTabWidget;
class QWindow;

namespace cw {

class customize_commands_page;
class customize_keyboard_page;
class customize_options_page;

/// Holds back what a person does in a window while a dialog has the say. Unlike a modal dialog it lets
/// things be dragged from the dialog into the window.
class input_guard final : public QObject {
public:
    /// `dialog` comes to the front where the window is clicked.
    input_guard(QWidget& window, QWidget& dialog);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QPointer<QWidget> m_window;
    QWidget& m_dialog;
};

class customize_dialog final : public QDialog {
public:
    /// With the page of commands alone. `bars` is borrowed.
    customize_dialog(command_bars& bars, QWidget* parent);

    [[nodiscard]] customize_commands_page& commands_page() noexcept { return *m_commandsPage; }
    /// Appends the page and answers it.
    customize_keyboard_page& add_keyboard_page(std::function<std::uint32_t(const key_message& key)> filtered_command);
    void add_options_page();

    /// Shows on all pages what holds now.
    void refresh();

private:
    command_bars& m_bars;
    QTabWidget* m_tabs;
    customize_commands_page* m_commandsPage;
    customize_keyboard_page* m_keyboardPage = nullptr;
    customize_options_page* m_optionsPage = nullptr;
};

/// The frame's side of the dialog.
class qt_customize_sheet final : public customize_sheet {
public:
    /// `run` shows the dialog until the person closes it. `dialog` is owned; it may end before with its
    /// parent.
    qt_customize_sheet(customize_dialog& dialog, std::function<std::uint32_t(const key_message& key)> filtered_command,
                       std::function<void(customize_dialog& dialog)> run);
    ~qt_customize_sheet() override;

    void add_keyboard_page(std::span<const menu_item> menu) override;
    void add_options_page() override;
    void add_categories(std::span<const menu_item> menu) override;
    void insert_all_commands_category(std::u16string_view name, int place) override;
    void insert_built_in_menus(std::span<const menu_item> menu, std::u16string_view name, int place) override;
    void insert_new_menu_category(std::u16string_view name, int place) override;
    void run_modal() override;

private:
    QPointer<customize_dialog> m_dialog;
    std::function<std::uint32_t(const key_message& key)> m_filteredCommand;
    std::function<void(customize_dialog& dialog)> m_run;
    std::span<const menu_item> m_menu;
};

} // namespace cw
