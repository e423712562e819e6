// The application object: the order in which the program comes up and goes down. Window, companion
// and tests give it a host that stands for the platform's class libraries.
#pragma once

#include "app/main_frame.h"
#include "app/recent_files.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace cw {

/// What the start-up asks of the platform, in the order in which it asks.
class application_host {
public:
    virtual ~application_host() = default;
    virtual void enable_control_container(void* factory) = 0;
    virtual bool ole_init() = 0;
    virtual bool init_common_controls(std::uint32_t size_in_bytes, std::uint32_t classes) = 0;
    virtual bool base_init_instance() = 0;
    /// Puts the user's settings under a company's name.
    virtual void set_registry_key(std::u16string_view company) = 0;
    /// The arguments behind the program's name. File names may be relative.
    [[nodiscard]] virtual std::span<const std::u16string> arguments() const = 0;
    [[nodiscard]] virtual frame_toolkit& toolkit() = 0;
    [[nodiscard]] virtual frame_services& services() = 0;
    /// A new frame, or null where there is no memory for one.
    [[nodiscard]] virtual std::unique_ptr<CMainFrame> create_frame(CRecentFileList& recent_files);
};

class CCwCabVu3App {
public:
    explicit CCwCabVu3App(application_host& host) noexcept : m_host(host) {}

    /// False only where the frame could not be allocated: the process then ends.
    bool InitInstance();
    /// Destroys the frame and writes the recent list back. Call it once after the frame was closed.
    int ExitInstance();
    /// Command 57664, which the frame passes on.
    void OnAppAbout();

    /// Null before `InitInstance` and after `ExitInstance`.
    [[nodiscard]] CMainFrame* MainWindow() noexcept { return m_pMainWnd.get(); }
    [[nodiscard]] CRecentFileList* RecentFiles() noexcept { return m_pRecentFileList.get(); }

private:
    /// The commands that the frame leaves to the application.
    bool OnCmdMsg(std::uint32_t id, command_ui* ui);

    application_host& m_host;
    std::unique_ptr<CCustomRecentFileList> m_pRecentFileList;
    std::unique_ptr<CMainFrame> m_pMainWnd;
};

} // namespace cw
