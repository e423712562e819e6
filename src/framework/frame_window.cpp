#include "framework/frame_window.h"

#include "foundation/exceptions.h"
#include "framework/control_window.h"
#include "platform/services.h"

#include <cstdio>
#include <exception>

namespace cw {
namespace {

/// Counts an entry for as long as it runs.
class entry_scope {
public:
    explicit entry_scope(int& depth) noexcept : m_depth(depth) { ++m_depth; }
    ~entry_scope() { --m_depth; }
    entry_scope(const entry_scope&) = delete;
    entry_scope& operator=(const entry_scope&) = delete;

private:
    int& m_depth;
};

} // namespace

CXTPFrameWnd::CXTPFrameWnd(frame_toolkit& toolkit, frame_services& services) noexcept
    : m_toolkit(toolkit), m_services(services)
{
}

CXTPFrameWnd::~CXTPFrameWnd() = default;

bool CXTPFrameWnd::LoadFrame(std::uint32_t resource_id, std::uint32_t style)
{
    frame_create_parameters parameters{.resource_id = resource_id, .style = style};
    if (!PreCreateWindow(parameters) || !m_toolkit.create_window(parameters))
        return false;
    m_hasWindow = true;

    // Also where an exception leaves the creation, no half-made window stays.
    struct unfinished_window {
        CXTPFrameWnd* frame;
        ~unfinished_window()
        {
            if (frame)
                frame->destroy_window();
        }
    } unfinished{this};
    if (OnCreate() == -1)
        return false;
    unfinished.frame = nullptr;
    return true;
}

void CXTPFrameWnd::destroy_window()
{
    m_hasWindow = false;
    m_focus = nullptr;
    m_toolkit.destroy_window();
}

void CXTPFrameWnd::Guard(const std::function<void()>& work)
{
    if (m_depth > 0) {
        const entry_scope entry(m_depth);
        work();
        return;
    }
    try {
        const entry_scope entry(m_depth);
        work();
    } catch (...) {
        report_unhandled();
    }
    run_idle();
}

void CXTPFrameWnd::run_idle()
{
    // Views that catch up ask for the state of commands, which are entries of their own.
    if (!m_idle || m_idleRunning)
        return;
    m_idleRunning = true;
    try {
        m_idle();
    } catch (...) {
        report_unhandled();
    }
    m_idleRunning = false;
}

void CXTPFrameWnd::report_unhandled() noexcept
{
    try {
        string line = u"cwcabview: unhandled error: " + describe_exception(std::current_exception());
        if (m_unhandled)
            m_unhandled(line);
        else
            std::fprintf(stderr, "%s\n", line.narrow());
    } catch (...) {
        // No memory even for the line.
        std::fputs("cwcabview: unhandled error\n", stderr);
    }
}

bool CXTPFrameWnd::RunCommand(std::uint32_t id)
{
    bool ran = false;
    Guard([&] {
        command_ui state(id);
        if (OnCmdMsg(id, &state) && state.enabled().value_or(true))
            ran = OnCmdMsg(id, nullptr);
    });
    return ran;
}

command_ui CXTPFrameWnd::UpdateCommand(std::uint32_t id)
{
    command_ui state(id);
    Guard([&] {
        if (!OnCmdMsg(id, &state))
            state.Enable(false);
    });
    return state;
}

bool CXTPFrameWnd::KeyDown(const key_message& key)
{
    bool matched = false;
    Guard([&] {
        if (PreTranslateMessage(key))
            return;
        const std::uint32_t command = m_commandBars.command_of(key);
        matched = command != 0;
        if (matched)
            RunCommand(command);
    });
    return matched;
}

void CXTPFrameWnd::Close()
{
    if (!m_hasWindow)
        return;
    Guard([this] { OnClose(); });
}

void CXTPFrameWnd::SetUnhandledSink(std::function<void(std::u16string_view line)> sink)
{
    m_unhandled = std::move(sink);
}

void CXTPFrameWnd::SetIdleSink(std::function<void()> sink)
{
    m_idle = std::move(sink);
}

void CXTPFrameWnd::SetTitle(std::u16string_view title)
{
    m_title = title;
    if (m_hasWindow)
        m_toolkit.set_title(m_title);
}

void CXTPFrameWnd::SetStatusText(int pane, std::u16string_view text)
{
    if (pane == 0)
        m_statusText = text;
    if (m_hasWindow)
        m_toolkit.set_status_text(pane, text);
}

void CXTPFrameWnd::SetFocus(control_window& control)
{
    m_focus = &control;
    if (m_hasWindow)
        m_toolkit.set_focus(control);
}

bool CXTPFrameWnd::PreCreateWindow(frame_create_parameters&)
{
    return true;
}

bool CXTPFrameWnd::OnCreateClient()
{
    return true;
}

int CXTPFrameWnd::OnCreate()
{
    return OnCreateClient() ? 0 : -1;
}

void CXTPFrameWnd::OnClose()
{
    destroy_window();
}

std::uint32_t CXTPFrameWnd::FilteredCommand(const key_message&) const noexcept
{
    return 0;
}

bool CXTPFrameWnd::PreTranslateMessage(const key_message&)
{
    return false;
}

void CXTPFrameWnd::Adopt(control_window& control)
{
    control.set_parent(
        [this](std::uint32_t control_id, std::uint32_t code) { Guard([&] { OnNotify(control_id, code); }); });
}

bool CXTPFrameWnd::SetMenu(std::u16string_view title, std::span<const menu_item> menu)
{
    m_commandBars.set_menu(menu);
    return m_toolkit.set_menu(title, menu);
}

void CXTPFrameWnd::SetAccelerators(std::span<const accelerator> table)
{
    m_commandBars.set_default_accelerators(table);
    m_toolkit.set_accelerators(table);
}

void CXTPFrameWnd::LoadCommandBars(std::u16string_view name)
{
    m_commandBars.load(*platform::current().user, name);
    m_toolkit.load_command_bars(name);
}

void CXTPFrameWnd::SaveCommandBars(std::u16string_view name)
{
    m_toolkit.save_command_bars(name);
    m_commandBars.save(*platform::current().user, name);
}

} // namespace cw
