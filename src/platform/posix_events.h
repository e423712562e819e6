// Events as file descriptors, so that they can be waited for beside other things: what the waits of the
// platform and those of a window share.
#pragma once

#include "platform/thread_waits.h"

#include <cstdint>

namespace cw::platform {

/// Becomes readable when the event is signalled. It belongs to the event.
[[nodiscard]] int descriptor_of_event(event_handle event) noexcept;
/// Whether the event is signalled; one that is not reset by hand goes back.
[[nodiscard]] bool take_event(event_handle event) noexcept;

// The operations of `thread_waits`.
event_handle create_posix_event(bool manual_reset, bool signalled) noexcept;
bool set_posix_event(event_handle event) noexcept;
bool reset_posix_event(event_handle event) noexcept;
bool close_posix_event(event_handle event) noexcept;

} // namespace cw::platform
