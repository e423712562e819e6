#include "fileio/wininet_async_handle.h"

#include "platform/last_error.h"

#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using cw::wininet_async_handle;
using cw::test_support::endless;
using cw::test_support::pending;
using cw::test_support::scripted_services;
using cw::test_support::transfer_step;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

/// Counts what happens to it.
class watched_handle final : public wininet_async_handle {
public:
    explicit watched_handle(int& ends) : m_ends(ends) {}
    ~watched_handle() override { ++m_ends; }
    std::uint32_t on_request_complete(std::uint32_t error) override
    {
        completed_with.push_back(error);
        return wininet_async_handle::on_request_complete(error);
    }
    std::vector<std::uint32_t> completed_with;

private:
    int& m_ends;
};

class async_handle : public testing::Test {
protected:
    scripted_services script;
    int ends = 0;
    watched_handle* watched = new watched_handle(ends);
    transfer_handle session = current().network->open_session(u"agent", 0, nullptr, nullptr, transfer_asynchronous);

    async_handle()
    {
        current().network->set_status_callback(session, &wininet_async_handle::on_status);
        script.log.lines.clear();
    }
    ~async_handle() override
    {
        if (ends == 0) {
            watched->close_handle();
            watched->release();
        }
    }
    /// Starts a request that goes as `step` says; the last error is what it leaves.
    void start(const transfer_step& step = cw::test_support::done())
    {
        script.network.requests = {step};
        set_last_error(0);
        current().network->open_url(session, u"http://h/a", u"", 0, 0, static_cast<wininet_async_handle*>(watched));
        script.log.lines.clear();
    }
    void tell(std::uint32_t status, std::uintptr_t result, std::uint32_t error)
    {
        const async_result told{result, error};
        wininet_async_handle::on_status(nullptr, static_cast<wininet_async_handle*>(watched), status, &told,
                                        sizeof told);
    }
    bool wait(bool closing = false) { return watched->wait(700, watched->completed_event, closing); }
    /// What `wait` leaves as last error; a number of its own where it answers otherwise than by that.
    std::uint32_t error_of_wait(bool closing = false)
    {
        const bool answer = wait(closing);
        EXPECT_EQ(answer, get_last_error() == 0);
        return get_last_error();
    }
};

TEST_F(async_handle, starts_without_a_handle)
{
    script.waits.tells_events = true;
    const wininet_async_handle made;
    EXPECT_THAT(script.log.take(), ElementsAre("CreateEventW 0 0", "CreateEventW 0 0"));
    EXPECT_EQ(made.handle, nullptr);
    EXPECT_EQ(made.last_error, 0u);
    EXPECT_NE(made.completed_event, no_event);
    EXPECT_NE(made.closing_event, no_event);
    EXPECT_NE(made.completed_event, made.closing_event);
    EXPECT_EQ(made.response_text, nullptr);
    EXPECT_EQ(made.response_size, 0u);
    EXPECT_EQ(made.reference_count, 1u);
    EXPECT_EQ(made.read_count_target, nullptr);
    EXPECT_EQ(made.timeout_ms, 30000u);
}

TEST_F(async_handle, closes_its_events_with_its_end)
{
    script.waits.tells_events = true;
    const std::vector<event_handle> events{watched->completed_event, watched->closing_event};
    EXPECT_EQ(watched->release(), 0u);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(script.waits.open_events(), 0u);
    EXPECT_THAT(script.log.lines,
                ElementsAre("CloseHandle " + std::to_string(events[0]), "CloseHandle " + std::to_string(events[1])));
}

TEST_F(async_handle, answers_nothing_to_a_completed_request)
{
    wininet_async_handle made;
    EXPECT_EQ(made.on_request_complete(7), 0u);
}

// --- counts ---

TEST_F(async_handle, goes_with_its_last_reference)
{
    EXPECT_EQ(watched->add_ref(), 2u);
    EXPECT_EQ(watched->add_ref(), 3u);
    EXPECT_EQ(watched->release(), 2u);
    EXPECT_EQ(watched->release(), 1u);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(watched->release(), 0u);
    EXPECT_EQ(ends, 1);
    EXPECT_THAT(script.log.lines, IsEmpty());
}

