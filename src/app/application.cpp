#include "app/application.h"

#include "app/command_line.h"
#include "app/menus.h"

#include <new>

namespace cw {
namespace {

constexpr std::uint32_t common_controls_size_in_bytes = 8;
constexpr std::uint32_t ICC_WIN95_CLASSES = 255;
constexpr std::uint32_t frame_style = 0xCF8000; // overlapped window, title added
constexpr int SW_SHOW = 5;

constexpr std::u16string_view company = u"Cratewright";
constexpr std::u16string_view recent_section = u"Recent File List";
constexpr std::u16string_view recent_entry_format = u"File%d";
constexpr std::size_t recent_size = 16;
constexpr std::size_t recent_longest_display_length = 400;

} // namespace

std::unique_ptr<CMainFrame> application_host::create_frame(CRecentFileList& recent_files)
{
    return std::unique_ptr<CMainFrame>(new (std::nothrow) CMainFrame(toolkit(), services(), recent_files));
}

bool CCwCabVu3App::InitInstance()
{
    m_host.enable_control_container(nullptr);
    m_host.ole_init();
    m_host.init_common_controls(common_controls_size_in_bytes, ICC_WIN95_CLASSES);
    m_host.base_init_instance();
    m_host.set_registry_key(company);

    m_pRecentFileList = std::make_unique<CCustomRecentFileList>(0u, recent_section, recent_entry_format, recent_size,
                                                                recent_longest_display_length);
    m_pRecentFileList->ReadList();

    m_pMainWnd = m_host.create_frame(*m_pRecentFileList);
    if (!m_pMainWnd)
        return false;
    m_pMainWnd->SetNextTarget([this](std::uint32_t id, command_ui* ui) { return OnCmdMsg(id, ui); });
    m_pMainWnd->LoadFrame(IDR_MAINFRAME, frame_style);

    CCommandLineInfo command_line;
    ParseCommandLine(m_host.arguments(), command_line);
    m_host.toolkit().show_window(SW_SHOW);
    m_host.toolkit().update_window();

    if (command_line.m_nShellCommand == shell_command::file_open) {
        const string path(command_line.m_strFileName.view());
        m_pMainWnd->Guard([&] { m_pMainWnd->OpenFile(path); });
    }
    return true;
}

int CCwCabVu3App::ExitInstance()
{
    // The session goes with the frame, before the list is written.
    m_pMainWnd.reset();
    if (m_pRecentFileList)
        m_pRecentFileList->WriteList();
    return 0;
}

void CCwCabVu3App::OnAppAbout()
{
    m_host.services().show_about();
}

bool CCwCabVu3App::OnCmdMsg(std::uint32_t id, command_ui* ui)
{
    if (id != ID_APP_ABOUT && id != ID_APP_EXIT)
        return false;
    if (ui)
        ui->Enable();
    else if (id == ID_APP_ABOUT)
        OnAppAbout();
    else
        m_pMainWnd->Close();
    return true;
}

} // namespace cw
