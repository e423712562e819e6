// Time as the logic asks for it: how much has passed, and dates in the form of file times.
#pragma once

#include <cstdint>

namespace cw::platform {

/// Date and time of day, UTC.
struct system_time {
    std::uint16_t year = 0;
    std::uint16_t month = 0;       // from 1
    std::uint16_t day_of_week = 0; // from 0, Sunday
    std::uint16_t day = 0;
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t milliseconds = 0;
};

struct clocks {
    virtual ~clocks() = default;
    /// A counter that never goes back; false where there is none.
    virtual bool performance_counter(std::int64_t* count) noexcept = 0;
    /// Its counts a second.
    virtual bool performance_frequency(std::int64_t* counts_per_second) noexcept = 0;
    /// Milliseconds from some start; back to 0 after 49.7 days.
    virtual std::uint32_t tick_count() noexcept = 0;
    /// In 100 ns since 1601-01-01 UTC. False with 87 for what is no date from then on.
    virtual bool to_file_time(const system_time* time, std::uint64_t* file_time) noexcept = 0;
};

} // namespace cw::platform