TEST_F(async_handle, an_open_handle_counts)
{
    start();
    EXPECT_EQ(watched->reference_count, 2u);
    watched->close_handle();
    EXPECT_EQ(watched->handle, nullptr);
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_EQ(ends, 0);
    watched->close_handle();
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_THAT(script.log.lines, ElementsAre("InternetCloseHandle 102"));
}

TEST_F(async_handle, the_owner_takes_the_handle_along)
{
    start();
    watched->release();
    EXPECT_EQ(ends, 1);
    EXPECT_THAT(script.log.lines, ElementsAre("InternetCloseHandle 102"));
    EXPECT_EQ(script.network.open_handles(), 1u);
}

TEST_F(async_handle, closing_the_last_reference_ends_it)
{
    start();
    watched->reference_count = 1;
    watched->close_handle();
    EXPECT_EQ(ends, 1);
}

TEST_F(async_handle, counts_on_several_threads)
{
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([this] {
                watched->add_ref();
                for (int round = 0; round < 1000; ++round) {
                    watched->add_ref();
                    watched->release();
                }
            });
    }
    EXPECT_EQ(watched->reference_count, 5u);
    watched->reference_count = 1;
}

// --- closing ---

TEST_F(async_handle, waits_for_a_closing_that_is_pending)
{
    start();
    watched->timeout_ms = 800;
    script.log.fail("InternetCloseHandle", error_io_pending);
    watched->close_handle();
    EXPECT_EQ(watched->handle, nullptr);
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_EQ(watched->last_error, 0u);
    EXPECT_FALSE(script.waits.is_signalled(watched->closing_event));
    EXPECT_THAT(script.log.lines,
                ElementsAre("InternetCloseHandle 102",
                            "MsgWaitForMultipleObjects " + std::to_string(watched->closing_event) + " 800 0x000004FF"));
}

TEST_F(async_handle, gives_a_closing_up_that_is_never_told)
{
    start();
    script.network.tells_closing = false;
    script.log.fail("InternetCloseHandle", error_io_pending);
    current().waits->set_event(watched->closing_event); // of an earlier closing
    watched->close_handle();
    EXPECT_EQ(watched->handle, nullptr);
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_EQ(watched->last_error, error_internet_timeout);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 1u);
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects"), 1u);
}

TEST_F(async_handle, forgets_a_handle_that_cannot_be_closed)
{
    start();
    script.log.fail("InternetCloseHandle", error_access_denied, 1);
    watched->close_handle();
    EXPECT_EQ(watched->handle, nullptr);
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_THAT(script.log.lines, ElementsAre("InternetCloseHandle 102"));
    current().network->close(reinterpret_cast<transfer_handle>(102));
}

// --- what the status callback is told ---

TEST_F(async_handle, takes_a_handle_that_is_created)
{
    int made = 0;
    tell(status_handle_created, reinterpret_cast<std::uintptr_t>(&made), 0);
    EXPECT_EQ(watched->handle, &made);
    EXPECT_EQ(watched->reference_count, 2u);
    EXPECT_FALSE(script.waits.is_signalled(watched->completed_event));
    EXPECT_FALSE(script.waits.is_signalled(watched->closing_event));
}

TEST_F(async_handle, signals_that_the_handle_closes)
{
    tell(status_handle_closing, 0, 0);
    EXPECT_TRUE(script.waits.is_signalled(watched->closing_event));
    EXPECT_FALSE(script.waits.is_signalled(watched->completed_event));
    EXPECT_EQ(watched->reference_count, 1u);
}

