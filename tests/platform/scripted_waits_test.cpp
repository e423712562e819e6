#include "platform/last_error.h"

#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace {

using cw::test_support::scripted_services;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

class scripted_waits : public testing::Test {
protected:
    scripted_services script;
    thread_waits& waits = *current().waits;
    event_handle event = waits.create_event(false, false);

    std::uint32_t wait_for(event_handle wanted) { return waits.wait(1, &wanted, false, 500, wake_for_all_input); }
    /// The numbers of the messages that are dispatched until the queue is empty.
    std::vector<std::uint32_t> pumped()
    {
        std::vector<std::uint32_t> numbers;
        thread_message message;
        while (waits.peek_message(&message, 0, 0, 0, remove_message)) {
            waits.dispatch_message(&message);
            numbers.push_back(message.number);
        }
        return numbers;
    }
};

TEST_F(scripted_waits, see_events_once_or_until_they_are_reset)
{
    EXPECT_EQ(wait_for(event), wait_timeout);
    EXPECT_TRUE(waits.set_event(event));
    EXPECT_TRUE(script.waits.is_signalled(event));
    EXPECT_EQ(wait_for(event), wait_object);
    EXPECT_FALSE(script.waits.is_signalled(event));
    EXPECT_EQ(wait_for(event), wait_timeout);

    const event_handle by_hand = waits.create_event(true, true);
    EXPECT_EQ(wait_for(by_hand), wait_object);
    EXPECT_EQ(wait_for(by_hand), wait_object);
    const event_handle both[] = {event, by_hand};
    EXPECT_EQ(waits.wait(2, both, false, wait_for_ever, wake_for_all_input), wait_object + 1);
    EXPECT_TRUE(waits.reset_event(by_hand));
    EXPECT_EQ(wait_for(by_hand), wait_timeout);
    EXPECT_EQ(script.waits.open_events(), 2u);
    EXPECT_TRUE(waits.close_event(by_hand));
    EXPECT_EQ(script.waits.open_events(), 1u);
    EXPECT_FALSE(waits.close_event(by_hand));
    EXPECT_EQ(get_last_error(), error_invalid_handle);
    EXPECT_FALSE(waits.set_event(by_hand));
    EXPECT_EQ(wait_for(by_hand), wait_failed);
    EXPECT_EQ(script.log.lines[0], "MsgWaitForMultipleObjects 1 500 0x000004FF");
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects 1 2 4294967295 0x000004FF"), 1u);
}

TEST_F(scripted_waits, tell_of_events_and_fail_when_told)
{
    EXPECT_THAT(script.log.lines, IsEmpty());
    script.waits.tells_events = true;
    script.log.fail("CreateEventW 1 1", 8);
    script.log.fail("SetEvent", 9);
    script.log.fail("MsgWaitForMultipleObjects", 10);
    EXPECT_EQ(waits.create_event(true, true), no_event);
    EXPECT_EQ(get_last_error(), 8u);
    EXPECT_FALSE(waits.set_event(event));
    EXPECT_EQ(get_last_error(), 9u);
    EXPECT_TRUE(waits.reset_event(event));
    EXPECT_EQ(wait_for(event), wait_failed);
    EXPECT_EQ(get_last_error(), 10u);
    EXPECT_TRUE(waits.close_event(event));
    EXPECT_THAT(script.log.lines, ElementsAre("CreateEventW 1 1", "SetEvent 1", "ResetEvent 1",
                                              "MsgWaitForMultipleObjects 1 500 0x000004FF", "CloseHandle 1"));
}

TEST_F(scripted_waits, messages_end_a_wait_and_do_what_is_told)
{
    int dispatched = 0;
    script.waits.messages_arrive(1, 2, [&] { ++dispatched; });
    script.waits.messages_arrive(1, 0);
    EXPECT_THAT(pumped(), IsEmpty());
    script.log.lines.clear();
    EXPECT_EQ(wait_for(event), wait_object + 1);
    thread_message kept;
    EXPECT_TRUE(waits.peek_message(&kept, 0, 0, 0, 0));
    EXPECT_EQ(kept.number, 1u);
    EXPECT_FALSE(waits.translate_message(&kept));
    EXPECT_THAT(pumped(), ElementsAre(1u, 2u));
    EXPECT_EQ(dispatched, 2);
    EXPECT_EQ(wait_for(event), wait_object + 1);
    EXPECT_THAT(pumped(), IsEmpty());
    EXPECT_EQ(wait_for(event), wait_timeout);
    EXPECT_THAT(script.log.of({"Peek", "Translate", "Dispatch"}),
                ElementsAre("PeekMessageW 0 0 0 0", "TranslateMessage 1", "PeekMessageW 0 0 0 1", "DispatchMessageW 1",
                            "PeekMessageW 0 0 0 1", "DispatchMessageW 2", "PeekMessageW 0 0 0 1",
                            "PeekMessageW 0 0 0 1"));
}

TEST_F(scripted_waits, what_is_due_happens_in_order_and_on_its_thread)
{
    std::thread::id first;
    std::thread::id second;
    script.waits.later(&first, true, [&] { first = std::this_thread::get_id(); });
    script.waits.later(&second, false, [&] {
        second = std::this_thread::get_id();
        waits.set_event(event);
    });
    script.waits.later(&second, true, [&] { waits.set_event(event); });
    script.waits.messages_arrive(1, 0);
    EXPECT_EQ(wait_for(event), wait_object + 1);
    EXPECT_EQ(second, std::thread::id());
    EXPECT_EQ(wait_for(event), wait_object);
    script.waits.join();
    EXPECT_NE(first, std::thread::id());
    EXPECT_NE(first, std::this_thread::get_id());
    EXPECT_EQ(second, std::this_thread::get_id());
    EXPECT_EQ(wait_for(event), wait_object);
    EXPECT_EQ(wait_for(event), wait_timeout);
}

TEST_F(scripted_waits, what_is_dropped_never_happens)
{
    int happened = 0;
    script.waits.later(&happened, false, [&] { ++happened; });
    script.waits.later(this, false, [&] { happened += 10; });
    script.waits.drop(&happened);
    EXPECT_EQ(wait_for(event), wait_timeout);
    EXPECT_EQ(happened, 10);
}

} // namespace
