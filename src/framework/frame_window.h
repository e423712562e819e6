// The base of a main frame: creation in the class library's order, command and notification
// routing, command bars and their keys, title and focus, over a toolkit that draws it. No window
// system.
#pragma once

#include "framework/command_bars.h"
#include "framework/commands.h"
#include "framework/frame_services.h"
#include "framework/frame_toolkit.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace cw {

class CXTPFrameWnd {
public:
    CXTPFrameWnd(frame_toolkit& toolkit, frame_services& services) noexcept;
    virtual ~CXTPFrameWnd();
    CXTPFrameWnd(const CXTPFrameWnd&) = delete;
    CXTPFrameWnd& operator=(const CXTPFrameWnd&) = delete;

    /// Makes the window: `PreCreateWindow`, the toolkit's window, `OnCreate` (within which the base
    /// calls `OnCreateClient`). False where any of them refuses; the window is then destroyed.
    bool LoadFrame(std::uint32_t resource_id, std::uint32_t style);
    [[nodiscard]] bool HasWindow() const noexcept { return m_hasWindow; }

    // Entries from the window: each is a boundary that no exception passes. An exception that no
    // site caught ends here with one line on standard error (see `SetUnhandledSink`); what was done
    // so far stands.
    /// Runs the command's handler if its update handler enables it; false where it is disabled or
    /// unknown.
    bool RunCommand(std::uint32_t id);
    /// Enabled and checked state of a command. A command without handler is disabled.
    [[nodiscard]] command_ui UpdateCommand(std::uint32_t id);
    /// A key-down: the message filter first and then, whatever it did, the accelerators. True where
    /// an accelerator matched.
    bool KeyDown(const key_message& key);
    /// The close handler; the window is destroyed at its end.
    void Close();
    /// Runs any piece of work under the same boundary. Within another entry an exception passes on to
    /// the outermost one, so that it ends the whole command.
    void Guard(const std::function<void()>& work);

    /// While one lives, entries are outermost ones again: for whoever answers a question of the logic
    /// in an event loop of its own, through which no exception may pass.
    class NestedLoop {
    public:
        explicit NestedLoop(CXTPFrameWnd& frame) noexcept : m_frame(frame), m_depth(frame.m_depth)
        {
            frame.m_depth = 0;
        }
        ~NestedLoop() { m_frame.m_depth = m_depth; }
        NestedLoop(const NestedLoop&) = delete;
        NestedLoop& operator=(const NestedLoop&) = delete;

    private:
        CXTPFrameWnd& m_frame;
        int m_depth;
    };

    /// Gets the one line of an unhandled exception; standard error by default.
    void SetUnhandledSink(std::function<void(std::u16string_view line)> sink);
    /// Called when an entry from the window has been dealt with, also after an exception: the time
    /// for views to catch up with what changed.
    void SetIdleSink(std::function<void()> sink);

    [[nodiscard]] const std::u16string& GetTitle() const noexcept { return m_title; }
    void SetTitle(std::u16string_view title);
    [[nodiscard]] const std::u16string& GetStatusText() const noexcept { return m_statusText; }
    void SetStatusText(int pane, std::u16string_view text);
    [[nodiscard]] control_window* GetFocus() const noexcept { return m_focus; }
    /// Menus, toolbars and keys as the person wants them; the toolkit shows and changes them.
    [[nodiscard]] command_bars& CommandBars() noexcept { return m_commandBars; }
    /// The command that the message filter itself runs for a key, whatever the accelerators say; 0 for
    /// none.
    [[nodiscard]] virtual std::uint32_t FilteredCommand(const key_message& key) const noexcept;
    /// Moves the focus, through the toolkit.
    void SetFocus(control_window& control);
    /// The view tells where the person put the focus; null for elsewhere.
    void FocusMoved(control_window* control) noexcept { m_focus = control; }

    [[nodiscard]] frame_toolkit& Toolkit() noexcept { return m_toolkit; }
    [[nodiscard]] frame_services& Services() noexcept { return m_services; }

protected:
    virtual bool PreCreateWindow(frame_create_parameters& parameters);
    /// Makes what fills the client area; false is a failure.
    virtual bool OnCreateClient();
    /// 0, or -1 to refuse. The base calls `OnCreateClient`.
    virtual int OnCreate();
    virtual void OnClose();
    /// Dispatches a command: the handler for `ui` null, otherwise the update handler. False where
    /// the map has no entry.
    virtual bool OnCmdMsg(std::uint32_t id, command_ui* ui) = 0;
    virtual void OnNotify(std::uint32_t control_id, std::uint32_t code) = 0;
    /// The message filter. True ends the message there.
    virtual bool PreTranslateMessage(const key_message& key);

    /// Routes a control's notifications to `OnNotify` under the boundary.
    void Adopt(control_window& control);

    // The command bars, in the order in which a frame sets them up.
    /// Makes the menu bar; false where the toolkit cannot.
    bool SetMenu(std::u16string_view title, std::span<const menu_item> menu);
    /// The program's own keys. The table must outlive the frame.
    void SetAccelerators(std::span<const accelerator> table);
    /// Restores and keeps what a person has changed, in the user's settings under that name.
    void LoadCommandBars(std::u16string_view name);
    void SaveCommandBars(std::u16string_view name);

private:
    void report_unhandled() noexcept;
    void run_idle();
    void destroy_window();

    frame_toolkit& m_toolkit;
    frame_services& m_services;
    bool m_hasWindow = false;
    int m_depth = 0; // entries from the window that are running
    bool m_idleRunning = false;
    std::u16string m_title;
    std::u16string m_statusText;
    control_window* m_focus = nullptr;
    command_bars m_commandBars;
    std::function<void(std::u16string_view)> m_unhandled;
    std::function<void()> m_idle;
};

} // namespace cw
