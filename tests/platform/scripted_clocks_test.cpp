#include "platform/last_error.h"

#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using cw::test_support::scripted_services;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

class scripted_clocks : public testing::Test {
protected:
    scripted_services script;
    clocks& time = *current().time;

    std::int64_t counter()
    {
        std::int64_t count = -1;
        EXPECT_TRUE(time.performance_counter(&count));
        return count;
    }
};

TEST_F(scripted_clocks, stand_still_unless_they_are_told)
{
    EXPECT_EQ(counter(), 0);
    EXPECT_EQ(time.tick_count(), 0u);
    script.time.counts = {70, 50};
    script.time.step = 3;
    EXPECT_EQ(counter(), 70);
    EXPECT_EQ(counter(), 50);
    EXPECT_EQ(counter(), 53);
    EXPECT_EQ(counter(), 56);
    script.time.ticks = {0xFFFFFFFF};
    script.time.tick_step = 2;
    EXPECT_EQ(time.tick_count(), 0xFFFFFFFFu);
    EXPECT_EQ(time.tick_count(), 1u);
    EXPECT_THAT(script.log.lines, IsEmpty());
}

TEST_F(scripted_clocks, have_a_frequency)
{
    std::int64_t frequency = 0;
    EXPECT_TRUE(time.performance_frequency(&frequency));
    EXPECT_EQ(frequency, 1'000'000);
    script.time.frequency = 42;
    EXPECT_TRUE(time.performance_frequency(&frequency));
    EXPECT_EQ(frequency, 42);
}

TEST_F(scripted_clocks, fail_and_tell_when_told)
{
    script.time.tells = true;
    script.log.fail("QueryPerformanceCounter", 5);
    script.log.fail("QueryPerformanceFrequency", 6);
    std::int64_t value = 7;
    EXPECT_FALSE(time.performance_counter(&value));
    EXPECT_EQ(get_last_error(), 5u);
    EXPECT_FALSE(time.performance_frequency(&value));
    EXPECT_EQ(get_last_error(), 6u);
    EXPECT_EQ(value, 7);
    time.tick_count();
    EXPECT_THAT(script.log.lines, ElementsAre("QueryPerformanceCounter", "QueryPerformanceFrequency", "GetTickCount"));
}

TEST_F(scripted_clocks, know_dates)
{
    std::uint64_t file_time = 7;
    const system_time first{1601, 1, 1, 1, 0, 0, 0, 0};
    EXPECT_TRUE(time.to_file_time(&first, &file_time));
    EXPECT_EQ(file_time, 0u);
    const system_time epoch{1970, 1, 4, 1, 0, 0, 0, 1};
    EXPECT_TRUE(time.to_file_time(&epoch, &file_time));
    EXPECT_EQ(file_time, 116'444'736'000'010'000u);
    const system_time too_early{1600, 12, 0, 31, 0, 0, 0, 0};
    EXPECT_FALSE(time.to_file_time(&too_early, &file_time));
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    const system_time no_date{2023, 2, 0, 29, 12, 30, 1, 0};
    EXPECT_FALSE(time.to_file_time(&no_date, &file_time));
    EXPECT_EQ(script.log.lines.back(), "SystemTimeToFileTime 2023-02-29 12:30:01.000");
    script.log.fail("SystemTimeToFileTime 1601-01-01", 0); // a part of an argument is no match
    EXPECT_TRUE(time.to_file_time(&epoch, &file_time));
    script.log.fail("SystemTimeToFileTime", 9);
    EXPECT_FALSE(time.to_file_time(&epoch, &file_time));
    EXPECT_EQ(get_last_error(), 9u);
    EXPECT_EQ(file_time, 116'444'736'000'010'000u);
}

} // namespace
