#include "app/menus.h"

#include "platform/utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace cw {
namespace {

/// One line an item: its text, its number, "disabled" where the resource says so.
std::string picture(std::span<const menu_item> items, const std::string& indent = {})
{
    std::string lines;
    for (const menu_item& item : items) {
        if (item.is_separator()) {
            lines += indent + "---\n";
            continue;
        }
        lines += indent + platform::to_utf8(item.text);
        if (item.id != 0)
            lines += " " + std::to_string(item.id);
        lines += item.disabled_in_resource ? " disabled\n" : "\n";
        lines += picture(item.popup, indent + "  ");
    }
    return lines;
}

TEST(menus, main_menu_has_five_popups)
{
    EXPECT_EQ(picture(main_menu()), R"(&File
  &Open 57601
  &Save 57603
  ---
  &Recent Files
    Recent File 57616
  ---
  E&xit 57665
&Search
  Find 32784
  Find Next 32785
&View
  &All 32801 disabled
  &Features 32772 disabled
  &Components 32773 disabled
  &Setup Types 32774 disabled
  Shell &Objects 32775 disabled
  &Registry Sets 32776 disabled
  &Media Settings 32777 disabled
  ---
  &Expert Mode 32778
&Tools
  &Extract File 32779
  &Report 32780
&Help
  &Cratewright Help... 32806
  &About Cab and Log File Viewer... 57664
)");
}

TEST(menus, context_menu_of_the_list_copies)
{
    EXPECT_EQ(picture(list_context_menu()), "&Copy 32803\n");
}

TEST(menus, accelerators_lead_to_their_commands)
{
    std::string lines;
    for (const accelerator& entry : main_accelerators())
        lines += std::string(entry.control ? "ctrl " : "") + (entry.shift ? "shift " : "") + (entry.alt ? "alt " : "") +
                 std::to_string(entry.virtual_key) + ": " + std::to_string(entry.command_id) + "\n";
    // By their key codes: C, Insert, Delete, X, V, Insert, Backspace, Z, F6, F6, F3, S.
    EXPECT_EQ(lines, R"(ctrl 67: 57634
ctrl 45: 57634
shift 46: 57635
ctrl 88: 57635
ctrl 86: 57637
shift 45: 57637
alt 8: 57643
ctrl 90: 57643
117: 57680
shift 117: 57681
114: 32785
ctrl 83: 57603
)");
}

TEST(menus, recent_commands_have_a_number_for_each_of_sixteen_entries)
{
    EXPECT_EQ(ID_FILE_MRU_LAST - ID_FILE_MRU_FIRST + 1, 16u);
    EXPECT_EQ(ID_FILE_MRU_FIRST, 57616u);
}

} // namespace
} // namespace cw
