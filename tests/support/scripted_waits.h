// Events and a message queue without waiting: what a wait finds was told beforehand. Only what comes from
// another thread takes the time that the thread takes.
#pragma once

#include "platform/thread_waits.h"

#include "tests/support/call_log.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

namespace cw::test_support {

/// Lines: `MsgWaitForMultipleObjects <events> <timeout> 0x000004FF`, `PeekMessageW <window> <first> <last>
/// <flags>`, `TranslateMessage <number>`, `DispatchMessageW <number>`; with `tells_events` also `CreateEventW
/// <manual reset> <signalled>`, `SetEvent <event>`, `ResetEvent <event>`, `CloseHandle <event>`. All of them but
/// those of messages can be told to fail.
///
/// A wait looks in this order: is an event signalled; do messages arrive; is something due, which then
/// happens, and after it the wait looks again. Where nothing is left the time is over.
struct scripted_waits final : platform::thread_waits {
    explicit scripted_waits(call_log& log) noexcept : m_log(log) {}
    /// Joins all threads.
    ~scripted_waits() override;
    bool tells_events = false;

    /// `times` further waits end with messages, `each` of them, that do `when_dispatched`. Their numbers count
    /// from 1.
    void messages_arrive(int times, int each, const std::function<void()>& when_dispatched = {});
    /// Has `what` happen during a wait, on a thread of its own or on that of the wait. `key` may be anything.
    void later(const void* key, bool on_thread, std::function<void()> what);
    /// What is due for `key` never happens. Returns when none of it is under way any more.
    void drop(const void* key);
    /// Waits for the threads that were started.
    void join();

    [[nodiscard]] std::size_t open_events() const;
    [[nodiscard]] bool is_signalled(platform::event_handle event) const;

    platform::event_handle create_event(bool manual_reset, bool signalled) noexcept override;
    bool set_event(platform::event_handle event) noexcept override;
    bool reset_event(platform::event_handle event) noexcept override;
    bool close_event(platform::event_handle event) noexcept override;
    std::uint32_t wait(std::uint32_t count, const platform::event_handle* events, bool wait_all,
                       std::uint32_t timeout_ms, std::uint32_t wake_mask) noexcept override;
    bool peek_message(platform::thread_message* message, std::uintptr_t window, std::uint32_t first_number,
                      std::uint32_t last_number, std::uint32_t flags) noexcept override;
    bool translate_message(const platform::thread_message* message) noexcept override;
    std::intptr_t dispatch_message(const platform::thread_message* message) noexcept override;

private:
    struct event_state {
        bool manual_reset;
        bool signalled;
    };
    struct due_call {
        const void* key;
        bool on_thread;
        std::function<void()> what;
    };
    struct arrival {
        int count;
        std::function<void()> when_dispatched;
    };
    struct queued_message {
        std::uint32_t number;
        std::function<void()> when_dispatched;
    };

    bool change_event(std::string_view operation, platform::event_handle event, bool signalled) noexcept;
    /// The number of the first signalled event, which goes back; `count` for none.
    std::uint32_t take_signalled(std::uint32_t count, const platform::event_handle* events);
    void happen(due_call call, std::uint32_t count, const platform::event_handle* events);

    call_log& m_log;
    mutable std::mutex m_mutex; // of the events alone; all else belongs to the test's thread
    std::condition_variable m_changed;
    std::map<platform::event_handle, event_state> m_events;
    platform::event_handle m_nextEvent = 1;
    std::deque<arrival> m_arrivals;
    std::deque<queued_message> m_queue;
    std::map<std::uint32_t, std::function<void()>> m_taken; // peeked and not dispatched
    std::uint32_t m_nextMessage = 1;
    std::deque<due_call> m_due;
    std::vector<std::thread> m_threads;
};

} // namespace cw::test_support
