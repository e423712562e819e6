// The whole program over a toolkit that draws nothing and a person who answers from a script, with
// the fixture libraries beside it. Tests of the frame, its views and the companion use it.
#pragma once

#include "app/application.h"
#include "framework/headless_toolkit.h"
#include "framework/scripted_services.h"
#include "tests/support/forwarding_files.h"
#include "tests/support/scripted_services.h"
#include "tests/support/temporary_folder.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cw {

/// Members of the frame that only tests look at.
struct frame_access {
    static auto& border_static(CMainFrame& frame) { return frame.m_borderStatic; }
    static auto& border_edit(CMainFrame& frame) { return frame.m_borderEdit; }
    static auto& log_loader(CMainFrame& frame) { return frame.m_logLoader; }
    static auto& log_document(CMainFrame& frame) { return frame.m_logDocument; }
    static auto& root_feature_log(CMainFrame& frame) { return frame.m_rootFeatureLog; }
    static auto& media_factory(CMainFrame& frame) { return frame.m_mediaFactory; }
    static auto& media(CMainFrame& frame) { return frame.m_media; }
    static auto& nodes(CMainFrame& frame) { return frame.m_navNodes; }
    static auto& report_path(CMainFrame& frame) { return frame.m_reportPath; }
    static auto& find_text(CMainFrame& frame) { return frame.m_findText; }
    static auto& find_anchor(CMainFrame& frame) { return frame.m_findAnchor; }
    static auto& view_filter(CMainFrame& frame) { return frame.m_viewFilter; }
    static auto& expert_mode(CMainFrame& frame) { return frame.m_expertMode; }
};

namespace test_support {

/// The real loader for a program that stands in a folder of the test's choice. Libraries can be put
/// there that are functions of the test.
class library_folder final : public platform::loader {
public:
    explicit library_folder(const temporary_folder& folder);

    /// Puts the fixture media library beside the program.
    void add_fixture_media();
    /// Puts the fixture log library beside the program.
    void add_fixture_logs();
    /// Puts a library there whose entry point is a function of the test, in place of one of that name.
    void add(std::string_view file_name, dll_get_class_object entry_point);
    void remove(std::string_view file_name);

    std::uint32_t module_file_name(char16_t* target, std::uint32_t room) noexcept override;
    void* load_library(const char16_t* path) noexcept override;
    void* find_export(void* library, const char* name) noexcept override;
    void* module_handle(const char16_t* name) noexcept override { return m_real.module_handle(name); }
    std::u16string load_failure() override;

private:
    const temporary_folder& m_folder;
    platform::loader& m_real;
    std::map<std::u16string, dll_get_class_object> m_entryPoints;
};

/// The real files, with temporary ones in the folder `temp` of the test's own folder, which nobody has
/// made yet.
class files_of_test final : public forwarding_file_system {
public:
    explicit files_of_test(const temporary_folder& folder) : m_tempFolder(folder.wide_file("temp") + u"/") {}
    std::uint32_t temp_folder(char16_t* target, std::uint32_t room) noexcept override;

private:
    std::u16string m_tempFolder;
};

/// A program, its person and its surroundings. User settings live as long as the object.
class frame_harness final : public application_host {
public:
    frame_harness();
    ~frame_harness() override;

    /// Starts the program with these arguments; what `InitInstance` answers.
    bool start(std::vector<std::u16string> arguments = {});
    [[nodiscard]] CMainFrame& frame() { return *m_application.MainWindow(); }
    [[nodiscard]] CCwCabVu3App& application() noexcept { return m_application; }

    /// Writes a model and answers its path.
    std::u16string write(std::string_view model, std::string_view name = "media.hdr") const;
    /// Opens a path as an entry from the window; what the frame answered, false after an exception.
    bool open(std::u16string_view path);
    /// Writes and opens a media that has these members.
    bool open_media(std::string_view media_members);
    /// The same for a tree's root of features given as a picture (see `features_json`).
    bool open_features(std::string_view picture) { return open_media("\"Features\": " + features_json(picture)); }

    /// Writes and opens a whole model of a log.
    bool open_log(std::string_view model);

    /// `[{"Name": …, "SubFeatures": […]}, …]` from lines that are indented by two blanks a level.
    [[nodiscard]] static std::string features_json(std::string_view picture);
    /// The calls that the library wrote down since the last call of this; models made by `open_media`
    /// and `open_log` are traced.
    [[nodiscard]] std::vector<std::string> take_trace();
    /// The lines of errors that no site caught since the last call of this.
    [[nodiscard]] std::vector<std::string> take_unhandled();
    /// The paths of the recent list as far as it has entries.
    [[nodiscard]] std::vector<std::u16string> recent();

    // What the start-up asks, written down in `calls`. The toolkit's own calls stand between.
    void enable_control_container(void* factory) override;
    bool ole_init() override;
    bool init_common_controls(std::uint32_t size_in_bytes, std::uint32_t classes) override;
    bool base_init_instance() override;
    void set_registry_key(std::u16string_view company) override;
    std::span<const std::u16string> arguments() const override;
    frame_toolkit& toolkit() override { return toolkit_calls; }
    frame_services& services() override { return person; }
    std::unique_ptr<CMainFrame> create_frame(CRecentFileList& recent_files) override;

    temporary_folder folder;
    library_folder libraries{folder};
    files_of_test files{folder};
    call_log platform_calls;
    scripted_machine_settings machine{platform_calls};
    platform::memory_user_settings settings;
    headless_toolkit toolkit_calls;
    scripted_frame_services person;
    /// The host's operations in the order of their calls.
    std::vector<std::string> calls;
    /// What the host's yes-or-no operations answer.
    bool host_answers = true;
    bool frame_can_be_made = true;
    /// Called with each operation's name, before it answers.
    std::function<void(std::string_view)> on_call;

private:
    void note(std::string line);
    [[nodiscard]] platform::services made();

    platform::scoped_services m_inUse;
    mutable std::vector<std::u16string> m_arguments;
    std::vector<std::string> m_unhandled;
    CCwCabVu3App m_application;
};

} // namespace test_support
} // namespace cw
