#include "tests/support/scripted_clocks.h"

#include "platform/last_error.h"
#include "platform/utf8.h"

#include <chrono>
#include <cstdio>

namespace cw::test_support {

namespace {

/// The next of `list`; after its end `value`, which then goes on by `step`.
template <typename T>
T next_of(std::deque<T>& list, T& value, T step)
{
    if (list.empty()) {
        value += step;
        return value;
    }
    value = list.front();
    list.pop_front();
    return value;
}

} // namespace

bool scripted_clocks::performance_counter(std::int64_t* target) noexcept
{
    if (const auto error_code = m_log.add_fallible_if(tells, "QueryPerformanceCounter"))
        return fail_with(*error_code);
    *target = next_of(counts, count, step);
    return true;
}

bool scripted_clocks::performance_frequency(std::int64_t* counts_per_second) noexcept
{
    if (const auto error_code = m_log.add_fallible_if(tells, "QueryPerformanceFrequency"))
        return fail_with(*error_code);
    *counts_per_second = frequency;
    return true;
}

std::uint32_t scripted_clocks::tick_count() noexcept
{
    if (tells)
        m_log.add("GetTickCount");
    return next_of(ticks, tick, tick_step);
}

bool scripted_clocks::to_file_time(const platform::system_time* time, std::uint64_t* file_time) noexcept
{
    char line[48];
    std::snprintf(line, sizeof line, "%04u-%02u-%02u %02u:%02u:%02u.%03u", unsigned{time->year}, unsigned{time->month},
                  unsigned{time->day}, unsigned{time->hour}, unsigned{time->minute}, unsigned{time->second},
                  unsigned{time->milliseconds});
    if (const auto error_code = m_log.add_fallible("SystemTimeToFileTime", platform::from_utf8(line)))
        return fail_with(*error_code);
    using namespace std::chrono;
    const year_month_day date{year(time->year), month(time->month), day(time->day)};
    const sys_days start{year(1601) / 1 / 1};
    if (!date.ok() || sys_days(date) < start)
        return fail_with(platform::error_invalid_parameter);
    const milliseconds passed = sys_days(date) - start + hours(time->hour) + minutes(time->minute) +
                                seconds(time->second) + milliseconds(time->milliseconds);
    *file_time = static_cast<std::uint64_t>(passed.count()) * 10000;
    return true;
}

} // namespace cw::test_support
