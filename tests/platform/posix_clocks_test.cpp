#include "platform/posix_services.h"

#include "platform/last_error.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using namespace cw::platform;

constexpr std::uint64_t unchanged = 12345;

struct date_row {
    system_time time;
    std::uint64_t file_time;
};

std::uint64_t file_time_of(const system_time& time)
{
    std::uint64_t file_time = unchanged;
    set_last_error(error_success);
    const bool is_date = make_posix_clocks()->to_file_time(&time, &file_time);
    EXPECT_EQ(is_date, get_last_error() == error_success);
    EXPECT_EQ(is_date, file_time != unchanged);
    return file_time;
}

TEST(posix_clocks, turn_dates_into_file_times)
{
    constexpr std::uint64_t day = 864'000'000'000;
    constexpr std::uint64_t of_1970 = 116'444'736'000'000'000;
    const date_row rows[] = {
        {{1601, 1, 0, 1}, 0},
        {{1601, 1, 0, 1, 0, 0, 0, 1}, 10'000},
        {{1601, 1, 0, 2}, day},
        {{1970, 1, 0, 1}, of_1970},
        {{1970, 1, 0, 1, 23, 59, 59, 999}, of_1970 + day - 10'000},
        {{2000, 2, 0, 29}, of_1970 + 11'016 * day},
        {{2000, 3, 0, 1}, of_1970 + 11'017 * day},
        {{1900, 3, 0, 1}, of_1970 - 25'508 * day},
        {{2024, 2, 0, 29, 12, 30, 15, 250}, of_1970 + 17'092'098'152'500'000},
        {{2400, 2, 0, 29}, of_1970 + 157'113 * day},
        {{30827, 12, 0, 31, 23, 59, 59, 999}, 9'223'149'887'999'990'000},
    };
    for (const date_row& row : rows)
        EXPECT_EQ(file_time_of(row.time), row.file_time) << row.time.year << '-' << row.time.month;
}

TEST(posix_clocks, the_day_of_the_week_does_not_matter)
{
    EXPECT_EQ(file_time_of({1970, 1, 4, 1}), file_time_of({1970, 1, 77, 1}));
}

TEST(posix_clocks, refuse_what_is_no_date)
{
    const system_time none[] = {
        {},
        {1600, 12, 0, 31, 23, 59, 59, 999},
        {30828, 1, 0, 1},
        {0xFFFF, 1, 0, 1},
        {2001, 0, 0, 1},
        {2001, 13, 0, 1},
        {2001, 257, 0, 1}, // would be January in eight bits
        {2001, 1, 0, 0},
        {2001, 1, 0, 32},
        {2001, 1, 0, 257},
        {2001, 4, 0, 31},
        {2001, 2, 0, 29},
        {1900, 2, 0, 29},
        {2000, 2, 0, 30},
        {2001, 1, 0, 1, 24},
        {2001, 1, 0, 1, 0, 60},
        {2001, 1, 0, 1, 0, 0, 60},
        {2001, 1, 0, 1, 0, 0, 0, 1000},
    };
    for (const system_time& time : none) {
        EXPECT_EQ(file_time_of(time), unchanged) << time.year << '-' << time.month << '-' << time.day;
        EXPECT_EQ(get_last_error(), error_invalid_parameter);
    }
}

TEST(posix_clocks, the_counter_runs_and_does_not_go_back)
{
    const auto time = make_posix_clocks();
    std::int64_t a_second = 0;
    ASSERT_TRUE(time->performance_frequency(&a_second));
    EXPECT_GE(a_second, 1000);
    std::int64_t first = 0;
    ASSERT_TRUE(time->performance_counter(&first));
    std::int64_t before = first;
    while (before == first) {
        std::int64_t now = 0;
        ASSERT_TRUE(time->performance_counter(&now));
        ASSERT_GE(now, before);
        before = now;
    }
    // It is one counter for all threads.
    std::int64_t elsewhere = 0;
    std::thread([&] { make_posix_clocks()->performance_counter(&elsewhere); }).join();
    EXPECT_GE(elsewhere, before);
}

TEST(posix_clocks, ticks_are_the_milliseconds_of_the_counter)
{
    const auto time = make_posix_clocks();
    std::int64_t a_second = 0;
    ASSERT_TRUE(time->performance_frequency(&a_second));
    const auto count = [&] {
        std::int64_t counted = 0;
        EXPECT_TRUE(time->performance_counter(&counted));
        return counted;
    };
    const std::int64_t before = count();
    const std::uint32_t start = time->tick_count();
    const std::int64_t inner_before = count();
    while (count() - inner_before < a_second / 50) {
    }
    const std::int64_t inner_after = count();
    const auto ticks = std::int64_t{time->tick_count() - start};
    const std::int64_t after = count();
    // Either end of what was ticked may fall short of a whole millisecond.
    EXPECT_GE(ticks + 1, (inner_after - inner_before) * 1000 / a_second);
    EXPECT_LE(ticks - 1, (after - before) * 1000 / a_second);
}

} // namespace
