// The window's side of the program's start-up: toolkit, services and settings in one place. Used by
// the program, the tests and the benchmark of the first paint.
#pragma once

#include "app/application.h"
#include "desktop/qt_services.h"
#include "desktop/qt_thread_waits.h"
#include "desktop/qt_toolkit.h"
#include "platform/ini_user_settings.h"
#include "platform/posix_services.h"
#include "platform/services.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace cw {

class main_window_host final : public application_host {
public:
    /// `arguments` are those behind the program's name. Needs a QApplication.
    explicit main_window_host(std::vector<std::u16string> arguments);

    void enable_control_container(void* factory) override;
    bool ole_init() override;
    bool init_common_controls(std::uint32_t size_in_bytes, std::uint32_t classes) override;
    bool base_init_instance() override;
    void set_registry_key(std::u16string_view company) override;
    [[nodiscard]] std::span<const std::u16string> arguments() const override { return m_arguments; }
    [[nodiscard]] frame_toolkit& toolkit() override { return m_toolkit; }
    [[nodiscard]] frame_services& services() override { return m_services; }
    [[nodiscard]] std::unique_ptr<CMainFrame> create_frame(CRecentFileList& recent_files) override;

    /// Lets the frame open what is dropped on its window, which must be there.
    void accept_dropped_files(CMainFrame& frame);

    [[nodiscard]] qt_toolkit& window_toolkit() noexcept { return m_toolkit; }
    [[nodiscard]] qt_services& window_services() noexcept { return m_services; }

private:
    std::vector<std::u16string> m_arguments;
    qt_toolkit m_toolkit;
    qt_services m_services{m_toolkit};
    qt_thread_waits m_waits{m_toolkit, *platform::posix_services().waits};
    platform::scoped_services m_withWaits;
    std::optional<platform::ini_user_settings> m_settings;
    std::optional<platform::scoped_services> m_installed;
};

/// The file of the user's settings under a company's name, where the desktop keeps such files.
[[nodiscard]] QString settings_file(const QString& company);

/// Runs the program in its window until that is closed; answers the exit status.
int run_window(main_window_host& host);

} // namespace cw
