#include "platform/posix_services.h"

#include "platform/last_error.h"
#include "platform/posix_events.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <sys/time.h>
#include <thread>
#include <vector>

namespace {

using namespace cw::platform;
using namespace std::chrono_literals;
using steady = std::chrono::steady_clock;

struct posix_thread_waits : testing::Test {
    ~posix_thread_waits() override
    {
        for (const event_handle event : made)
            waits->close_event(event);
    }

    event_handle event(bool manual_reset = false, bool signalled = false)
    {
        return made.emplace_back(waits->create_event(manual_reset, signalled));
    }
    std::uint32_t wait(const std::vector<event_handle>& events, std::uint32_t timeout_ms, bool wait_all = false)
    {
        return waits->wait(static_cast<std::uint32_t>(events.size()), events.data(), wait_all, timeout_ms,
                           wake_for_all_input);
    }

    std::unique_ptr<thread_waits> waits = make_posix_thread_waits();
    std::vector<event_handle> made;
};

TEST_F(posix_thread_waits, end_at_an_event_that_is_set)
{
    const event_handle once = event(false, true);
    EXPECT_EQ(wait({once}, wait_for_ever), wait_object);
    EXPECT_EQ(wait({once}, 0), wait_timeout);
    const event_handle lasting = event(true, true);
    EXPECT_EQ(wait({lasting}, wait_for_ever), wait_object);
    EXPECT_EQ(wait({lasting}, wait_for_ever), wait_object);
    EXPECT_TRUE(waits->reset_event(lasting));
    EXPECT_EQ(wait({lasting}, 0), wait_timeout);
    EXPECT_TRUE(waits->set_event(lasting));
    EXPECT_EQ(wait({lasting}, 0), wait_object);
}

TEST_F(posix_thread_waits, last_as_long_as_they_are_told)
{
    const event_handle never = event();
    const auto start = steady::now();
    EXPECT_EQ(wait({never}, 50), wait_timeout);
    EXPECT_GE(steady::now() - start, 50ms);
    EXPECT_EQ(wait({}, 10), wait_timeout) << "for nothing at all";
    EXPECT_GE(steady::now() - start, 60ms);
    EXPECT_LT(steady::now() - start, 30s);
}

TEST_F(posix_thread_waits, tell_which_of_many_events_it_was)
{
    std::vector<event_handle> many;
    for (int i = 0; i < 64; ++i)
        many.push_back(event());
    waits->set_event(many[63]);
    waits->set_event(many[5]);
    EXPECT_EQ(wait(many, wait_for_ever), wait_object + 5);
    EXPECT_EQ(wait(many, wait_for_ever), wait_object + 63) << "the first took nothing of it";
    EXPECT_EQ(wait(many, 0), wait_timeout);
}

TEST_F(posix_thread_waits, refuse_what_they_cannot_do)
{
    const std::vector<event_handle> too_many(65, event(true, true));
    EXPECT_EQ(wait(too_many, 0), wait_failed);
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    set_last_error(error_success);
    EXPECT_EQ(wait({event(true, true), event(true, true)}, 0, true), wait_failed) << "all of several";
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_EQ(wait({event(true, true)}, 0, true), wait_object) << "all of one";
}

TEST_F(posix_thread_waits, fail_at_events_that_are_none)
{
    // Before the other is closed: a new event may get its number.
    const event_handle open = event();
    const event_handle closed = waits->create_event(true, true);
    ASSERT_TRUE(waits->close_event(closed));
    for (const event_handle none : {no_event, closed}) {
        set_last_error(error_success);
        EXPECT_EQ(wait({open, none}, wait_for_ever), wait_failed);
        EXPECT_EQ(get_last_error(), error_invalid_handle);
    }
}

TEST_F(posix_thread_waits, end_when_another_thread_sets_the_event)
{
    for (const bool manual_reset : {false, true}) {
        const event_handle asked = event(manual_reset);
        const event_handle answered = event(manual_reset);
        int value = 0; // handed to and fro by nothing but the events
        std::thread other([&] {
            EXPECT_EQ(wait({asked}, wait_for_ever), wait_object);
            value *= 2;
            waits->set_event(answered);
        });
        value = 21;
        waits->set_event(asked);
        EXPECT_EQ(wait({answered}, wait_for_ever), wait_object);
        EXPECT_EQ(value, 42);
        other.join();
    }
}

TEST_F(posix_thread_waits, one_setting_ends_one_wait)
{
    constexpr int rounds = 300;
    const event_handle work = event();
    const event_handle done = event();
    const event_handle stop = event(true);
    std::atomic<int> taken = 0;
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i)
        workers.emplace_back([&] {
            while (wait({work, stop}, wait_for_ever) == wait_object) {
                ++taken;
                waits->set_event(done);
            }
        });
    for (int i = 0; i < rounds; ++i) {
        waits->set_event(work);
        EXPECT_EQ(wait({done}, wait_for_ever), wait_object);
    }
    waits->set_event(stop);
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(taken, rounds);
}

std::atomic<int> alarms = 0;
std::atomic<event_handle> set_at_alarm = no_event;
constexpr int alarm_that_sets = 3;

/// Alarms every few milliseconds, which interrupt what the thread waits in.
class many_alarms {
public:
    many_alarms()
    {
        alarms = 0;
        struct sigaction action = {};
        action.sa_handler = [](int) {
            if (++alarms == alarm_that_sets && set_at_alarm != no_event)
                set_posix_event(set_at_alarm);
        };
        sigaction(SIGALRM, &action, &m_before);
        const itimerval often{{0, 5000}, {0, 5000}};
        setitimer(ITIMER_REAL, &often, nullptr);
    }
    ~many_alarms()
    {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &m_before, nullptr);
    }
    many_alarms(const many_alarms&) = delete;
    many_alarms& operator=(const many_alarms&) = delete;

private:
    struct sigaction m_before = {};
};

TEST_F(posix_thread_waits, go_on_after_a_signal)
{
    const event_handle never = event();
    const auto start = steady::now();
    {
        const many_alarms interrupting;
        EXPECT_EQ(wait({never}, 100), wait_timeout);
    }
    EXPECT_GE(steady::now() - start, 100ms);
    EXPECT_GT(alarms, 0);
    // Without an end as well.
    set_at_alarm = never;
    {
        const many_alarms interrupting;
        EXPECT_EQ(wait({never}, wait_for_ever), wait_object);
    }
    set_at_alarm = no_event;
    EXPECT_GE(alarms, alarm_that_sets);
}

TEST_F(posix_thread_waits, without_a_window_there_are_no_messages)
{
    thread_message message;
    EXPECT_FALSE(waits->peek_message(&message, 0, 0, 0, remove_message));
    EXPECT_FALSE(waits->translate_message(&message));
    EXPECT_EQ(waits->dispatch_message(&message), 0);
}

} // namespace
