#include "fileio/wininet_async_handle.h"

#include "platform/last_error.h"

#include <new>

namespace cw {

namespace {

void dispatch_messages(platform::thread_waits& waits)
{
    platform::thread_message message;
    while (waits.peek_message(&message, 0, 0, 0, platform::remove_message)) {
        waits.translate_message(&message);
        waits.dispatch_message(&message);
    }
}

} // namespace

wininet_async_handle::wininet_async_handle()
    : completed_event(platform::current().waits->create_event(false, false)),
      closing_event(platform::current().waits->create_event(false, false))
{
}

wininet_async_handle::~wininet_async_handle()
{
    platform::thread_waits& waits = *platform::current().waits;
    waits.close_event(completed_event);
    waits.close_event(closing_event);
}

std::uint32_t wininet_async_handle::add_ref() noexcept
{
    return reference_count.fetch_add(1) + 1;
}

std::uint32_t wininet_async_handle::release()
{
    const std::uint32_t count = reference_count.fetch_sub(1) - 1;
    if (count == 1)
        close_handle();
    else if (count == 0)
        delete this;
    return count;
}

bool wininet_async_handle::wait(std::uint32_t timeout, platform::event_handle event, bool closing)
{
    if (const std::uint32_t told = platform::get_last_error(); told != platform::error_io_pending)
        return told == platform::error_success;

    platform::thread_waits& waits = *platform::current().waits;
    std::uint32_t result = platform::wait_object;
    while ((result = waits.wait(1, &event, false, timeout, platform::wake_for_all_input)) == platform::wait_object + 1)
        dispatch_messages(waits);

    if (result != platform::wait_object) {
        // A wait that cannot be had must not leave a transfer that writes to memory which is given up.
        const std::uint32_t why =
            result == platform::wait_timeout ? platform::error_internet_timeout : platform::get_last_error();
        if (!closing)
            close_handle();
        last_error = why;
    }
    platform::set_last_error(last_error);
    return last_error == platform::error_success;
}

std::uint32_t wininet_async_handle::on_request_complete(std::uint32_t)
{
    return 0;
}

void wininet_async_handle::close_handle()
{
    if (!handle)
        return;
    platform::current().waits->reset_event(closing_event);
    if (!platform::current().network->close(handle))
        wait(timeout_ms, closing_event, true);
    handle = nullptr;
    if (reference_count == 1)
        release();
    else
        reference_count.fetch_sub(1);
}

void wininet_async_handle::on_status(platform::transfer_handle, void* context, std::uint32_t status,
                                     const void* information, std::uint32_t)
{
    auto& changed = *static_cast<wininet_async_handle*>(context);
    const auto* const told = static_cast<const platform::async_result*>(information);
    switch (status) {
    case platform::status_handle_created:
        changed.handle = reinterpret_cast<platform::transfer_handle>(told->result);
        changed.add_ref();
        break;
    case platform::status_handle_closing:
        platform::current().waits->set_event(changed.closing_event);
        break;
    case platform::status_request_complete:
        changed.take_result(*told);
        platform::current().waits->set_event(changed.completed_event);
        break;
    default:
        break;
    }
}

void wininet_async_handle::take_result(const platform::async_result& ended)
{
    if (ended.result == 1) {
        on_request_complete(ended.error);
        last_error = platform::error_success;
        return;
    }
    last_error = ended.error;
    if (ended.result != 0 || ended.error != platform::error_internet_extended_error)
        return;
    if (!response_text)
        response_text.reset(new (std::nothrow) char16_t[response_room]{});
    if (!response_text)
        return;
    response_size = response_room;
    platform::current().network->last_response(&response_error, response_text.get(), &response_size);
}

} // namespace cw
