#include "fileio/inet_file.h"

#include "tests/fileio/transfer_files.h"
#include "tests/foundation/printing.h"

#include <gmock/gmock.h>

namespace {

using cw::inet_file;
using cw::string;
using cw::test_support::endless;
using cw::test_support::failed;
using cw::test_support::pending;
using cw::test_support::plain_file;
using cw::test_support::scripted_error_handler;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

constexpr std::uint32_t force_retry = error_internet_force_retry;

class inet_file_test : public cw::test_support::plain_file_test {};

TEST_F(inet_file_test, starts_at_the_start_of_nothing)
{
    EXPECT_EQ(file.handle, nullptr);
    EXPECT_EQ(file.url, u"");
    EXPECT_EQ(file.extra_headers, u"");
    EXPECT_EQ(file.header_text, u"");
    for (const std::uint32_t number :
         {file.start_offset, file.position, file.open_flags, file.window_bytes, file.window_micro, file.window_ms,
          file.next_bytes, file.next_micro, file.next_ms, file.window_started, file.retry_count})
        EXPECT_EQ(number, 0u);
    EXPECT_EQ(file.max_retries, 5u);
    EXPECT_EQ(file.autodial_flags, autodial_force_online);
    EXPECT_EQ(file.owner_window, desktop_window);
    EXPECT_EQ(file.error_handler, nullptr);
    EXPECT_EQ(file.timer_frequency, 1'000'000);
    EXPECT_TRUE(file.has_performance_counter);
    ASSERT_NE(file.connection, nullptr);
    EXPECT_EQ(file.connection->handle, nullptr);
    EXPECT_EQ(file.connection->reference_count, 1u);
    EXPECT_EQ(file.host_name, u"");
    EXPECT_EQ(file.session.shared_count->load(), 1u);
}

TEST_F(inet_file_test, counts_ticks_where_there_is_no_counter)
{
    script.log.fail("QueryPerformanceFrequency", error_invalid_parameter);
    const plain_file made;
    EXPECT_EQ(made.timer_frequency, 1000);
    EXPECT_FALSE(made.has_performance_counter);
    script.log.fail_nothing();
    script.time.frequency = 0;
    EXPECT_EQ(plain_file().timer_frequency, 1000);
    EXPECT_FALSE(plain_file().has_performance_counter);
}

TEST_F(inet_file_test, reads_every_answer_and_has_a_hook_that_does_nothing)
{
    script.log.lines.clear();
    EXPECT_TRUE(file.inet_file::check_status());
    file.reserved_hook();
    EXPECT_THAT(script.log.lines, IsEmpty());
}

// --- taking an address ---

TEST_F(inet_file_test, takes_an_address_without_sending_anything)
{
    script.log.lines.clear();
    file.window_bytes = file.window_micro = file.window_ms = 7;
    file.next_bytes = file.next_micro = file.next_ms = 7;
    EXPECT_TRUE(file.open(string(u"http://h/a"), string(u"Accept: x"), usual_flags));
    EXPECT_THAT(script.log.lines,
                ElementsAre("InternetSetStatusCallbackW 101", "InternetCanonicalizeUrlW 30 0x12000000"));
    EXPECT_EQ(file.url, u"http://h/a");
    EXPECT_EQ(file.extra_headers, u"Accept: x");
    EXPECT_EQ(file.open_flags, usual_flags);
    for (const std::uint32_t number :
         {file.window_bytes, file.window_micro, file.window_ms, file.next_bytes, file.next_micro, file.next_ms})
        EXPECT_EQ(number, 0u);
}

TEST_F(inet_file_test, takes_no_address_where_nobody_can_be_told)
{
    script.log.fail("InternetSetStatusCallbackW", error_invalid_handle);
    script.log.lines.clear();
    EXPECT_FALSE(file.open(string(u"http://h/a"), string(), usual_flags));
    EXPECT_EQ(get_last_error(), error_invalid_handle);
    EXPECT_THAT(script.log.lines, ElementsAre("InternetSetStatusCallbackW 101"));
    EXPECT_EQ(file.open_flags, 0u);
    EXPECT_EQ(file.url, u"");
}

TEST_F(inet_file_test, gives_the_canonical_address_the_room_that_it_wants)
{
    script.network.rooms_wanted = {50, 70};
    script.network.canonical = u"http://h/b";
    EXPECT_TRUE(file.open(string(u"http://h/a"), string(), 0));
    EXPECT_EQ(file.url, u"http://h/b");
    EXPECT_THAT(script.log.of({"InternetCanonicalizeUrlW"}),
                ElementsAre("InternetCanonicalizeUrlW 30 0x12000000", "InternetCanonicalizeUrlW 50 0x12000000",
                            "InternetCanonicalizeUrlW 70 0x12000000"));
}

TEST_F(inet_file_test, gives_more_room_to_who_wants_no_more)
{
    script.network.rooms_wanted = {30, 5};
    EXPECT_TRUE(file.open(string(u"http://h/a"), string(), 0));
    EXPECT_EQ(file.url, u"http://h/a");
    EXPECT_THAT(script.log.of({"InternetCanonicalizeUrlW"}),
                ElementsAre("InternetCanonicalizeUrlW 30 0x12000000", "InternetCanonicalizeUrlW 31 0x12000000",
                            "InternetCanonicalizeUrlW 32 0x12000000"));
}

TEST_F(inet_file_test, takes_no_address_that_has_no_canonical_form)
{
    script.network.rooms_wanted = {50};
    script.log.fail("InternetCanonicalizeUrlW", error_internet_invalid_url, 2);
    EXPECT_FALSE(file.open(string(u"http://h/a"), string(), 0));
    EXPECT_EQ(get_last_error(), error_internet_invalid_url);
    EXPECT_EQ(script.log.count("InternetCanonicalizeUrlW"), 2u);

    script.log.fail_nothing();
    open();
    script.log.fail("InternetCanonicalizeUrlW", error_internet_invalid_url);
    EXPECT_FALSE(file.open(string(u"http://h/b"), string(), 0));
    EXPECT_EQ(file.url, u""); // nobody reads the address of before for it
}

TEST_F(inet_file_test, keeps_slashes_of_a_password_from_splitting_the_address)
{
    struct row {
        const char16_t* address;
        const char16_t* canonical;
        const char16_t* url;
    };
    for (const row& expected : {
             row{u"http://me:p%2Fq@h/x", u"http://me:p/q@h/x", u"http://me:p\\q@h/x"},
             row{u"http://me:%2F%2F@h/x/y@z", u"http://me://@h/x/y@z", u"http://me:\\\\@h/x/y@z"},
             row{u"http://@h/x", u"http://@h/x", u"http://@h/x"},
             // An "@" from the third slash on belongs to the path.
             row{u"http://h/x@y", u"http://h/x@y", u"http://h/x@y"},
             row{u"http://me:p/q@h/x", u"http://me:p/q@h/x", u"http://me:p/q@h/x"},
             row{u"http://h", u"http://h/", u"http://h/"},
         }) {
        script.network.canonical = expected.canonical;
        EXPECT_TRUE(file.open(string(expected.address), string(), 0));
        EXPECT_EQ(file.url, string(expected.url));
    }
}

TEST_F(inet_file_test, takes_another_address_from_its_start)
{
    open();
    file.position = 40;
    EXPECT_TRUE(file.connect());
    EXPECT_TRUE(file.open(string(u"http://h/b"), string(), usual_flags));
    EXPECT_EQ(file.position, 0u);
    EXPECT_EQ(file.start_offset, 0u);
    EXPECT_EQ(file.header_text, u"");
    EXPECT_TRUE(file.connect());
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a Range: bytes=40- 0x80400100",
                                        "InternetCloseHandle 102", "InternetOpenUrlW 101 http://h/b \"\" 0x80400100"));
}

