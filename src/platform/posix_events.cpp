#include "platform/posix_events.h"

#include "platform/last_error.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace cw::platform {

namespace {

constexpr event_handle manual_reset_bit = 1;

event_handle handle_of(int descriptor, bool manual_reset) noexcept
{
    // No descriptor makes the handle that means none.
    return ((static_cast<event_handle>(descriptor) + 1) << 1) | (manual_reset ? manual_reset_bit : 0);
}

bool is_readable(int descriptor) noexcept
{
    pollfd waited{descriptor, POLLIN, 0};
    return poll(&waited, 1, 0) == 1 && (waited.revents & POLLIN);
}

bool failed_with_errno() noexcept
{
    set_last_error_from_errno(errno);
    return false;
}

/// What a descriptor's counter held; 0 where nobody had signalled, -1 on failure.
std::int64_t drained(int descriptor) noexcept
{
    eventfd_t count = 0;
    if (eventfd_read(descriptor, &count) == 0)
        return 1;
    return errno == EAGAIN ? 0 : -1;
}

} // namespace

int descriptor_of_event(event_handle event) noexcept
{
    return static_cast<int>((event >> 1) - 1);
}

bool take_event(event_handle event) noexcept
{
    const int descriptor = descriptor_of_event(event);
    return event & manual_reset_bit ? is_readable(descriptor) : drained(descriptor) > 0;
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
    // A counter that is full is signalled as well.
    return eventfd_write(descriptor_of_event(event), 1) == 0 || errno == EAGAIN || failed_with_errno();
}

bool reset_posix_event(event_handle event) noexcept
{
    return drained(descriptor_of_event(event)) >= 0 || failed_with_errno();
}

bool close_posix_event(event_handle event) noexcept
{
    return close(descriptor_of_event(event)) == 0 || failed_with_errno();
}

} // namespace cw::platform
