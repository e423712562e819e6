// The measured rate of a file's transfers, and the chunks that follow it.
#include "fileio/inet_file.h"

#include <algorithm>

namespace cw {

namespace {

constexpr std::uint32_t first_chunk_in_bytes = 1500;
constexpr std::uint32_t shortest_measured_ms = 10001;
constexpr std::uint32_t chunk_in_seconds = 15; // half of the time that a wait has
constexpr std::uint32_t roll_over_ms = 30000;
constexpr std::int64_t least_counts = 5; // for a clock too coarse for a chunk
constexpr std::uint32_t highest = 0xFFFFFFFF;
// A rate below one byte a millisecond shows in the finer scales.
constexpr std::uint32_t rate_scales[] = {10, 100, 1000};

std::uint32_t at_most_highest(std::uint64_t value)
{
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(value, highest));
}

void add_micro(std::uint32_t micro, std::uint32_t& micro_sum, std::uint32_t& ms_sum)
{
    micro_sum += micro;
    if (micro_sum > 1000) {
        ms_sum += micro_sum / 1000;
        micro_sum %= 1000;
    }
}

} // namespace

std::uint32_t inet_file::next_chunk()
{
    if (window_ms < shortest_measured_ms || window_bytes == 0)
        return first_chunk_in_bytes;
    const std::uint64_t chunk = std::uint64_t{chunk_in_seconds} * measured_rate();
    return std::max(at_most_highest(chunk), 1U);
}

std::uint32_t inet_file::measured_rate()
{
    const std::uint32_t tick = platform::current().time->tick_count();
    if (tick - window_started > roll_over_ms) {
        window_bytes = next_bytes;
        window_micro = next_micro;
        window_ms = next_ms;
        next_bytes = next_micro = next_ms = 0;
        window_started = tick;
    }
    if (window_ms == 0)
        return window_bytes;
    std::uint64_t rate = 0;
    for (const std::uint32_t scale : rate_scales) {
        if (window_bytes > highest / scale) {
            window_bytes /= 2;
            window_ms = std::max(window_ms / 2, 1U);
        }
        rate = std::uint64_t{window_bytes} * scale / window_ms * 1000 / scale;
        if (rate != 0)
            break;
    }
    return at_most_highest(rate);
}

std::int64_t inet_file::now() const
{
    platform::clocks& time = *platform::current().time;
    std::int64_t count = 0;
    if (has_performance_counter)
        time.performance_counter(&count);
    else
        count = time.tick_count();
    return count;
}

void inet_file::count_time(std::int64_t started, std::int64_t ended)
{
    // Ticks begin anew after 49 days.
    std::int64_t counts = has_performance_counter ? ended - started : static_cast<std::uint32_t>(ended - started);
    if (counts <= 0)
        counts = least_counts;
    std::int64_t scaled = counts * 1000;
    if (scaled >= timer_frequency) {
        const auto ms = static_cast<std::uint32_t>(scaled / timer_frequency);
        window_ms += ms;
        next_ms += ms;
        counts = scaled % timer_frequency / 1000;
    }
    const auto micro = static_cast<std::uint32_t>(counts * 1'000'000 / timer_frequency);
    add_micro(micro, window_micro, window_ms);
    add_micro(micro, next_micro, next_ms);
}

} // namespace cw
