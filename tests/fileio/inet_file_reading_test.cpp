#include "tests/fileio/reading_files.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using cw::string;
using cw::test_support::done;
using cw::test_support::endless;
using cw::test_support::failed;
using cw::test_support::pending;
using cw::test_support::transfer_step;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

using reading = cw::test_support::reading_test;

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

} // namespace
