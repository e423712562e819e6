#include "platform/posix_events.h"

#include "platform/last_error.h"

#include <atomic>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace cw::platform {

namespace {

constexpr event_handle manual_reset_bit = 1;

/// What was written before an event was set is to be seen by who finds it set. Reading the counter does that;
/// looking whether it could be read does not.
std::atomic<std::uint32_t> times_set = 0;

event_handle handle_of(int descriptor, bool manual_reset) noexcept
{
    // No descriptor makes the handle that means none.
    return ((static_cast<event_handle>(descriptor) + 1) << 1) | (manual_reset ? manual_reset_bit : 0);
}

bool is_readable(int descriptor) noexcept
{
    pollfd waited{descriptor, POLLIN, 0};
    return poll(&waited, 1, 0) == 1 && (waited.revents & POLLIN) != 0;
}

bool failed_with_errno() noexcept
{
    set_last_error_from_errno(errno);
    return false;
}

enum class drained { was_set, was_not_set, failed };

/// However often the event was set, one read takes all of it back. Plain reads and writes, as the wrappers of
/// the C library hide from the thread sanitizer what one thread hands to another.
drained drain(int descriptor) noexcept
{
    std::uint64_t count = 0;
    if (read(descriptor, &count, sizeof count) == sizeof count)
        return drained::was_set;
    return errno == EAGAIN ? drained::was_not_set : drained::failed;
}

} // namespace

int descriptor_of_event(event_handle event) noexcept
{
    return static_cast<int>((event >> 1) - 1);
}

bool take_event(event_handle event) noexcept
{
    const int descriptor = descriptor_of_event(event);
    if ((event & manual_reset_bit) == 0)
        return drain(descriptor) == drained::was_set;
    if (!is_readable(descriptor))
        return false;
    (void)times_set.load(std::memory_order_acquire);
    return true;
}

event_handle create_posix_event(bool manual_reset, bool signalled) noexcept
{
    const int descriptor = eventfd(signalled ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (descriptor < 0) {
        set_last_error_from_errno(errno);
        return no_event;
    }
    return handle_of(descriptor, manual_reset);
}

bool set_posix_event(event_handle event) noexcept
{
    times_set.fetch_add(1, std::memory_order_release);
    const std::uint64_t once = 1;
    // A counter that is full is signalled as well.
    return write(descriptor_of_event(event), &once, sizeof once) == sizeof once || errno == EAGAIN ||
           failed_with_errno();
}

bool reset_posix_event(event_handle event) noexcept
{
    return drain(descriptor_of_event(event)) != drained::failed || failed_with_errno();
}

bool close_posix_event(event_handle event) noexcept
{
    return close(descriptor_of_event(event)) == 0 || failed_with_errno();
}

} // namespace cw::platform
