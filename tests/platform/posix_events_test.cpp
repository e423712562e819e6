#include "platform/posix_events.h"

#include "platform/last_error.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace cw::platform;

bool is_readable(event_handle event)
{
    pollfd waited{descriptor_of_event(event), POLLIN, 0};
    return poll(&waited, 1, 0) == 1 && waited.revents == POLLIN;
}

TEST(posix_events, one_that_is_not_reset_by_hand_is_taken_once)
{
    const event_handle event = create_posix_event(false, false);
    ASSERT_NE(event, no_event);
    EXPECT_FALSE(take_event(event));
    EXPECT_TRUE(set_posix_event(event));
    EXPECT_TRUE(set_posix_event(event));
    EXPECT_TRUE(take_event(event));
    EXPECT_FALSE(take_event(event)) << "setting it twice is no more than setting it";
    EXPECT_TRUE(close_posix_event(event));
}

TEST(posix_events, one_that_is_reset_by_hand_stays)
{
    const event_handle event = create_posix_event(true, false);
    EXPECT_FALSE(take_event(event));
    EXPECT_TRUE(set_posix_event(event));
    EXPECT_TRUE(take_event(event));
    EXPECT_TRUE(take_event(event));
    EXPECT_TRUE(reset_posix_event(event));
    EXPECT_FALSE(take_event(event));
    EXPECT_TRUE(close_posix_event(event));
}

TEST(posix_events, may_be_signalled_from_the_start)
{
    for (const bool manual_reset : {false, true}) {
        const event_handle event = create_posix_event(manual_reset, true);
        EXPECT_TRUE(take_event(event));
        EXPECT_EQ(take_event(event), manual_reset);
        EXPECT_TRUE(close_posix_event(event));
    }
}

TEST(posix_events, resetting_one_that_is_not_set_is_no_failure)
{
    for (const bool manual_reset : {false, true}) {
        const event_handle event = create_posix_event(manual_reset, false);
        EXPECT_TRUE(reset_posix_event(event));
        EXPECT_FALSE(take_event(event));
        EXPECT_TRUE(close_posix_event(event));
    }
}

TEST(posix_events, the_descriptor_can_be_read_while_the_event_is_set)
{
    for (const bool manual_reset : {false, true}) {
        const event_handle event = create_posix_event(manual_reset, false);
        EXPECT_FALSE(is_readable(event));
        set_posix_event(event);
        EXPECT_TRUE(is_readable(event));
        reset_posix_event(event);
        EXPECT_FALSE(is_readable(event));
        EXPECT_TRUE(close_posix_event(event));
    }
}

TEST(posix_events, programs_that_are_started_do_not_inherit_them)
{
    const event_handle event = create_posix_event(false, false);
    EXPECT_EQ(fcntl(descriptor_of_event(event), F_GETFD), FD_CLOEXEC);
    EXPECT_TRUE(close_posix_event(event));
}

TEST(posix_events, setting_one_whose_counter_is_full_is_no_failure)
{
    const event_handle event = create_posix_event(false, false);
    const std::uint64_t most = 0xFFFF'FFFF'FFFF'FFFE;
    ASSERT_EQ(write(descriptor_of_event(event), &most, sizeof most), ssize_t{sizeof most});
    EXPECT_TRUE(set_posix_event(event));
    EXPECT_TRUE(take_event(event));
    EXPECT_FALSE(take_event(event));
    EXPECT_TRUE(close_posix_event(event));
}

TEST(posix_events, none_and_closed_ones_are_refused)
{
    const event_handle closed = create_posix_event(true, true);
    ASSERT_TRUE(close_posix_event(closed));
    for (const event_handle event : {no_event, closed}) {
        for (const auto operation : {set_posix_event, reset_posix_event, close_posix_event}) {
            set_last_error(error_success);
            EXPECT_FALSE(operation(event));
            EXPECT_EQ(get_last_error(), error_invalid_handle);
        }
        EXPECT_FALSE(take_event(event));
    }
}

TEST(posix_events, closing_gives_back_what_the_event_took)
{
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit few{256, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    for (int i = 0; i < 1000; ++i) {
        const event_handle event = create_posix_event(false, false);
        ASSERT_NE(event, no_event) << i;
        ASSERT_TRUE(close_posix_event(event));
    }
    setrlimit(RLIMIT_NOFILE, &limit);
}

TEST(posix_events, without_room_for_one_more_there_is_none)
{
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    set_last_error(error_success);
    const event_handle event = create_posix_event(false, false);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(event, no_event);
    EXPECT_EQ(get_last_error(), error_too_many_open_files);
}

} // namespace