// --- connecting ---

TEST_F(inet_file_test, connects_once)
{
    open();
    EXPECT_TRUE(file.connect());
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x80400100"));
    EXPECT_EQ(file.handle, reinterpret_cast<transfer_handle>(102));
    EXPECT_EQ(file.reference_count, 2u);
    EXPECT_TRUE(file.connect());
    EXPECT_THAT(requests(), IsEmpty());
    EXPECT_EQ(file.retry_count, 0u);
}

TEST_F(inet_file_test, connects_in_the_end_of_what_is_pending)
{
    open();
    auto late = pending();
    late.tells_handle_late = true;
    for (const auto& step : {pending(), pending().here(), late, pending().with_result(999)}) {
        script.network.requests = {step};
        EXPECT_TRUE(file.connect());
        EXPECT_NE(file.handle, nullptr);
        EXPECT_EQ(file.last_error, 0u);
        file.close_handle();
    }
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects"), 4u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 0u);
}

TEST_F(inet_file_test, tries_six_times)
{
    open();
    always_retry();
    script.network.requests.assign(7, failed(error_internet_name_not_resolved));
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(get_last_error(), error_internet_name_not_resolved);
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 6u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 6u);
    EXPECT_EQ(file.retry_count, 6u);
    file.max_retries = 0;
    script.log.lines.clear();
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);
    EXPECT_TRUE(file.connect());
    EXPECT_EQ(file.retry_count, 0u);
}

