// What the window's tests share: a frame that writes down what reaches it, the whole program in a
// window, and what sends events to it.
#pragma once

#include "app/application.h"
#include "desktop/qt_toolkit.h"
#include "framework/command_bars.h"
#include "framework/frame_window.h"
#include "framework/scripted_services.h"
#include "tests/support/frame_harness.h"

#include <QString>

#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

class QAction;
class QMimeData;
class QPoint;
class QPushButton;

/// Lets failing comparisons show texts.
inline void PrintTo(const QString& text, std::ostream* stream)
{
    *stream << '"' << text.toStdString() << '"';
}

namespace cw::test_support {

/// Lets everything happen that waits in the event queue.
void pump();
/// The action of that text in a menu bar, by its path ("&File/&Open"), each popup opened on the way so
/// that its states are computed; null where there is none.
[[nodiscard]] QAction* menu_action(main_window& window, const QString& path);
/// Texts of a popup's items after it was opened: "---" for a separator, "> " before a popup.
[[nodiscard]] QStringList popup_texts(main_window& window, const QString& popup);
/// A key to the native window, as the window system sends it.
void press(main_window& window, Qt::Key key, Qt::KeyboardModifiers held = {});
/// Drags files over the native window, as the window system does, and lets them go there if the window
/// takes them; whether it did.
bool drop(main_window& window, QPoint place, const std::vector<std::string>& paths,
          Qt::DropActions offered = Qt::CopyAction | Qt::MoveAction);
/// Runs `answer` as soon as a modal dialog is up, and closes what is left of the dialog afterwards.
void when_modal(std::function<void(QWidget& dialog)> answer);

/// Runs `answer` as soon as a window of that title is on screen, modal or not, and closes what is left
/// of it afterwards.
void when_shown(const QString& title, std::function<void(QWidget& window)> answer);
/// Drags something to a point of a widget and lets it go there; whether it was taken.
bool drop(QWidget& widget, const QPoint& point, const QMimeData& data);
/// A button by its text without the mnemonic; null where there is none.
[[nodiscard]] QPushButton* button_of(QWidget& dialog, const QString& text);

/// Command bars with the program's own menu and keys.
struct program_bars {
    program_bars();

    command_bars bars;
};

/// A frame with both panes and the program's menus that handles nothing and writes everything down.
class recording_frame final : public CXTPFrameWnd {
public:
    recording_frame(qt_toolkit& toolkit, frame_services& services) : CXTPFrameWnd(toolkit, services) {}

    CTreeCtrl tree;
    CListCtrl list;
    std::vector<std::uint32_t> commands;
    std::vector<std::uint32_t> notifications;
    std::vector<std::uint32_t> keys;
    /// State of commands; one that is not named is enabled.
    std::map<std::uint32_t, bool> enabled;
    std::map<std::uint32_t, bool> checked;
    std::function<void(std::uint32_t id)> on_command;
    std::function<void(std::uint32_t code)> on_notify;
    int close_count = 0;

protected:
    bool OnCreateClient() override;
    int OnCreate() override;
    void OnClose() override;
    bool OnCmdMsg(std::uint32_t id, command_ui* ui) override;
    void OnNotify(std::uint32_t control_id, std::uint32_t code) override;
    bool PreTranslateMessage(const key_message& key) override;
};

/// Such a frame in its window, shown.
struct recording_window {
    recording_window();
    ~recording_window();

    [[nodiscard]] main_window& window() { return *toolkit.window(); }
    [[nodiscard]] tree_pane& tree() { return *toolkit.tree(); }
    [[nodiscard]] list_pane& list() { return *toolkit.list(); }

    qt_toolkit toolkit;
    scripted_frame_services person;
    recording_frame frame{toolkit, person};
    std::vector<std::u16string> unhandled;
};

/// The whole program in a window, with the fixture media library beside it and a scripted person.
class program_window final : public application_host {
public:
    program_window();
    ~program_window() override;

    bool start(std::vector<std::u16string> arguments = {});
    /// Writes and opens a media whose features are given as a picture, one a line, indented by two
    /// blanks a level.
    bool open_features(std::string_view picture);
    [[nodiscard]] CMainFrame& frame() { return *m_application.MainWindow(); }
    [[nodiscard]] CRecentFileList& recent_files() { return *m_application.RecentFiles(); }
    [[nodiscard]] main_window& window() { return *window_toolkit.window(); }

    void enable_control_container(void*) override {}
    bool ole_init() override { return true; }
    bool init_common_controls(std::uint32_t, std::uint32_t) override { return true; }
    bool base_init_instance() override { return true; }
    void set_registry_key(std::u16string_view) override {}
    std::span<const std::u16string> arguments() const override { return m_arguments; }
    frame_toolkit& toolkit() override { return window_toolkit; }
    frame_services& services() override { return person; }
    std::unique_ptr<CMainFrame> create_frame(CRecentFileList& list) override;

    temporary_folder folder;
    library_folder libraries{folder};
    platform::memory_user_settings settings;
    qt_toolkit window_toolkit;
    scripted_frame_services person;

private:
    [[nodiscard]] platform::services made();

    platform::scoped_services m_inUse;
    std::vector<std::u16string> m_arguments;
    CCwCabVu3App m_application;
};

} // namespace cw::test_support