TEST_F(async_handle, takes_the_end_of_a_request)
{
    struct row {
        std::uintptr_t result;
        std::uint32_t error;
        std::uint32_t last_error;
        bool is_completed;
    };
    for (const row& expected : {row{1, 0, 0, true}, row{1, 5, 0, true}, row{0, 12007, 12007, false},
                                row{102, 0, 0, false}, row{2, 12029, 12029, false}, row{2, 12003, 12003, false}}) {
        SCOPED_TRACE(std::to_string(expected.result) + " " + std::to_string(expected.error));
        watched->last_error = 99;
        watched->completed_with.clear();
        current().waits->reset_event(watched->completed_event);
        tell(status_request_complete, expected.result, expected.error);
        EXPECT_EQ(watched->last_error, expected.last_error);
        EXPECT_EQ(watched->completed_with.size(), expected.is_completed ? 1u : 0u);
        if (expected.is_completed) {
            EXPECT_THAT(watched->completed_with, ElementsAre(expected.error));
        }
        EXPECT_TRUE(script.waits.is_signalled(watched->completed_event));
        EXPECT_FALSE(script.waits.is_signalled(watched->closing_event));
        EXPECT_EQ(watched->response_text, nullptr);
    }
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_EQ(watched->handle, nullptr);
    EXPECT_THAT(script.log.lines, IsEmpty());
}

TEST_F(async_handle, asks_for_the_words_of_an_extended_error)
{
    script.network.response_error = 550;
    script.network.response_text = u"no such folder";
    tell(status_request_complete, 0, error_internet_extended_error);
    EXPECT_EQ(watched->last_error, error_internet_extended_error);
    ASSERT_NE(watched->response_text, nullptr);
    EXPECT_EQ(std::u16string(watched->response_text.get()), u"no such folder");
    EXPECT_EQ(watched->response_error, 550u);
    EXPECT_TRUE(script.waits.is_signalled(watched->completed_event));

    const char16_t* const buffer = watched->response_text.get();
    script.network.response_text = u"no";
    tell(status_request_complete, 0, error_internet_extended_error);
    EXPECT_EQ(watched->response_text.get(), buffer);
    EXPECT_EQ(std::u16string(buffer), u"no");
    EXPECT_THAT(script.log.lines,
                ElementsAre("InternetGetLastResponseInfoW 1024", "InternetGetLastResponseInfoW 1024"));
}

TEST_F(async_handle, ignores_every_other_status)
{
    const async_result told{77, 5};
    for (std::uint32_t status = 0; status < 400; ++status) {
        if (status != status_handle_created && status != status_handle_closing && status != status_request_complete)
            wininet_async_handle::on_status(nullptr, static_cast<wininet_async_handle*>(watched), status,
                                            status % 2 == 0 ? &told : nullptr, 0);
    }
    EXPECT_EQ(watched->handle, nullptr);
    EXPECT_EQ(watched->last_error, 0u);
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_FALSE(script.waits.is_signalled(watched->completed_event));
    EXPECT_FALSE(script.waits.is_signalled(watched->closing_event));
    EXPECT_THAT(watched->completed_with, IsEmpty());
}

// --- waiting ---

TEST_F(async_handle, does_not_wait_for_what_is_done_or_has_failed)
{
    watched->last_error = 7;
    set_last_error(0);
    EXPECT_TRUE(wait());
    for (const std::uint32_t error : {1u, 996u, 998u, 12007u, 0x800003E5u}) {
        set_last_error(error);
        EXPECT_EQ(error_of_wait(), error);
    }
    EXPECT_EQ(watched->last_error, 7u);
    EXPECT_THAT(script.log.lines, IsEmpty());
}

TEST_F(async_handle, waits_for_what_is_pending)
{
    for (const transfer_step& step : {pending(), pending().here()}) {
        watched->last_error = 7;
        start(step);
        ASSERT_EQ(get_last_error(), error_io_pending);
        EXPECT_EQ(error_of_wait(), 0u);
        EXPECT_EQ(watched->last_error, 0u);
        EXPECT_NE(watched->handle, nullptr);
        EXPECT_EQ(watched->reference_count, 2u);
        EXPECT_THAT(script.log.lines, ElementsAre("MsgWaitForMultipleObjects " +
                                                  std::to_string(watched->completed_event) + " 700 0x000004FF"));
        watched->close_handle();
    }
    EXPECT_EQ(watched->completed_with.size(), 2u);
}