TEST_F(inet_file_test, sends_a_request_again_that_it_has)
{
    open(u"http://h/a", u"Accept: x");
    always_retry();
    script.network.requests = {pending(error_internet_cannot_connect), failed(12030), pending()};
    EXPECT_TRUE(file.connect());
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a Accept: x 0x80400100",
                                        "HttpSendRequestW 102 Accept: x", "HttpSendRequestW 102 Accept: x"));
    EXPECT_EQ(file.retry_count, 2u);
}

TEST_F(inet_file_test, makes_a_request_anew_after_a_timeout)
{
    open();
    always_retry();
    script.network.requests = {endless()};
    EXPECT_TRUE(file.connect());
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x80400100", "InternetCloseHandle 102",
                                        "InternetOpenUrlW 101 http://h/a \"\" 0x80400100"));
    EXPECT_EQ(file.reference_count, 2u);
}

TEST_F(inet_file_test, waits_as_long_as_it_is_told_and_for_nothing_of_the_past)
{
    open();
    file.timeout_ms = 800;
    current().waits->set_event(file.completed_event);
    script.network.requests = {endless()};
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(get_last_error(), error_internet_timeout);
    EXPECT_EQ(file.last_error, error_internet_timeout);
    EXPECT_EQ(script.log.count("MsgWaitForMultipleObjects " + std::to_string(file.completed_event) + " 800 0x000004FF"),
              1u);

    // The same for what is sent again.
    scripted_error_handler handler;
    handler.answers = {force_retry, error_cancelled};
    handler.when_asked = [&] { current().waits->set_event(file.completed_event); };
    file.error_handler = &handler;
    script.network.requests = {pending(12029), endless()};
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(get_last_error(), error_internet_timeout);
}

TEST_F(inet_file_test, asks_whether_the_answer_can_be_read)
{
    open();
    file.status_is_good = false;
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 1u);
    EXPECT_EQ(file.handle, nullptr); // a refused answer is not kept
    script.network.dialog_answers = {force_retry};
    file.max_retries = 1;
    file.close_handle();
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(script.log.count("HttpSendRequestW"), 1u);
}

// --- what to do about an error ---

TEST_F(inet_file_test, lets_a_person_decide)
{
    open();
    file.last_error = 12007;
    for (const auto& [answer, taken] :
         {std::pair{1223u, 1223u}, {12032u, 12032u}, {0u, 12032u}, {12007u, 12032u}, {0xFFFFFFFFu, 12032u}}) {
        script.network.dialog_answers = {answer};
        set_last_error(77);
        EXPECT_EQ(file.handle_error(), taken) << answer;
        EXPECT_EQ(get_last_error(), 77u);
    }
    EXPECT_EQ(script.log.lines.back(), "InternetErrorDlg 0 0 12007 0x00000007");
    int window = 0;
    file.owner_window = &window;
    EXPECT_TRUE(file.connect());
    file.handle_error();
    EXPECT_EQ(script.log.lines.back(), "InternetErrorDlg " + std::to_string(reinterpret_cast<std::uintptr_t>(&window)) +
                                           " 102 12007 0x00000007");
}

