#include "tests/support/scripted_waits.h"

#include "platform/last_error.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace cw::test_support {

namespace {

/// What no test takes unless it hangs.
constexpr std::chrono::seconds longest_wait{60};

std::u16string event_list(std::uint32_t count, const platform::event_handle* events)
{
    std::u16string list;
    for (std::uint32_t i = 0; i < count; ++i)
        list += decimal(events[i]) + u" ";
    return list;
}

} // namespace

scripted_waits::~scripted_waits()
{
    join();
}

void scripted_waits::messages_arrive(int times, int each, const std::function<void()>& when_dispatched)
{
    for (int i = 0; i < times; ++i)
        m_arrivals.push_back({each, when_dispatched});
}

void scripted_waits::later(const void* key, bool on_thread, std::function<void()> what)
{
    m_due.push_back({key, on_thread, std::move(what)});
}

void scripted_waits::drop(const void* key)
{
    std::erase_if(m_due, [&](const due_call& call) { return call.key == key; });
    join();
}

void scripted_waits::join()
{
    for (std::thread& one : m_threads)
        one.join();
    m_threads.clear();
}

std::size_t scripted_waits::open_events() const
{
    const std::scoped_lock lock(m_mutex);
    return m_events.size();
}

bool scripted_waits::is_signalled(platform::event_handle event) const
{
    const std::scoped_lock lock(m_mutex);
    return m_events.at(event).signalled;
}

platform::event_handle scripted_waits::create_event(bool manual_reset, bool signalled) noexcept
{
    const std::u16string arguments = decimal(manual_reset) + u" " + decimal(signalled);
    if (const auto error_code = m_log.add_fallible_if(tells_events, "CreateEventW", arguments)) {
        platform::set_last_error(*error_code);
        return platform::no_event;
    }
    const std::scoped_lock lock(m_mutex);
    m_events[m_nextEvent] = {manual_reset, signalled};
    return m_nextEvent++;
}

bool scripted_waits::change_event(std::string_view operation, platform::event_handle event, bool signalled) noexcept
{
    const std::scoped_lock lock(m_mutex);
    if (const auto error_code = m_log.add_fallible_if(tells_events, operation, decimal(event)))
        return fail_with(*error_code);
    const auto found = m_events.find(event);
    if (found == m_events.end())
        return fail_with(platform::error_invalid_handle);
    found->second.signalled = signalled;
    m_changed.notify_all();
    return true;
}

bool scripted_waits::set_event(platform::event_handle event) noexcept
{
    return change_event("SetEvent", event, true);
}

bool scripted_waits::reset_event(platform::event_handle event) noexcept
{
    return change_event("ResetEvent", event, false);
}

bool scripted_waits::close_event(platform::event_handle event) noexcept
{
    const std::scoped_lock lock(m_mutex);
    const auto error_code = m_log.add_fallible_if(tells_events, "CloseHandle", decimal(event));
    if (m_events.erase(event) == 0)
        return fail_with(platform::error_invalid_handle);
    return !error_code || fail_with(*error_code);
}

std::uint32_t scripted_waits::take_signalled(std::uint32_t count, const platform::event_handle* events)
{
    for (std::uint32_t i = 0; i < count; ++i) {
        event_state& event = m_events.at(events[i]);
        if (!event.signalled)
            continue;
        event.signalled = event.manual_reset;
        return i;
    }
    return count;
}

void scripted_waits::happen(due_call call, std::uint32_t count, const platform::event_handle* events)
{
    if (!call.on_thread) {
        call.what();
        return;
    }
    // The wait goes on with the first signal, as a real one does: what the thread does after it runs beside it.
    const auto ended = std::make_shared<bool>(false);
    std::unique_lock lock(m_mutex);
    m_threads.emplace_back([this, ended, what = std::move(call.what)] {
        what();
        const std::scoped_lock end_lock(m_mutex);
        *ended = true;
        m_changed.notify_all();
    });
    m_changed.wait_for(lock, longest_wait, [&] {
        return *ended || std::any_of(events, events + count,
                                     [&](platform::event_handle event) { return m_events.at(event).signalled; });
    });
}

std::uint32_t scripted_waits::wait(std::uint32_t count, const platform::event_handle* events, bool wait_all,
                                   std::uint32_t timeout_ms, std::uint32_t wake_mask) noexcept
{
    const std::u16string arguments =
        event_list(count, events) + (wait_all ? u"all " : u"") + decimal(timeout_ms) + u" " + hexadecimal(wake_mask);
    if (const auto error_code = m_log.add_fallible("MsgWaitForMultipleObjects", arguments)) {
        platform::set_last_error(*error_code);
        return platform::wait_failed;
    }
    for (;;) {
        {
            const std::scoped_lock lock(m_mutex);
            if (std::any_of(events, events + count, [&](auto event) { return !m_events.contains(event); })) {
                platform::set_last_error(platform::error_invalid_handle);
                return platform::wait_failed;
            }
            if (const std::uint32_t signalled = take_signalled(count, events); signalled != count)
                return platform::wait_object + signalled;
        }
        if (!m_arrivals.empty()) {
            const arrival arrived = std::move(m_arrivals.front());
            m_arrivals.pop_front();
            for (int i = 0; i < arrived.count; ++i)
                m_queue.push_back({m_nextMessage++, arrived.when_dispatched});
            return platform::wait_object + count;
        }
        if (m_due.empty())
            return platform::wait_timeout;
        due_call next = std::move(m_due.front());
        m_due.pop_front();
        happen(std::move(next), count, events);
    }
}

bool scripted_waits::peek_message(platform::thread_message* message, std::uintptr_t window, std::uint32_t first_number,
                                  std::uint32_t last_number, std::uint32_t flags) noexcept
{
    m_log.add("PeekMessageW", decimal(static_cast<std::int64_t>(window)) + u" " + decimal(first_number) + u" " +
                                  decimal(last_number) + u" " + decimal(flags));
    if (m_queue.empty())
        return false;
    *message = {};
    message->number = m_queue.front().number;
    if (flags & platform::remove_message) {
        m_taken[message->number] = std::move(m_queue.front().when_dispatched);
        m_queue.pop_front();
    }
    return true;
}

bool scripted_waits::translate_message(const platform::thread_message* message) noexcept
{
    m_log.add("TranslateMessage", decimal(message->number));
    return false;
}

std::intptr_t scripted_waits::dispatch_message(const platform::thread_message* message) noexcept
{
    m_log.add("DispatchMessageW", decimal(message->number));
    if (const auto taken = m_taken.extract(message->number); taken && taken.mapped())
        taken.mapped()();
    return 0;
}

} // namespace cw::test_support
