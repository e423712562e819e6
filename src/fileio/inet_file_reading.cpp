// The reading of a file behind an address, with its retries.
#include "fileio/inet_file.h"

#include "platform/last_error.h"

#include <algorithm>

namespace cw {

namespace {

constexpr std::uint32_t last_position = 0xFFFFFFFF;

} // namespace

bool inet_file::read(void* target, std::uint32_t size_in_bytes, std::uint32_t* read_in_bytes)
{
    auto* to = static_cast<char*>(target);
    std::uint32_t left = size_in_bytes;
    *read_in_bytes = 0;
    for (retry_count = 0; retry_count <= max_retries; ++retry_count) {
        if (!start_request(retry_count > 0)) {
            if (handle_error() != platform::error_internet_force_retry)
                break;
            continue;
        }
        std::uint32_t came = 0;
        const bool worked = read_loop(to, left, &came);
        *read_in_bytes += came;
        if (worked)
            return true;
        if (handle_error() != platform::error_internet_force_retry || retry_count >= max_retries)
            break;
        // All that came so far is taken off, also what was taken off before: see the header. Beyond the end
        // of the buffer lies memory of others.
        if (*read_in_bytes > left)
            break;
        left -= *read_in_bytes;
        to += *read_in_bytes;
        close_handle();
        start_offset = position;
    }
    close_request();
    return false;
}

bool inet_file::read_loop(char* target, std::uint32_t size_in_bytes, std::uint32_t* read_in_bytes)
{
    platform::transfers& network = *platform::current().network;
    platform::thread_waits& waits = *platform::current().waits;
    std::uint32_t& total = *read_in_bytes;
    while (total < size_in_bytes) {
        // Where the position ends nothing could be resumed from the place reached.
        const std::uint32_t most = std::min(size_in_bytes - total, last_position - position);
        if (most == 0) {
            platform::set_last_error(platform::error_arithmetic_overflow);
            return false;
        }
        const std::uint32_t chunk = std::min(next_chunk(), most);
        std::uint32_t came = 0;
        const std::int64_t started = now();
        waits.reset_event(completed_event);
        read_count_target = &came;
        const bool worked =
            network.read(handle, target + total, chunk, read_count_target) || wait(timeout_ms, completed_event, false);
        read_count_target = nullptr;
        if (!worked)
            return false;
        const std::int64_t ended = now();
        if (came == 0)
            return true;
        total += came;
        position += came;
        window_bytes += came;
        next_bytes += came;
        count_time(started, ended);
    }
    return true;
}

} // namespace cw
