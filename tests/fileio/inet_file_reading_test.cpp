#include "tests/fileio/transfer_files.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using cw::string;
using cw::test_support::body_of;
using cw::test_support::done;
using cw::test_support::endless;
using cw::test_support::failed;
using cw::test_support::pending;
using cw::test_support::plain_file;
using cw::test_support::transfer_step;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

constexpr char untouched = '\x01';

class reading : public cw::test_support::transfer_test {
protected:
    plain_file file;
    std::vector<char> buffer;
    std::uint32_t came = 77;

    explicit reading(std::size_t size = 10000) { open(size); }
    /// A body of `size` behind the address.
    void open(std::size_t size)
    {
        script.network.answer.body = body_of(size);
        EXPECT_TRUE(file.open(string(u"http://h/a"), string(), 0));
        script.log.lines.clear();
    }
    /// Reads into the start of a buffer that has untouched bytes behind it.
    bool read(std::uint32_t size)
    {
        buffer.assign(size + 1000, untouched);
        return file.read(buffer.data(), size, &came);
    }
    /// What of the body lies from `start` on in the buffer, whose bytes behind `size` must be untouched.
    void expect_bytes(std::size_t start, std::size_t size, std::size_t from)
    {
        ASSERT_LE(start + size, buffer.size());
        EXPECT_EQ(std::string(buffer.data() + start, size), body_of(from + size).substr(from));
    }
    void expect_untouched(std::size_t start, std::size_t end)
    {
        EXPECT_EQ(std::string(buffer.data() + start, end - start), std::string(end - start, untouched));
    }
    std::vector<std::string> chunks() { return script.log.of({"InternetReadFile"}); }
};

TEST_F(reading, fills_the_buffer_in_chunks)
{
    EXPECT_TRUE(read(4000));
    EXPECT_EQ(came, 4000u);
    expect_bytes(0, 4000, 0);
    expect_untouched(4000, buffer.size());
    EXPECT_THAT(chunks(), ElementsAre("InternetReadFile 1500", "InternetReadFile 1500", "InternetReadFile 1000"));
    EXPECT_EQ(file.position, 4000u);
    EXPECT_EQ(file.window_bytes, 4000u);
    EXPECT_EQ(file.next_bytes, 4000u);
    EXPECT_EQ(file.retry_count, 0u);
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);

    EXPECT_TRUE(read(100));
    expect_bytes(0, 100, 4000);
    EXPECT_EQ(file.position, 4100u);
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);
}

TEST_F(reading, ends_with_the_file)
{
    open(2000);
    EXPECT_TRUE(read(5000));
    EXPECT_EQ(came, 2000u);
    expect_bytes(0, 2000, 0);
    expect_untouched(2000, buffer.size());
    EXPECT_THAT(chunks(), ElementsAre("InternetReadFile 1500", "InternetReadFile 1500", "InternetReadFile 1500"));
    EXPECT_TRUE(read(5));
    EXPECT_EQ(came, 0u);
    EXPECT_EQ(file.position, 2000u);
}

TEST_F(reading, nothing_only_connects)
{
    EXPECT_TRUE(read(0));
    EXPECT_EQ(came, 0u);
    EXPECT_THAT(chunks(), IsEmpty());
    EXPECT_NE(file.handle, nullptr);
}

TEST_F(reading, waits_for_what_is_pending)
{
    script.network.requests = {pending()};
    script.network.reads = {pending(), pending().here().at_most(700), done().at_most(1), pending().with_result(55)};
    script.waits.messages_arrive(2, 1);
    EXPECT_TRUE(read(5000));
    EXPECT_EQ(came, 5000u);
    expect_bytes(0, 5000, 0);
    EXPECT_EQ(file.read_count_target, nullptr);
    EXPECT_EQ(script.log.count("DispatchMessageW"), 2u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 0u);
}

TEST_F(reading, many_chunks_from_another_thread)
{
    open(150'000);
    script.network.reads.assign(100, pending());
    EXPECT_TRUE(read(150'000));
    EXPECT_EQ(came, 150'000u);
    expect_bytes(0, 150'000, 0);
}

TEST_F(reading, takes_no_signal_of_the_past)
{
    EXPECT_TRUE(file.connect());
    current().waits->set_event(file.completed_event);
    file.timeout_ms = 800;
    script.network.reads = {endless()};
    EXPECT_FALSE(read(10));
    EXPECT_EQ(get_last_error(), error_internet_timeout);
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects " + std::to_string(file.completed_event) + " 800 0x000004FF"),
              1u);
    EXPECT_EQ(file.handle, nullptr);
}

// --- retries ---

TEST_F(reading, goes_on_from_where_it_broke_off)
{
    always_retry();
    script.network.reads = {done(), done().at_most(500), failed(error_internet_connection_reset)};
    EXPECT_TRUE(read(5000));
    EXPECT_EQ(came, 5000u);
    expect_bytes(0, 5000, 0);
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x00000000", "InternetCloseHandle 102",
                                        "InternetOpenUrlW 101 http://h/a Range: bytes=2000- 0x00000000"));
    EXPECT_EQ(file.position, 5000u);
    EXPECT_EQ(file.start_offset, 2000u);
    EXPECT_EQ(file.retry_count, 1u);
}

TEST_F(reading, goes_on_after_a_timeout)
{
    always_retry();
    script.network.reads = {done(), endless()};
    EXPECT_TRUE(read(3000));
    EXPECT_EQ(came, 3000u);
    expect_bytes(0, 3000, 0);
    EXPECT_EQ(script.log.count("InternetOpenUrlW 101 http://h/a Range: bytes=1500- 0x00000000"), 1u);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 1u);
}

TEST_F(reading, gives_up_when_it_is_told_to)
{
    script.network.reads = {done(), pending(error_internet_connection_reset)};
    EXPECT_FALSE(read(5000));
    EXPECT_EQ(get_last_error(), error_internet_connection_reset);
    EXPECT_EQ(came, 1500u);
    expect_bytes(0, 1500, 0);
    expect_untouched(1500, buffer.size());
    EXPECT_EQ(file.position, 1500u);
    EXPECT_EQ(script.log.count("InternetErrorDlg 0 102 12031 0x00000007"), 1u);
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);
}

