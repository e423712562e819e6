// The viewer without a window: the same application and frame over a toolkit that draws nothing,
// with the person's replies taken from queues.
#pragma once

#include "app/application.h"
#include "framework/headless_toolkit.h"
#include "framework/scripted_services.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cw::console {

class headless_application final : public application_host {
public:
    headless_application();
    ~headless_application() override;

    [[nodiscard]] CMainFrame& frame() noexcept { return *m_application.MainWindow(); }
    [[nodiscard]] scripted_frame_services& person() noexcept { return m_services; }

    /// Opens a file as the window would. None where it is open; otherwise why not, in one line.
    [[nodiscard]] std::optional<std::u16string> open(std::u16string_view absolute_path);

    /// Runs a command where it is enabled. None where it went well; otherwise what went wrong.
    [[nodiscard]] std::optional<std::u16string> run_command(std::uint32_t id);

    /// Selects an item of the tree, or none, as a person would. None where it went well; otherwise what
    /// went wrong.
    [[nodiscard]] std::optional<std::u16string> select(HTREEITEM item);

    /// The first error since the last call of this that nothing caught: its kind, code and text.
    [[nodiscard]] std::optional<std::u16string> take_unhandled();
    [[nodiscard]] bool has_unhandled() const noexcept { return !m_unhandled.empty(); }

    void enable_control_container(void*) override {}
    bool ole_init() override { return true; }
    bool init_common_controls(std::uint32_t, std::uint32_t) override { return true; }
    bool base_init_instance() override { return true; }
    void set_registry_key(std::u16string_view) override {}
    std::span<const std::u16string> arguments() const override { return {}; }
    frame_toolkit& toolkit() override { return m_toolkit; }
    frame_services& services() override { return m_services; }

private:
    headless_toolkit m_toolkit;
    scripted_frame_services m_services;
    std::vector<std::u16string> m_unhandled;
    CCwCabVu3App m_application;
};

/// An argument of the command line as an absolute path.
[[nodiscard]] std::u16string absolute_path(const std::string& argument);

} // namespace cw::console
