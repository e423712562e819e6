#include "tests/fileio/reading_files.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using cw::string;
using testing::ElementsAre;
using namespace cw::platform;

using reading = cw::test_support::reading_test;

// --- the size of a chunk ---

TEST_F(reading, chunks_are_small_until_the_rate_is_known)
{
    struct row {
        std::uint32_t window_bytes;
        std::uint32_t window_ms;
        const char* chunk;
    };
    for (const row& expected :
         {row{40'000, 10'000, "InternetReadFile 1500"}, row{0, 10'001, "InternetReadFile 1500"},
          row{0, 0, "InternetReadFile 1500"}, row{40'000, 10'001, "InternetReadFile 9000"},
          row{4000, 20'000, "InternetReadFile 3000"}, row{0xF0000000, 20'000, "InternetReadFile 9000"},
          // Less than a byte in a thousand seconds is still read on.
          row{1, 0xF0000000, "InternetReadFile 1"}}) {
        open(10'000);
        file.window_bytes = expected.window_bytes;
        file.window_ms = expected.window_ms;
        EXPECT_TRUE(read(9000));
        EXPECT_EQ(chunks().at(0), expected.chunk);
        file.close_handle();
        file.position = 0;
        script.log.lines.clear();
    }
}

TEST_F(reading, chunks_follow_the_rate)
{
    open(100'000);
    file.window_bytes = 40'000;
    file.window_ms = 20'000;
    EXPECT_TRUE(read(50'000));
    EXPECT_THAT(chunks(), ElementsAre("InternetReadFile 30000", "InternetReadFile 20000"));
    EXPECT_EQ(file.window_bytes, 90'000u);
}

// --- time ---

class timing : public reading {
protected:
    /// Has one read take from the first to the second count.
    void read_from_to(std::int64_t started, std::int64_t ended)
    {
        script.time.counts = {started, ended};
        script.time.ticks = {static_cast<std::uint32_t>(started), static_cast<std::uint32_t>(ended)};
        EXPECT_TRUE(read(1));
        EXPECT_EQ(came, 1u);
    }
};

TEST_F(timing, counts_whole_milliseconds_and_the_rest)
{
    struct row {
        std::int64_t frequency;
        std::int64_t elapsed;
        std::uint32_t ms;
        std::uint32_t micro;
    };
    for (const row& expected : {row{1'000'000, 2500, 2, 500}, row{1'000'000, 999, 0, 999}, row{1'000'000, 1000, 1, 0},
                                row{1'000'000, 0, 0, 5}, row{1'000'000, 1, 0, 1}, row{1'000'000, 60'000'001, 60'000, 1},
                                row{3'579'545, 4000, 1, 117}, row{3'579'545, 3579, 0, 999}, row{3'579'545, 0, 0, 1},
                                row{1000, 7, 7, 0}, row{1000, 0, 5, 0}, row{10'000'000'000, 20'000'000'000, 2000, 0}}) {
        SCOPED_TRACE(std::to_string(expected.frequency) + " " + std::to_string(expected.elapsed));
        file.window_ms = file.window_micro = file.next_ms = file.next_micro = 0;
        file.timer_frequency = expected.frequency;
        read_from_to(1'000'000, 1'000'000 + expected.elapsed);
        EXPECT_EQ(file.window_ms, expected.ms);
        EXPECT_EQ(file.window_micro, expected.micro);
        EXPECT_EQ(file.next_ms, expected.ms);
        EXPECT_EQ(file.next_micro, expected.micro);
    }
}

TEST_F(timing, carries_what_exceeds_a_millisecond)
{
    file.window_micro = 500;
    file.window_ms = 10;
    file.next_micro = 999;
    file.next_ms = 20;
    read_from_to(0, 500);
    EXPECT_EQ(file.window_micro, 1000u); // not above a thousand
    EXPECT_EQ(file.window_ms, 10u);
    EXPECT_EQ(file.next_micro, 499u);
    EXPECT_EQ(file.next_ms, 21u);
    read_from_to(0, 1);
    EXPECT_EQ(file.window_micro, 1u);
    EXPECT_EQ(file.window_ms, 11u);
    EXPECT_EQ(file.next_micro, 500u);
    file.window_micro = 3999;
    read_from_to(0, 1);
    EXPECT_EQ(file.window_micro, 0u);
    EXPECT_EQ(file.window_ms, 15u);
}

TEST_F(timing, counts_no_time_for_the_end_of_the_file)
{
    open(0);
    script.time.step = 5000;
    EXPECT_TRUE(read(10));
    EXPECT_EQ(file.window_ms, 0u);
    EXPECT_EQ(file.window_micro, 0u);
}

TEST_F(timing, asks_the_counter_around_each_read)
{
    script.time.tells = true;
    EXPECT_TRUE(read(1501));
    const std::string counter = "QueryPerformanceCounter";
    EXPECT_THAT(script.log.of({"QueryPerformance", "GetTickCount", "InternetReadFile"}),
                ElementsAre(counter, "InternetReadFile 1500", counter, counter, "InternetReadFile 1", counter));
}

TEST_F(timing, asks_for_ticks_where_there_is_no_counter)
{
    file.has_performance_counter = false;
    file.timer_frequency = 1000;
    script.time.tells = true;
    read_from_to(100, 107);
    EXPECT_EQ(file.window_ms, 7u);
    EXPECT_THAT(script.log.of({"QueryPerformance", "GetTickCount", "InternetReadFile"}),
                ElementsAre("GetTickCount", "InternetReadFile 1", "GetTickCount"));
    read_from_to(0xFFFFFFFE, 0x100000007);
    EXPECT_EQ(file.window_ms, 16u);
    read_from_to(50, 50);
    EXPECT_EQ(file.window_ms, 21u);
}

// --- the measured rate ---

TEST_F(timing, the_rate_has_the_digits_that_it_needs)
{
    struct row {
        std::uint32_t bytes;
        std::uint32_t ms;
        std::uint32_t rate;
    };
    for (const row& expected :
         {row{500, 0, 500}, row{0, 0, 0}, row{0, 10, 0}, row{5, 2, 2500}, row{7, 3, 2300}, row{1, 10, 100}, // by tens
          row{1, 20, 50}, row{1, 100, 10}, // by hundreds
          row{1, 500, 2}, row{1, 1000, 1}, // by thousands
          row{1, 1001, 0}, row{2, 3000, 0}, row{3000, 30'000, 100}, row{429'496'729, 1000, 429'496'700}}) {
        SCOPED_TRACE(std::to_string(expected.bytes) + " " + std::to_string(expected.ms));
        file.window_bytes = expected.bytes;
        file.window_ms = expected.ms;
        EXPECT_EQ(file.measured_rate(), expected.rate);
        EXPECT_EQ(file.window_bytes, expected.bytes);
        EXPECT_EQ(file.window_ms, expected.ms);
    }
}

TEST_F(timing, halves_what_is_too_much_for_a_scale)
{
    file.window_bytes = 429'496'730;
    file.window_ms = 1001;
    EXPECT_EQ(file.measured_rate(), 429'496'700u);
    EXPECT_EQ(file.window_bytes, 214'748'365u);
    EXPECT_EQ(file.window_ms, 500u);

    // Too slow for the first scales, and too much for the other two.
    file.window_bytes = 42'949'673;
    file.window_ms = 0xFFFFFFFF;
    EXPECT_EQ(file.measured_rate(), 9u);
    EXPECT_EQ(file.window_bytes, 10'737'418u);
    EXPECT_EQ(file.window_ms, 0x3FFFFFFFu);

    // Half of the shortest time is no time to divide by, and the number ends before the rate.
    file.window_bytes = 0xFFFFFFFF;
    file.window_ms = 1;
    EXPECT_EQ(file.measured_rate(), 0xFFFFFFFFu);
    EXPECT_EQ(file.window_bytes, 0x7FFFFFFFu);
    EXPECT_EQ(file.window_ms, 1u);
}

TEST_F(timing, the_window_rolls_over_after_half_a_minute)
{
    file.window_started = 100;
    file.window_bytes = 1;
    file.window_micro = 2;
    file.window_ms = 0;
    file.next_bytes = 4;
    file.next_micro = 5;
    file.next_ms = 0;
    script.time.ticks = {30'100, 30'101, 30'101};
    EXPECT_EQ(file.measured_rate(), 1u);
    EXPECT_EQ(file.window_started, 100u);
    EXPECT_EQ(file.next_bytes, 4u);
    file.next_ms = 2;
    EXPECT_EQ(file.measured_rate(), 2000u);
    EXPECT_EQ(file.window_started, 30'101u);
    EXPECT_EQ(file.window_bytes, 4u);
    EXPECT_EQ(file.window_micro, 5u);
    EXPECT_EQ(file.window_ms, 2u);
    EXPECT_EQ(file.next_bytes, 0u);
    EXPECT_EQ(file.next_micro, 0u);
    EXPECT_EQ(file.next_ms, 0u);
    EXPECT_EQ(file.measured_rate(), 2000u);
    EXPECT_EQ(file.window_bytes, 4u);
}

TEST_F(timing, the_window_rolls_over_when_ticks_begin_anew)
{
    file.window_started = 0xFFFFFFFF;
    file.next_bytes = 4;
    script.time.ticks = {29'999, 30'000};
    EXPECT_EQ(file.measured_rate(), 0u);
    EXPECT_EQ(file.measured_rate(), 4u);
    EXPECT_EQ(file.window_started, 30'000u);
}

} // namespace
