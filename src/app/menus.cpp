#include "app/menus.h"

#include <array>

namespace cw {
namespace {

constexpr menu_item separator{};

constexpr auto recent_files_popup = std::to_array<menu_item>({{u"Recent File", ID_FILE_MRU_FIRST}});
constexpr auto file_popup = std::to_array<menu_item>({
    {u"&Open", ID_FILE_OPEN},
    {u"&Save", ID_FILE_SAVE},
    separator,
    {u"&Recent Files", 0, false, recent_files_popup},
    separator,
    {u"E&xit", ID_APP_EXIT},
});
constexpr auto search_popup = std::to_array<menu_item>({
    {u"Find", ID_SEARCH_FIND},
    {u"Find Next", ID_SEARCH_FIND_NEXT},
});
constexpr auto view_popup = std::to_array<menu_item>({
    {u"&All", ID_VIEW_ALL, true},
    {u"&Features", ID_VIEW_FEATURES, true},
    {u"&Components", ID_VIEW_COMPONENTS, true},
    {u"&Setup Types", ID_VIEW_SETUP_TYPES, true},
    {u"Shell &Objects", ID_VIEW_SHELL_OBJECTS, true},
    {u"&Registry Sets", ID_VIEW_REGISTRY_SETS, true},
    {u"&Media Settings", ID_VIEW_MEDIA_SETTINGS, true},
    separator,
    {u"&Expert Mode", ID_VIEW_EXPERT_MODE},
});
constexpr auto tools_popup = std::to_array<menu_item>({
    {u"&Extract File", ID_TOOLS_EXTRACT},
    {u"&Report", ID_TOOLS_REPORT},
});
constexpr auto help_popup = std::to_array<menu_item>({
    {u"&Cratewright Help...", ID_HELP_TOPIC},
    {u"&About Cab and Log File Viewer...", ID_APP_ABOUT},
});
constexpr auto menu_128 = std::to_array<menu_item>({
    {u"&File", 0, false, file_popup},
    {u"&Search", 0, false, search_popup},
    {u"&View", 0, false, view_popup},
    {u"&Tools", 0, false, tools_popup},
    {u"&Help", 0, false, help_popup},
});

constexpr auto menu_281_popup = std::to_array<menu_item>({{u"&Copy", ID_EDIT_COPY_ROW}});

constexpr std::uint32_t VK_BACK = 0x08;
constexpr std::uint32_t VK_INSERT = 0x2D;
constexpr std::uint32_t VK_DELETE = 0x2E;
constexpr std::uint32_t VK_F3 = 0x72;
constexpr std::uint32_t VK_F6 = 0x75;
constexpr bool control = true;
constexpr bool shift = true;
constexpr bool alt = true;

// Only the last two lead to a command of this program; the others are the class library's own.
constexpr auto accelerators_128 = std::to_array<accelerator>({
    {u'C', control, !shift, !alt, 57634},
    {VK_INSERT, control, !shift, !alt, 57634},
    {VK_DELETE, !control, shift, !alt, 57635},
    {u'X', control, !shift, !alt, 57635},
    {u'V', control, !shift, !alt, 57637},
    {VK_INSERT, !control, shift, !alt, 57637},
    {VK_BACK, !control, !shift, alt, 57643},
    {u'Z', control, !shift, !alt, 57643},
    {VK_F6, !control, !shift, !alt, 57680},
    {VK_F6, !control, shift, !alt, 57681},
    {VK_F3, !control, !shift, !alt, ID_SEARCH_FIND_NEXT},
    {u'S', control, !shift, !alt, ID_FILE_SAVE},
});

} // namespace

std::span<const menu_item> main_menu() noexcept
{
    return menu_128;
}

std::span<const menu_item> list_context_menu() noexcept
{
    return menu_281_popup;
}

std::span<const accelerator> main_accelerators() noexcept
{
    return accelerators_128;
}

} // namespace cw