TEST_F(inet_file_test, asks_its_handler_first)
{
    scripted_error_handler handler;
    file.error_handler = &handler;
    handler.when_asked = [] { set_last_error(5); };
    script.network.dialog_answers = {1223, 12032};
    for (const auto& [answer, taken, dialogs] :
         {std::tuple{12032u, 12032u, 0u}, {1223u, 1223u, 0u}, {0u, 1223u, 1u}, {12007u, 12032u, 1u}}) {
        script.log.lines.clear();
        handler.answers = {answer};
        set_last_error(77);
        EXPECT_EQ(file.handle_error(), taken) << answer;
        EXPECT_EQ(get_last_error(), 77u);
        EXPECT_EQ(script.log.count("InternetErrorDlg"), dialogs) << answer;
    }
    EXPECT_THAT(handler.asked, ElementsAre(&file, &file, &file, &file));
}

TEST_F(inet_file_test, stops_when_it_is_told_to_give_up)
{
    open();
    script.network.requests.assign(3, failed(12007));
    script.network.dialog_answers = {12032, 1223, 12032};
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 2u);
    EXPECT_EQ(file.retry_count, 1u);
    scripted_error_handler handler;
    handler.otherwise = 1223;
    file.error_handler = &handler;
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 3u);
    EXPECT_EQ(get_last_error(), 12007u);
}

// --- what a request is made of ---

TEST_F(inet_file_test, dials_where_there_is_something_to_dial)
{
    struct row {
        bool is_connected;
        std::uint32_t flags;
        bool dials;
    };
    open();
    for (const row& expected : {row{false, 0x01, true}, row{false, 0x40, true}, row{false, 0x43, true},
                                row{false, 0x02, false}, row{false, 0, false}, row{true, 0x41, false}}) {
        SCOPED_TRACE(expected.flags);
        script.network.is_connected = expected.is_connected;
        script.network.connection_flags = expected.flags;
        script.log.lines.clear();
        EXPECT_TRUE(file.connect());
        EXPECT_EQ(script.log.lines[0], "InternetGetConnectedState");
        EXPECT_EQ(script.log.count("InternetAutodial"), expected.dials ? 1u : 0u);
        EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);
        file.close_handle();
    }
}

TEST_F(inet_file_test, sends_nothing_where_dialling_fails)
{
    open();
    script.network.is_connected = false;
    script.network.connection_flags = connection_modem;
    script.log.fail("InternetAutodial", 668);
    file.autodial_flags = 3;
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(get_last_error(), 668u);
    EXPECT_EQ(file.last_error, 668u);
    EXPECT_THAT(script.log.lines, ElementsAre("InternetGetConnectedState", "InternetAutodial 3 0",
                                              "InternetErrorDlg 0 0 668 0x00000007"));
}

TEST_F(inet_file_test, asks_for_what_lies_behind_the_position)
{
    struct row {
        std::uint32_t position;
        const char16_t* headers;
        const char* sent;
    };
    for (const row& expected :
         {row{0, u"", "\"\""}, row{0, u"Accept: x", "Accept: x"}, row{500, u"", "Range: bytes=500-"},
          row{500, u"Accept: x", "Range: bytes=500-\r\nAccept: x"}, row{0x90000000, u"", "Range: bytes=2415919104-"},
          row{0x90000000, u"Accept: x", "Range: bytes=2415919104-\r\nAccept: x"}}) {
        open(u"http://h/a", expected.headers, 0);
        file.position = expected.position;
        file.start_offset = 7; // of a request that is long gone
        EXPECT_TRUE(file.connect());
        EXPECT_THAT(requests(),
                    ElementsAre("InternetOpenUrlW 101 http://h/a " + std::string(expected.sent) + " 0x00000000"));
        EXPECT_EQ(file.start_offset, expected.position);
        file.position += 10;
        EXPECT_TRUE(file.connect());
        EXPECT_EQ(file.start_offset, expected.position); // the request that is open started there
        file.close_handle();
    }
}

