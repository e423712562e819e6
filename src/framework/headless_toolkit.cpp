#include "framework/headless_toolkit.h"

#include "framework/control_window.h"

#include <concepts>
#include <utility>

namespace cw {
namespace {

std::u16string argument_text(std::u16string_view text)
{
    return std::u16string(text);
}

template <std::integral Number>
std::u16string argument_text(Number value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

} // namespace

template <class... Arguments>
bool headless_toolkit::record(std::u16string_view operation, const Arguments&... arguments)
{
    std::u16string line(operation);
    ((line += u' ', line += argument_text(arguments)), ...);
    m_calls.push_back(std::move(line));
    return !m_failing.contains(operation);
}

/// Writes down how the frame puts the sheet together; nobody sees it.
class headless_toolkit::recording_sheet final : public customize_sheet {
public:
    explicit recording_sheet(headless_toolkit& toolkit) noexcept : m_toolkit(toolkit) {}
    ~recording_sheet() override { m_toolkit.record(u"destroy_customize_sheet"); }
    recording_sheet(const recording_sheet&) = delete;
    recording_sheet& operator=(const recording_sheet&) = delete;

    void add_keyboard_page(std::span<const menu_item> menu) override
    {
        m_toolkit.record(u"add_keyboard_page", menu.size());
    }
    void add_options_page() override { m_toolkit.record(u"add_options_page"); }
    void add_categories(std::span<const menu_item> menu) override { m_toolkit.record(u"add_categories", menu.size()); }
    void insert_all_commands_category(std::u16string_view name, int place) override
    {
        m_toolkit.record(u"insert_all_commands_category", name, place);
    }
    void insert_built_in_menus(std::span<const menu_item> menu, std::u16string_view name, int place) override
    {
        m_toolkit.record(u"insert_built_in_menus", menu.size(), name, place);
    }
    void insert_new_menu_category(std::u16string_view name, int place) override
    {
        m_toolkit.record(u"insert_new_menu_category", name, place);
    }
    void run_modal() override { m_toolkit.record(u"run_modal"); }

private:
    headless_toolkit& m_toolkit;
};

std::u16string_view headless_toolkit::status_text(std::size_t pane) const noexcept
{
    return pane < m_statusTexts.size() ? std::u16string_view(m_statusTexts[pane]) : std::u16string_view{};
}

bool headless_toolkit::create_window(const frame_create_parameters& parameters)
{
    m_parameters = parameters;
    m_hasWindow = record(u"create_window", parameters.resource_id, parameters.style, parameters.class_name,
                         parameters.class_style, parameters.icon_id);
    return m_hasWindow;
}

void headless_toolkit::destroy_window()
{
    record(u"destroy_window");
    m_hasWindow = false;
    m_focus = nullptr;
}

void headless_toolkit::set_title(std::u16string_view title)
{
    record(u"set_title", title);
    m_title = title;
}

void headless_toolkit::show_window(int show_command)
{
    record(u"show_window", show_command);
}

void headless_toolkit::update_window()
{
    record(u"update_window");
}

void headless_toolkit::set_focus(control_window& control)
{
    record(u"set_focus", control.control_id());
    m_focus = &control;
}

bool headless_toolkit::create_splitter(int rows, int columns, std::uint32_t style, std::uint32_t control_id)
{
    return record(u"create_splitter", rows, columns, style, control_id);
}

bool headless_toolkit::create_tree_view(int row, int column, int width, int height, CTreeCtrl&)
{
    return record(u"create_tree_view", row, column, width, height);
}

bool headless_toolkit::create_list_view(int row, int column, int width, int height, CListCtrl&)
{
    return record(u"create_list_view", row, column, width, height);
}

void headless_toolkit::destroy_splitter()
{
    record(u"destroy_splitter");
}

bool headless_toolkit::create_status_bar(std::uint32_t style, std::uint32_t control_id)
{
    return record(u"create_status_bar", style, control_id);
}

void headless_toolkit::add_status_indicator(std::uint32_t id, int index)
{
    record(u"add_status_indicator", id, index);
}

void headless_toolkit::set_status_text(int pane, std::u16string_view text)
{
    record(u"set_status_text", pane, text);
    if (pane < 0)
        return;
    const auto place = static_cast<std::size_t>(pane);
    if (place >= m_statusTexts.size())
        m_statusTexts.resize(place + 1);
    m_statusTexts[place] = text;
}

bool headless_toolkit::init_command_bars()
{
    return record(u"init_command_bars");
}

bool headless_toolkit::set_menu(std::u16string_view title, std::span<const menu_item> menu)
{
    m_menu = menu;
    return record(u"set_menu", title);
}

void headless_toolkit::set_theme(int theme)
{
    record(u"set_theme", theme);
}

void headless_toolkit::set_accelerators(std::span<const accelerator> table)
{
    record(u"set_accelerators", table.size());
    m_accelerators = table;
}

void headless_toolkit::load_command_bars(std::u16string_view name)
{
    record(u"load_command_bars", name);
}

void headless_toolkit::save_command_bars(std::u16string_view name)
{
    record(u"save_command_bars", name);
}

std::unique_ptr<customize_sheet> headless_toolkit::make_customize_sheet()
{
    record(u"make_customize_sheet");
    if (!m_offersCustomizeSheet)
        return nullptr;
    return std::make_unique<recording_sheet>(*this);
}

} // namespace cw
