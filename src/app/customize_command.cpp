// The command behind the toolkit's own menus that opens the dialog for menus, toolbars and keys.

#include "app/main_frame.h"
#include "app/menus.h"
#include "foundation/resource_text.h"

namespace cw {
namespace {

constexpr std::uint32_t text_new_menu = 9162;
constexpr std::uint32_t text_all_commands = 9169;
constexpr std::uint32_t text_built_in_menus = 9174;

} // namespace

void CMainFrame::OnCustomize(std::uint32_t)
{
    const std::unique_ptr<customize_sheet> sheet = Toolkit().make_customize_sheet();
    if (!sheet)
        return;
    sheet->add_keyboard_page(main_menu());
    sheet->add_options_page();
    sheet->add_categories(main_menu());
    sheet->insert_all_commands_category(resource_text(text_all_commands), customize_sheet::last_place);
    sheet->insert_built_in_menus(main_menu(), resource_text(text_built_in_menus), customize_sheet::last_place);
    sheet->insert_new_menu_category(resource_text(text_new_menu), customize_sheet::last_place);
    sheet->run_modal();
}

} // namespace cw