TEST_F(reading, fails_where_no_request_can_be_made)
{
    script.network.requests = {failed(12007)};
    EXPECT_FALSE(read(10));
    EXPECT_EQ(get_last_error(), 12007u);
    EXPECT_EQ(came, 0u);
    EXPECT_EQ(file.retry_count, 0u);
    EXPECT_THAT(chunks(), IsEmpty());
}

TEST_F(reading, tries_requests_again)
{
    always_retry();
    script.network.requests = {failed(12007), pending(12029), pending()};
    EXPECT_TRUE(read(10));
    EXPECT_EQ(came, 10u);
    expect_bytes(0, 10, 0);
    EXPECT_EQ(file.retry_count, 2u);
    EXPECT_THAT(requests(),
                ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x00000000",
                            "InternetOpenUrlW 101 http://h/a \"\" 0x00000000", "HttpSendRequestW 102 \"\""));
}

TEST_F(reading, tries_six_times)
{
    always_retry();
    script.network.requests.assign(7, failed(12007));
    EXPECT_FALSE(read(10));
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 6u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 6u);
    EXPECT_EQ(file.retry_count, 6u);
    script.network.requests.clear();
    script.log.lines.clear();
    script.network.reads.assign(7, failed(12030));
    EXPECT_FALSE(read(10));
    EXPECT_EQ(get_last_error(), 12030u);
    EXPECT_EQ(script.log.count("InternetReadFile"), 6u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 6u);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 6u);
    EXPECT_EQ(file.retry_count, 5u);
    EXPECT_EQ(came, 0u);
    file.max_retries = 0;
    script.log.lines.clear();
    EXPECT_FALSE(read(10));
    EXPECT_EQ(script.log.count("InternetReadFile"), 1u);
}

TEST_F(reading, every_read_has_all_its_retries)
{
    always_retry();
    for (int round = 0; round < 3; ++round) {
        script.network.reads.assign(5, failed(12030));
        EXPECT_TRUE(read(10));
        EXPECT_EQ(came, 10u);
    }
    EXPECT_EQ(file.position, 30u);
}

/// Gets `size` bytes and breaks off.
void get_and_break_off(std::deque<transfer_step>& reads, std::uint32_t size)
{
    reads.push_back(done().at_most(size));
    reads.push_back(failed(error_internet_connection_aborted));
}

TEST_F(reading, takes_what_came_first_off_twice_at_a_second_break)
{
    always_retry();
    get_and_break_off(script.network.reads, 10);
    get_and_break_off(script.network.reads, 20);
    EXPECT_TRUE(read(100));
    EXPECT_EQ(came, 90u);
    expect_bytes(0, 30, 0);
    expect_untouched(30, 40);
    expect_bytes(40, 60, 30);
    expect_untouched(100, buffer.size());
    EXPECT_EQ(file.position, 90u);
    EXPECT_THAT(chunks(), ElementsAre("InternetReadFile 100", "InternetReadFile 90", "InternetReadFile 90",
                                      "InternetReadFile 70", "InternetReadFile 60"));
    EXPECT_THAT(requests(),
                ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x00000000", "InternetCloseHandle 102",
                            "InternetOpenUrlW 101 http://h/a Range: bytes=10- 0x00000000", "InternetCloseHandle 103",
                            "InternetOpenUrlW 101 http://h/a Range: bytes=30- 0x00000000"));
}

TEST_F(reading, ends_where_that_leaves_nothing_to_read)
{
    always_retry();
    get_and_break_off(script.network.reads, 40);
    get_and_break_off(script.network.reads, 20);
    EXPECT_TRUE(read(100));
    EXPECT_EQ(came, 60u);
    expect_bytes(0, 60, 0);
    expect_untouched(60, buffer.size());
}

TEST_F(reading, fails_where_that_would_leave_the_buffer)
{
    always_retry();
    get_and_break_off(script.network.reads, 40);
    get_and_break_off(script.network.reads, 30);
    EXPECT_FALSE(read(100));
    EXPECT_EQ(came, 70u);
    expect_bytes(0, 70, 0);
    expect_untouched(70, buffer.size());
    EXPECT_EQ(file.position, 70u);
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 2u);
}

TEST_F(reading, ends_where_positions_end)
{
    script.network.answer.keeps_to_range = false;
    file.position = 0xFFFFFFFA;
    EXPECT_FALSE(read(10));
    EXPECT_EQ(get_last_error(), error_arithmetic_overflow);
    EXPECT_EQ(came, 5u);
    EXPECT_EQ(file.position, 0xFFFFFFFFu);
    expect_untouched(5, buffer.size());
}

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
