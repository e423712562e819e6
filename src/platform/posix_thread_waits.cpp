#include "platform/posix_services.h"

#include "platform/last_error.h"
#include "platform/posix_events.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <poll.h>

namespace cw::platform {

namespace {

using steady = std::chrono::steady_clock;

constexpr std::size_t most_events = 64;

/// Milliseconds left for `poll`, rounded up so that it does not spin before the end.
int left_until(steady::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT32_MAX));
}

/// A process without a window has no messages.
class posix_thread_waits final : public thread_waits {
public:
    event_handle create_event(bool manual_reset, bool signalled) noexcept override
    {
        return create_posix_event(manual_reset, signalled);
    }
    bool set_event(event_handle event) noexcept override { return set_posix_event(event); }
    bool reset_event(event_handle event) noexcept override { return reset_posix_event(event); }
    bool close_event(event_handle event) noexcept override { return close_posix_event(event); }

    std::uint32_t wait(std::uint32_t count, const event_handle* events, bool wait_all, std::uint32_t timeout_ms,
                       std::uint32_t) noexcept override
    {
        // Waiting for several at once as a whole is something that nobody asks for.
        if (count > most_events || (wait_all && count > 1)) {
            set_last_error(error_invalid_parameter);
            return wait_failed;
        }
        std::array<pollfd, most_events> waited{};
        for (std::uint32_t i = 0; i < count; ++i) {
            waited[i] = {descriptor_of_event(events[i]), POLLIN, 0};
            // One below 0 would be passed over, and waited for until the end of time.
            if (waited[i].fd < 0) {
                set_last_error(error_invalid_handle);
                return wait_failed;
            }
        }
        const steady::time_point end = steady::now() + std::chrono::milliseconds(timeout_ms);
        for (;;) {
            const int left = timeout_ms == wait_for_ever ? -1 : left_until(end);
            const int ready = poll(waited.data(), count, left);
            if (ready < 0 && errno != EINTR) {
                set_last_error_from_errno(errno);
                return wait_failed;
            }
            for (std::uint32_t i = 0; ready > 0 && i < count; ++i) {
                if ((waited[i].revents & (POLLNVAL | POLLERR)) != 0) {
                    set_last_error(error_invalid_handle);
                    return wait_failed;
                }
                // Another thread may have been quicker.
                if (waited[i].revents != 0 && take_event(events[i]))
                    return wait_object + i;
            }
            if (ready == 0 && left == 0)
                return wait_timeout;
        }
    }

    bool peek_message(thread_message*, std::uintptr_t, std::uint32_t, std::uint32_t, std::uint32_t) noexcept override
    {
        return false;
    }
    bool translate_message(const thread_message*) noexcept override { return false; }
    std::intptr_t dispatch_message(const thread_message*) noexcept override { return 0; }
};

} // namespace

std::unique_ptr<thread_waits> make_posix_thread_waits()
{
    return std::make_unique<posix_thread_waits>();
}

} // namespace cw::platform