TEST_F(async_handle, takes_a_handle_on_another_thread)
{
    transfer_step late = pending();
    late.tells_handle_late = true;
    start(late);
    EXPECT_EQ(watched->handle, nullptr);
    set_last_error(error_io_pending);
    EXPECT_EQ(error_of_wait(), 0u);
    EXPECT_EQ(watched->handle, reinterpret_cast<transfer_handle>(102));
    EXPECT_EQ(watched->reference_count, 2u);
}

TEST_F(async_handle, tells_the_error_of_what_was_pending)
{
    for (const transfer_step& step : {pending(12029), pending(12029).here()}) {
        start(step);
        EXPECT_EQ(error_of_wait(), 12029u);
        EXPECT_EQ(watched->last_error, 12029u);
        EXPECT_NE(watched->handle, nullptr);
        watched->close_handle();
    }
    start(pending(error_internet_extended_error));
    script.network.response_text = u"words";
    EXPECT_EQ(error_of_wait(), error_internet_extended_error);
    EXPECT_EQ(std::u16string(watched->response_text.get()), u"words");
}

TEST_F(async_handle, dispatches_messages_and_begins_to_wait_anew)
{
    start(pending());
    int dispatched = 0;
    script.waits.messages_arrive(2, 2, [&] { ++dispatched; });
    script.waits.messages_arrive(1, 0);
    EXPECT_EQ(error_of_wait(), 0u);
    EXPECT_EQ(dispatched, 4);
    const std::string waiting =
        "MsgWaitForMultipleObjects " + std::to_string(watched->completed_event) + " 700 0x000004FF";
    const std::string peeking = "PeekMessageW 0 0 0 1";
    EXPECT_THAT(script.log.lines,
                ElementsAre(waiting, peeking, "TranslateMessage 1", "DispatchMessageW 1", peeking, "TranslateMessage 2",
                            "DispatchMessageW 2", peeking, waiting, peeking, "TranslateMessage 3", "DispatchMessageW 3",
                            peeking, "TranslateMessage 4", "DispatchMessageW 4", peeking, waiting, peeking, waiting));
}

TEST_F(async_handle, closes_the_handle_when_the_time_is_over)
{
    start(endless());
    EXPECT_EQ(error_of_wait(), error_internet_timeout);
    EXPECT_EQ(watched->last_error, error_internet_timeout);
    EXPECT_EQ(watched->handle, nullptr);
    EXPECT_EQ(watched->reference_count, 1u);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(script.log.count("InternetCloseHandle 102"), 1u);
}

TEST_F(async_handle, leaves_the_handle_open_while_it_closes)
{
    start(endless());
    EXPECT_EQ(error_of_wait(true), error_internet_timeout);
    EXPECT_EQ(watched->last_error, error_internet_timeout);
    EXPECT_NE(watched->handle, nullptr);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 0u);
}

TEST_F(async_handle, a_wait_that_fails_ends_like_one_that_takes_too_long)
{
    for (const bool closing : {false, true}) {
        start(pending());
        script.log.fail("MsgWaitForMultipleObjects", error_not_enough_memory, 1);
        EXPECT_EQ(error_of_wait(closing), error_not_enough_memory);
        EXPECT_EQ(watched->last_error, error_not_enough_memory);
        EXPECT_EQ(watched->handle != nullptr, closing);
        EXPECT_EQ(script.log.count("InternetCloseHandle"), closing ? 0u : 1u);
    }
}

TEST_F(async_handle, the_error_of_a_timeout_outlives_that_of_the_closing)
{
    start(endless());
    script.log.fail("InternetCloseHandle", error_io_pending);
    EXPECT_EQ(error_of_wait(), error_internet_timeout);
    EXPECT_EQ(watched->last_error, error_internet_timeout);
    EXPECT_EQ(watched->handle, nullptr);
}

TEST_F(async_handle, the_error_of_a_wait_outlives_that_of_a_closing_that_takes_too_long)
{
    start(endless());
    script.network.tells_closing = false;
    script.log.fail("InternetCloseHandle", error_io_pending);
    script.log.fail("MsgWaitForMultipleObjects", error_not_enough_memory, 1);
    EXPECT_EQ(error_of_wait(), error_not_enough_memory);
    EXPECT_EQ(watched->last_error, error_not_enough_memory);
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects"), 2u);
}

} // namespace
