// One handle of an asynchronous session, and the waiting for what is pending on it.
#pragma once

#include "platform/services.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace cw {

class wininet_async_handle {
public:
    static constexpr std::uint32_t response_room = 0x400; // code units

    wininet_async_handle();
    wininet_async_handle(const wininet_async_handle&) = delete;
    wininet_async_handle& operator=(const wininet_async_handle&) = delete;

    // In the order of the table of operations.

    /// The new count.
    virtual std::uint32_t add_ref() noexcept;
    /// The new count. At 1, when only the open handle counts still, that is closed; at 0 the object is gone.
    virtual std::uint32_t release();
    /// To be called straight after a call whose success, or failure, the last error tells: true where that is
    /// 0, false where it is not "pending". Else waits for `event` while the thread's messages are dispatched;
    /// the time starts anew with each of them. `closing` leaves the handle open where the time is over. False
    /// sets the last error.
    virtual bool wait(std::uint32_t timeout, platform::event_handle event, bool closing);
    virtual ~wininet_async_handle();
    /// Called by the status callback, on its thread, when a call ended well.
    virtual std::uint32_t on_request_complete(std::uint32_t error);

    /// Closes the handle where there is one, and gives up its count; the object may be gone then.
    void close_handle();
    /// What sessions are given; `context` is the object that the handle belongs to.
    static void on_status(platform::transfer_handle changed, void* context, std::uint32_t status,
                          const void* information, std::uint32_t information_size);

    platform::transfer_handle handle = nullptr;
    std::uint32_t last_error = 0; // of what was pending, and of the status check
    platform::event_handle completed_event;
    platform::event_handle closing_event;
    std::unique_ptr<char16_t[]> response_text; // the server's own words on an extended error
    std::uint32_t response_size = 0;           // in code units
    std::uint32_t response_error = 0;
    std::atomic<std::uint32_t> reference_count = 1; // the owner, and the open handle
    std::uint32_t* read_count_target = nullptr;
    std::uint32_t timeout_ms = 30000;

private:
    void take_result(const platform::async_result& ended);
};

} // namespace cw