TEST_F(inet_file_test, sends_again_for_the_place_where_the_request_started)
{
    open();
    always_retry();
    file.position = 500;
    script.network.requests = {pending(12030)};
    EXPECT_TRUE(file.connect());
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a Range: bytes=500- 0x80400100",
                                        "HttpSendRequestW 102 Range: bytes=500-"));
}

TEST_F(inet_file_test, does_without_a_flag_that_is_refused)
{
    open();
    script.log.fail("InternetOpenUrlW", error_invalid_parameter, 1);
    EXPECT_TRUE(file.connect());
    EXPECT_THAT(requests(), ElementsAre("InternetOpenUrlW 101 http://h/a \"\" 0x80400100",
                                        "InternetOpenUrlW 101 http://h/a \"\" 0x80400000"));
    EXPECT_EQ(file.open_flags, 0x80400000u);
    EXPECT_EQ(script.log.count("InternetErrorDlg"), 0u);

    open(u"http://h/a", u"", 0x200);
    script.log.fail("InternetOpenUrlW", error_invalid_parameter);
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);
    open();
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 2u);
}

TEST_F(inet_file_test, keeps_the_flag_at_any_other_error)
{
    open();
    script.log.fail("InternetOpenUrlW", error_not_enough_memory);
    EXPECT_FALSE(file.connect());
    EXPECT_EQ(script.log.count("InternetOpenUrlW"), 1u);
    EXPECT_EQ(file.open_flags, usual_flags);
}

// --- the end ---

TEST_F(inet_file_test, forgets_its_address_and_keeps_its_session)
{
    open(u"https://h/a", u"Accept: x");
    file.position = 5;
    EXPECT_TRUE(file.connect());
    script.log.lines.clear();
    file.close_all();
    file.close_all();
    EXPECT_THAT(script.log.lines, ElementsAre("InternetCloseHandle 102", "InternetCloseHandle 103"));
    EXPECT_EQ(file.url, u"");
    EXPECT_EQ(file.extra_headers, u"");
    EXPECT_EQ(file.header_text, u"");
    EXPECT_EQ(file.host_name, u"");
    EXPECT_EQ(file.connection, nullptr);
    EXPECT_EQ(file.handle, nullptr);
    EXPECT_EQ(file.reference_count, 1u);
    EXPECT_EQ(file.start_offset, 0u);
    EXPECT_EQ(file.position, 0u);
    EXPECT_TRUE(script.network.is_open(file.session.handle));
    open(u"https://h/b");
    EXPECT_NE(file.connection, nullptr);
    EXPECT_TRUE(file.connect());
}

TEST_F(inet_file_test, a_connection_outlives_the_file_where_others_use_it)
{
    open(u"https://h/a");
    EXPECT_TRUE(file.connect());
    cw::wininet_async_handle* const connection = file.connection;
    EXPECT_EQ(connection->add_ref(), 3u);
    file.close_all();
    EXPECT_NE(connection->handle, nullptr);
    EXPECT_EQ(connection->release(), 1u);
    EXPECT_FALSE(script.network.is_open(reinterpret_cast<transfer_handle>(102)));
}

TEST_F(inet_file_test, closes_all_and_then_the_session_with_its_end)
{
    open(u"https://h/a");
    EXPECT_TRUE(file.connect());
    script.log.lines.clear();
    owner.reset();
    EXPECT_THAT(script.log.lines,
                ElementsAre("InternetCloseHandle 102", "InternetCloseHandle 103", "InternetCloseHandle 101"));
    EXPECT_EQ(script.network.open_handles(), 0u);
    EXPECT_EQ(script.waits.open_events(), 0u);
}

TEST_F(inet_file_test, goes_with_its_last_reference)
{
    open(u"https://h/a");
    EXPECT_TRUE(file.connect());
    owner.release()->release();
    EXPECT_EQ(script.network.open_handles(), 0u);
    EXPECT_EQ(script.waits.open_events(), 0u);
}

} // namespace
