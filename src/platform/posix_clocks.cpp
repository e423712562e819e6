#include "platform/posix_services.h"

#include "platform/last_error.h"

#include <chrono>

namespace cw::platform {

namespace {

constexpr std::int64_t nanoseconds_a_second = 1'000'000'000;
constexpr std::uint64_t file_times_a_millisecond = 10'000;

std::chrono::nanoseconds since_start()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

class posix_clocks final : public clocks {
public:
    bool performance_counter(std::int64_t* count) noexcept override
    {
        *count = since_start().count();
        return true;
    }

    bool performance_frequency(std::int64_t* counts_per_second) noexcept override
    {
        *counts_per_second = nanoseconds_a_second;
        return true;
    }

    std::uint32_t tick_count() noexcept override
    {
        return static_cast<std::uint32_t>(std::chrono::floor<std::chrono::milliseconds>(since_start()).count());
    }

    bool to_file_time(const system_time* time, std::uint64_t* file_time) noexcept override
    {
        using namespace std::chrono;
        constexpr sys_days start = year(1601) / January / 1;
        constexpr int last_year = 30827; // of a file time that is no negative number
        const year_month_day date{year(time->year), month(time->month), day(time->day)};
        // The parts of a date are narrower than the fields: 257 would become 1.
        if (time->year < 1601 || time->year > last_year || time->month > 12 || time->day > 31 || !date.ok() ||
            time->hour > 23 || time->minute > 59 || time->second > 59 || time->milliseconds > 999) {
            set_last_error(error_invalid_parameter);
            return false;
        }
        const milliseconds passed = (sys_days(date) - start) + hours(time->hour) + minutes(time->minute) +
                                    seconds(time->second) + milliseconds(time->milliseconds);
        *file_time = static_cast<std::uint64_t>(passed.count()) * file_times_a_millisecond;
        return true;
    }
};

} // namespace

std::unique_ptr<clocks> make_posix_clocks()
{
    return std::make_unique<posix_clocks>();
}

} // namespace cw::platform
