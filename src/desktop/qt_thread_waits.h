// Waiting in the window's thread: the window is drawn and takes keys and clicks meanwhile.
#pragma once

#include "platform/thread_waits.h"

namespace cw {

class qt_toolkit;

/// Events are those of the other side, and waits of other threads, waits for which no message matters and
/// waits without an application are its own. In the window's thread a wait looks after Qt's events itself, so
/// that the queue is always empty for who asks.
class qt_thread_waits final : public platform::thread_waits {
public:
    /// Both are borrowed. `other` is the POSIX side, whose events are descriptors; what the toolkit's frame is
    /// asked to do during a wait is an entry of its own.
    qt_thread_waits(qt_toolkit& toolkit, platform::thread_waits& other) noexcept : m_toolkit(toolkit), m_other(other) {}

    platform::event_handle create_event(bool manual_reset, bool signalled) noexcept override;
    bool set_event(platform::event_handle event) noexcept override;
    bool reset_event(platform::event_handle event) noexcept override;
    bool close_event(platform::event_handle event) noexcept override;
    /// Answers `count` when the window had something to do and has done it. What a window does by itself while
    /// nobody touches it, such as a caret's blinking, counts as nothing: it would put off the end for ever.
    std::uint32_t wait(std::uint32_t count, const platform::event_handle* events, bool wait_all,
                       std::uint32_t timeout_ms, std::uint32_t wake_mask) noexcept override;
    bool peek_message(platform::thread_message* message, std::uintptr_t window, std::uint32_t first_number,
                      std::uint32_t last_number, std::uint32_t flags) noexcept override;
    bool translate_message(const platform::thread_message* message) noexcept override;
    std::intptr_t dispatch_message(const platform::thread_message* message) noexcept override;

private:
    qt_toolkit& m_toolkit;
    platform::thread_waits& m_other;
};

} // namespace cw
