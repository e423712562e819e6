// Events between threads, and waiting for them while the messages of the waiting thread are looked after.
#pragma once

#include <cstdint>

namespace cw::platform {

using event_handle = std::intptr_t;
inline constexpr event_handle no_event = 0;

/// A message of the thread's queue, as far as it must be passed on.
struct thread_message {
    std::uintptr_t window = 0;
    std::uint32_t number = 0;
    std::uintptr_t first = 0;
    std::intptr_t second = 0;
};

inline constexpr std::uint32_t wait_object = 0; // and on: the first event's, the second's, …
inline constexpr std::uint32_t wait_timeout = 0x102;
inline constexpr std::uint32_t wait_failed = 0xFFFFFFFF;
inline constexpr std::uint32_t wait_for_ever = 0xFFFFFFFF;
inline constexpr std::uint32_t wake_for_all_input = 0x4FF;
inline constexpr std::uint32_t remove_message = 1;

/// Events, and the message queue of the calling thread. Failing calls set the last error. Events may be used on
/// any thread.
struct thread_waits {
    virtual ~thread_waits() = default;
    /// `no_event` on failure. An event that is not reset by hand goes back when a wait has seen it.
    virtual event_handle create_event(bool manual_reset, bool signalled) noexcept = 0;
    virtual bool set_event(event_handle event) noexcept = 0;
    virtual bool reset_event(event_handle event) noexcept = 0;
    virtual bool close_event(event_handle event) noexcept = 0;
    /// Waits for one of the events (all of them with `wait_all`) or for a message of a kind in `wake_mask`:
    /// the number of the event, `count` for a message, `wait_timeout`, or `wait_failed`.
    virtual std::uint32_t wait(std::uint32_t count, const event_handle* events, bool wait_all, std::uint32_t timeout_ms,
                               std::uint32_t wake_mask) noexcept = 0;
    /// False where the queue is empty.
    virtual bool peek_message(thread_message* message, std::uintptr_t window, std::uint32_t first_number,
                              std::uint32_t last_number, std::uint32_t flags) noexcept = 0;
    virtual bool translate_message(const thread_message* message) noexcept = 0;
    virtual std::intptr_t dispatch_message(const thread_message* message) noexcept = 0;
};

} // namespace cw::platform
