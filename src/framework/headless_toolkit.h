// A toolkit without a window: it writes its calls down as lines and keeps what it was given. The
// companion runs the frame on it, and tests read it back and make its operations fail.
#pragma once

#include "framework/frame_toolkit.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

class headless_toolkit final : public frame_toolkit {
public:
    /// All calls so far, one line each: the operation's name and its plain arguments, numbers in
    /// decimal (`create_splitter 1 2 1342177280 59648`, `set_title C:\a.hdr`).
    [[nodiscard]] const std::vector<std::u16string>& calls() const noexcept { return m_calls; }
    void forget_calls() noexcept { m_calls.clear(); }
    /// Makes every later call of the operation of that name answer false. Only those that answer
    /// something can fail.
    void fail(std::u16string_view operation) { m_failing.emplace(operation); }

    /// From here on there is a sheet to customise with, whose calls are written down like all others;
    /// its end is `destroy_customize_sheet`.
    void offer_customize_sheet() noexcept { m_offersCustomizeSheet = true; }

    [[nodiscard]] bool has_window() const noexcept { return m_hasWindow; }
    [[nodiscard]] const std::u16string& title() const noexcept { return m_title; }
    /// Empty for a pane that never got a text.
    [[nodiscard]] std::u16string_view status_text(std::size_t pane) const noexcept;
    [[nodiscard]] std::span<const menu_item> menu() const noexcept { return m_menu; }
    [[nodiscard]] std::span<const accelerator> accelerators() const noexcept { return m_accelerators; }
    [[nodiscard]] control_window* focus() const noexcept { return m_focus; }
    [[nodiscard]] const frame_create_parameters& parameters() const noexcept { return m_parameters; }

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
    class recording_sheet;

    /// Writes the call down; false where the operation was told to fail.
    template <class... Arguments>
    bool record(std::u16string_view operation, const Arguments&... arguments);

    std::vector<std::u16string> m_calls;
    std::set<std::u16string, std::less<>> m_failing;
    bool m_hasWindow = false;
    bool m_offersCustomizeSheet = false;
    frame_create_parameters m_parameters;
    std::u16string m_title;
    std::vector<std::u16string> m_statusTexts;
    std::span<const menu_item> m_menu;
    std::span<const accelerator> m_accelerators;
    control_window* m_focus = nullptr;
};

} // namespace cw
