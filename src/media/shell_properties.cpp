// What the list shows for a shell folder and for a shortcut.

#include "media/formatting.h"
#include "media/property_rows.h"

#include <array>

namespace cw {
namespace {

constexpr auto folder_rows = std::to_array<property_row>({
    {160, show_text<media_shell_folder::DisplayName>},
    {197, show_yes_no<media_shell_folder::Shared>},
});

constexpr auto shortcut_rows = std::to_array<property_row>({
    {198, show_text<media_shortcut::ShortcutText>},
    {199, show_bit<media_shortcut::ShortcutFlags, 0>},
    {200, show_text<media_shortcut::Target>},
    {201, show_text<media_shortcut::Parameters>},
    {202, show_text<media_shortcut::StartIn>},
    {203, show_formatted<media_shortcut::FolderType, FormatFolderType>},
    {204, show_text<media_shortcut::ShortcutKey>},
    {210, show_formatted<media_shortcut::ShowCommand, FormatShowCommand>},
    {211, show_text<media_shortcut::IconFile>},
    {212, show_decimal<media_shortcut::IconIndex>},
    {213, show_yes_no<media_shortcut::Uninstall>},
    {214, show_yes_no<media_shortcut::ReplaceExisting>},
    {284, show_yes_no<media_shortcut::PreventPinning>},
    {285, show_yes_no<media_shortcut::NoHighlightOnInstall>},
    {286, show_yes_no<media_shortcut::NoPinToStart>},
    {287, show_yes_no<media_shortcut::RunAsAdministrator>},
});

} // namespace

void CMainFrame::ShowShellObject(HTREEITEM item)
{
    const auto folder = automation::query_interface<IDispatch>(m_navNodes[item].object.get(), IID_IMediaShellFolder);
    const auto shortcut = automation::query_interface<IDispatch>(m_navNodes[item].object.get(), IID_IMediaShortcut);
    SetListColumns(NODEKIND_SHELL_FOLDER);
    if (folder)
        add_property_rows(*this, folder_rows, folder.get());
    else if (shortcut)
        add_property_rows(*this, shortcut_rows, shortcut.get());
}

} // namespace cw
