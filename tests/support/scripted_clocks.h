// Clocks that stand still unless a test moves them.
#pragma once

#include "platform/clocks.h"

#include "tests/support/call_log.h"

#include <cstdint>
#include <deque>

namespace cw::test_support {

/// Lines, with `tells` alone: `QueryPerformanceCounter`, `QueryPerformanceFrequency`, `GetTickCount`; and always
/// `SystemTimeToFileTime 2024-02-29 12:30:00.000`. The counter and its frequency can be told to fail.
struct scripted_clocks final : platform::clocks {
    explicit scripted_clocks(call_log& log) noexcept : m_log(log) {}
    bool tells = false;
    /// Counts a second.
    std::int64_t frequency = 1'000'000;
    /// Answered in this order; after them each asking finds the counter `step` further.
    std::deque<std::int64_t> counts;
    std::int64_t count = 0;
    std::int64_t step = 0;
    /// The same in milliseconds.
    std::deque<std::uint32_t> ticks;
    std::uint32_t tick = 0;
    std::uint32_t tick_step = 0;

    bool performance_counter(std::int64_t* target) noexcept override;
    bool performance_frequency(std::int64_t* counts_per_second) noexcept override;
    std::uint32_t tick_count() noexcept override;
    bool to_file_time(const platform::system_time* time, std::uint64_t* file_time) noexcept override;

private:
    call_log& m_log;
};

} // namespace cw::test_support
