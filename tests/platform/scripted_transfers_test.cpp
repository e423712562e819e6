#include "platform/last_error.h"

#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using cw::test_support::endless;
using cw::test_support::failed;
using cw::test_support::pending;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

/// What a callback is told, by number; of the statuses that mean something alone.
struct listener {
    std::vector<std::string> told;
    event_handle completed = current().waits->create_event(false, false);

    static void hear(transfer_handle handle, void* context, std::uint32_t status, const void* information,
                     std::uint32_t size)
    {
        auto& self = *static_cast<listener*>(context);
        ASSERT_EQ(size, sizeof(async_result));
        const auto& result = *static_cast<const async_result*>(information);
        if (status != status_handle_created && status != status_handle_closing && status != status_request_complete)
            return;
        self.told.push_back(std::to_string(reinterpret_cast<std::uintptr_t>(handle)) + " " + std::to_string(status) +
                            " " + std::to_string(result.result) + " " + std::to_string(result.error));
        if (status == status_request_complete)
            current().waits->set_event(self.completed);
    }
};

class scripted_transfers : public testing::Test {
protected:
    scripted_services script;
    cw::platform::transfers& network = *current().network;
    listener heard;
    transfer_handle session = network.open_session(u"agent", 0, nullptr, u"", 0x10);

    scripted_transfers() { network.set_status_callback(session, &listener::hear); }
    transfer_handle open(const char16_t* headers = u"")
    {
        return network.open_url(session, u"http://h/a", headers, 0xFFFFFFFF, 0x100, &heard);
    }
    std::uint32_t wait() { return current().waits->wait(1, &heard.completed, false, 500, wake_for_all_input); }
    static transfer_handle handle(std::uintptr_t number) { return reinterpret_cast<transfer_handle>(number); }
    std::uint32_t number(transfer_handle request, std::uint32_t what)
    {
        std::uint32_t value = 0xFFFFFFFF;
        std::uint32_t size = sizeof value;
        set_last_error(0);
        network.query_info(request, what | query_as_number, &value, &size, nullptr);
        return value;
    }
    std::string read(transfer_handle request, std::uint32_t size)
    {
        char bytes[64];
        std::uint32_t count = 0;
        set_last_error(0);
        network.read(request, bytes, size, &count);
        return {bytes, count};
    }
};

TEST_F(scripted_transfers, sessions_open_and_close)
{
    EXPECT_EQ(session, handle(101));
    EXPECT_EQ(script.network.next_handle(), handle(102));
    EXPECT_TRUE(script.network.is_open(session));
    EXPECT_EQ(network.set_status_callback(session, nullptr), &listener::hear);
    script.log.fail("InternetCloseHandle", 6, 1);
    EXPECT_FALSE(network.close(session));
    EXPECT_EQ(script.network.open_handles(), 1u);
    EXPECT_TRUE(network.close(session));
    EXPECT_EQ(script.network.open_handles(), 0u);
    set_last_error(0);
    EXPECT_FALSE(network.close(session));
    EXPECT_EQ(get_last_error(), error_invalid_handle);
    EXPECT_EQ(network.set_status_callback(session, nullptr), invalid_status_callback);
    script.log.fail("InternetOpenW", 12029);
    EXPECT_EQ(network.open_session(u"b", 3, u"proxy:80", u"<local>", 0), nullptr);
    EXPECT_EQ(get_last_error(), 12029u);
    EXPECT_EQ(script.log.lines.front(), "InternetOpenW agent 0 null \"\" 0x00000010");
    EXPECT_EQ(script.log.lines.back(), "InternetOpenW b 3 proxy:80 <local> 0x00000000");
    script.log.fail("InternetSetStatusCallbackW", 5);
    EXPECT_EQ(network.set_status_callback(session, nullptr), invalid_status_callback);
    EXPECT_EQ(get_last_error(), 5u);
}

TEST_F(scripted_transfers, a_request_is_done_at_once_unless_told)
{
    script.network.answer.body = "hello";
    const transfer_handle request = open();
    EXPECT_EQ(request, handle(102));
    EXPECT_THAT(heard.told, ElementsAre("102 60 102 0"));
    EXPECT_EQ(number(request, query_status_code), 200u);
    EXPECT_EQ(number(request, query_content_length), 5u);
    EXPECT_EQ(read(request, 3), "hel");
    EXPECT_EQ(read(request, 30), "lo");
    EXPECT_EQ(read(request, 30), "");
    EXPECT_EQ(get_last_error(), 0u);
    EXPECT_TRUE(network.close(request));
    EXPECT_EQ(heard.told.back(), "102 70 102 0");
    EXPECT_EQ(read(request, 1), "");
    EXPECT_EQ(get_last_error(), error_invalid_handle);
    EXPECT_EQ(script.log.lines[2], "InternetOpenUrlW 101 http://h/a \"\" 0x00000100");
}

TEST_F(scripted_transfers, answers_come_in_order_and_from_the_range_on)
{
    script.network.answers = {{.status = 404}, {.body = "0123456789"}, {.body = "0123456789", .keeps_to_range = false}};
    EXPECT_EQ(number(open(), query_status_code), 404u);
    const transfer_handle request = open(u"Range: bytes=7-\r\nA: b");
    EXPECT_EQ(number(request, query_content_length), 3u);
    EXPECT_EQ(read(request, 30), "789");
    EXPECT_EQ(script.log.count("InternetOpenUrlW 101 http://h/a Range: bytes=7-\r\nA: b 0x00000100"), 1u);
    EXPECT_EQ(read(open(u"Range: bytes=7-"), 30), "0123456789");
    script.network.answer = {.status = std::nullopt, .tells_length = false};
    const transfer_handle silent = open();
    EXPECT_EQ(number(silent, query_status_code), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), error_http_header_not_found);
    EXPECT_EQ(number(silent, query_content_length), 0xFFFFFFFFu);
    script.network.answer.tells_length = true;
    script.network.answer.length = 77;
    EXPECT_EQ(number(open(), query_content_length), 77u);
}

TEST_F(scripted_transfers, a_request_fails_at_once)
{
    script.network.requests = {failed(12007)};
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(get_last_error(), 12007u);
    script.log.fail("InternetOpenUrlW", 87);
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(get_last_error(), 87u);
    EXPECT_THAT(heard.told, IsEmpty());
    EXPECT_EQ(script.network.open_handles(), 1u);
}

TEST_F(scripted_transfers, a_request_ends_while_somebody_waits)
{
    script.network.requests = {pending(), pending(12029).here(), pending(12007).with_result(5)};
    for (const char* end : {"102 100 1 0", "103 100 0 12029", "104 100 5 12007"}) {
        EXPECT_EQ(open(), nullptr);
        EXPECT_EQ(get_last_error(), error_io_pending);
        EXPECT_EQ(wait(), wait_object);
        script.waits.join();
        EXPECT_EQ(heard.told.back(), end);
    }
    EXPECT_EQ(heard.told.size(), 6u);
    EXPECT_EQ(number(handle(102), query_status_code), 200u);
    EXPECT_EQ(number(handle(103), query_status_code), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_state);
}

TEST_F(scripted_transfers, the_handle_of_a_pending_request_can_be_told_late_or_never)
{
    auto late = pending();
    late.tells_handle_late = true;
    auto never = pending(12007);
    never.tells_handle = false;
    script.network.requests = {late, never};
    EXPECT_EQ(open(), nullptr);
    EXPECT_THAT(heard.told, IsEmpty());
    EXPECT_EQ(wait(), wait_object);
    script.waits.join();
    EXPECT_THAT(heard.told, ElementsAre("102 60 102 0", "102 100 1 0"));
    heard.told.clear();
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(wait(), wait_object);
    script.waits.join();
    EXPECT_THAT(heard.told, ElementsAre("103 100 0 12007"));
}

TEST_F(scripted_transfers, a_request_never_ends)
{
    script.network.requests = {endless(), pending()};
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(get_last_error(), error_io_pending);
    EXPECT_EQ(wait(), wait_timeout);
    EXPECT_EQ(open(), nullptr);
    EXPECT_TRUE(network.close(handle(103))); // what is pending on it ends
    EXPECT_EQ(wait(), wait_timeout);
    EXPECT_THAT(heard.told, ElementsAre("102 60 102 0", "103 60 103 0", "103 70 103 0"));
}

TEST_F(scripted_transfers, reads_follow_their_steps)
{
    script.network.answer.body = "0123456789";
    script.network.reads = {cw::test_support::done().at_most(2), pending().at_most(3), pending(12031), failed(12030),
                            endless()};
    const transfer_handle request = open();
    EXPECT_EQ(read(request, 10), "01");
    char bytes[10] = {};
    std::uint32_t count = 7;
    EXPECT_FALSE(network.read(request, bytes, 10, &count));
    EXPECT_EQ(get_last_error(), error_io_pending);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(wait(), wait_object);
    script.waits.join();
    EXPECT_EQ(std::string(bytes, count), "234");
    EXPECT_FALSE(network.read(request, bytes, 10, &count));
    EXPECT_EQ(wait(), wait_object);
    script.waits.join();
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(heard.told.back(), "102 100 0 12031");
    EXPECT_EQ(read(request, 4), "");
    EXPECT_EQ(get_last_error(), 12030u);
    EXPECT_EQ(read(request, 4), "");
    EXPECT_EQ(get_last_error(), error_io_pending);
    EXPECT_EQ(read(request, 64), "56789");
    script.log.fail("InternetReadFile 1", 9);
    EXPECT_EQ(read(request, 1), "");
    EXPECT_EQ(get_last_error(), 9u);
}

TEST_F(scripted_transfers, requests_go_over_connections)
{
    const transfer_handle connection = network.connect(session, u"host", 443, u"", u"pass", 3, 0, &heard);
    EXPECT_EQ(network.open_request(session, u"GET", u"/a", nullptr, nullptr, nullptr, 0, &heard), nullptr);
    EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_type);
    const transfer_handle request =
        network.open_request(connection, u"GET", u"/a", nullptr, nullptr, nullptr, 0x800000, &heard);
    EXPECT_THAT(heard.told, ElementsAre("102 60 102 0", "103 60 103 0"));
    EXPECT_EQ(number(request, query_status_code), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_state);
    script.network.answer.body = "0123";
    EXPECT_TRUE(network.send_request(request, u"Range: bytes=1-xyz", 15, nullptr, 0));
    EXPECT_EQ(read(request, 9), "123");
    EXPECT_TRUE(network.send_request(request, nullptr, 0, nullptr, 0));
    EXPECT_EQ(read(request, 9), "0123");
    script.network.requests = {failed(12029)};
    EXPECT_FALSE(network.send_request(request, u"", 0, nullptr, 0));
    EXPECT_EQ(get_last_error(), 12029u);
    EXPECT_THAT(script.log.of({"InternetConnect", "HttpOpen", "HttpSend"}),
                ElementsAre("InternetConnectW 101 host 443 \"\" pass 3 0x00000000",
                            "HttpOpenRequestW 101 GET /a null null null 0x00000000",
                            "HttpOpenRequestW 102 GET /a null null null 0x00800000",
                            "HttpSendRequestW 103 Range: bytes=1-", "HttpSendRequestW 103 null",
                            "HttpSendRequestW 103 \"\""));
    script.log.fail("InternetConnectW", 1);
    script.log.fail("HttpOpenRequestW", 2);
    script.log.fail("HttpSendRequestW", 3);
    EXPECT_EQ(network.connect(session, u"host", 443, u"", u"", 3, 0, &heard), nullptr);
    EXPECT_EQ(get_last_error(), 1u);
    EXPECT_EQ(network.open_request(connection, u"GET", u"/a", nullptr, nullptr, nullptr, 0, &heard), nullptr);
    EXPECT_EQ(get_last_error(), 2u);
    EXPECT_FALSE(network.send_request(request, u"", 0, nullptr, 0));
    EXPECT_EQ(get_last_error(), 3u);
}

TEST_F(scripted_transfers, a_closing_can_be_pending)
{
    const transfer_handle request = open();
    script.log.fail("InternetCloseHandle 102", error_io_pending);
    EXPECT_FALSE(network.close(request));
    EXPECT_EQ(get_last_error(), error_io_pending);
    EXPECT_FALSE(script.network.is_open(request));
    EXPECT_EQ(heard.told.size(), 1u);
    EXPECT_EQ(wait(), wait_timeout); // nobody signals this event
    EXPECT_EQ(heard.told.back(), "102 70 102 0");
    script.network.tells_closing = false;
    script.log.fail("InternetCloseHandle 103", error_io_pending);
    EXPECT_FALSE(network.close(open()));
    EXPECT_EQ(wait(), wait_timeout);
    EXPECT_EQ(heard.told.back(), "103 60 103 0");
}

TEST_F(scripted_transfers, dates_are_told_as_system_times)
{
    script.network.answer.modified = system_time{2024, 2, 4, 29, 12, 30, 0, 0};
    const transfer_handle request = open();
    system_time told;
    std::uint32_t size = sizeof told;
    EXPECT_TRUE(network.query_info(request, query_last_modified | query_as_system_time, &told, &size, nullptr));
    EXPECT_EQ(told.day, 29u);
    size = 2;
    EXPECT_FALSE(network.query_info(request, query_last_modified | query_as_system_time, &told, &size, nullptr));
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    script.log.fail("HttpQueryInfoW 0x20000013", 5);
    EXPECT_EQ(number(request, query_status_code), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), 5u);
}

TEST_F(scripted_transfers, addresses_are_taken_apart_in_two_calls)
{
    const std::u16string url = u"HTTPS://me:p@host:8443/dir/a?x#y";
    url_components parts;
    ASSERT_TRUE(network.crack_url(url.c_str(), 0, 0, &parts));
    EXPECT_EQ(parts.scheme, url_scheme_https);
    EXPECT_EQ(parts.port, 8443u);
    EXPECT_EQ(parts.host.length, 4u);
    char16_t host[5];
    char16_t extra[5];
    parts.host = {host, 5};
    parts.extra = {extra, 5};
    ASSERT_TRUE(network.crack_url(url.c_str(), static_cast<std::uint32_t>(url.size()), 0, &parts));
    EXPECT_EQ(std::u16string(host), u"host");
    EXPECT_EQ(std::u16string(extra), u"?x#y");
    EXPECT_EQ(parts.user.length, 2u);
    EXPECT_EQ(parts.password.length, 1u);
    EXPECT_EQ(parts.path.length, 6u);
    EXPECT_EQ(parts.scheme_name.length, 5u);
    parts.host = {host, 4};
    EXPECT_FALSE(network.crack_url(url.c_str(), 0, 0, &parts));
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    url_components plain;
    EXPECT_TRUE(network.crack_url(u"http://h", 0, 0, &plain));
    EXPECT_EQ(plain.port, 80u);
    EXPECT_EQ(plain.path.length, 0u);
    EXPECT_TRUE(network.crack_url(u"mail://h/@", 0, 0, &plain));
    EXPECT_EQ(plain.scheme, url_scheme_unknown);
    EXPECT_EQ(plain.user.length, 0u);
    EXPECT_FALSE(network.crack_url(u"h", 0, 0, &plain));
    EXPECT_EQ(get_last_error(), error_internet_unrecognized_scheme);
    EXPECT_EQ(script.log.lines.back(), "InternetCrackUrlW 1");
}

TEST_F(scripted_transfers, addresses_become_canonical)
{
    char16_t target[8];
    std::uint32_t length = 8;
    EXPECT_TRUE(network.canonicalize_url(u"http:", target, &length, 0x12000000));
    EXPECT_EQ(std::u16string(target, length), u"http:");
    length = 5;
    EXPECT_FALSE(network.canonicalize_url(u"http:", target, &length, 0));
    EXPECT_EQ(length, 6u);
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    script.network.rooms_wanted = {100};
    length = 8;
    EXPECT_FALSE(network.canonicalize_url(u"http:", target, &length, 0));
    EXPECT_EQ(length, 100u);
    script.network.canonical = u"other";
    length = 8;
    EXPECT_TRUE(network.canonicalize_url(u"http:", target, &length, 0));
    EXPECT_EQ(std::u16string(target, length), u"other");
    script.log.fail("InternetCanonicalizeUrlW", 12005);
    EXPECT_FALSE(network.canonicalize_url(u"http:", target, &length, 0));
    EXPECT_EQ(get_last_error(), 12005u);
    EXPECT_EQ(script.log.count("InternetCanonicalizeUrlW 8 0x12000000"), 1u);
}

TEST_F(scripted_transfers, tell_of_the_system_and_ask_the_person)
{
    transfer_version version;
    std::uint32_t size = sizeof version;
    script.network.minor_version = 1;
    EXPECT_TRUE(network.query_option(nullptr, option_version, &version, &size));
    EXPECT_EQ(version.minor, 1u);
    std::uint32_t flags = 0;
    EXPECT_TRUE(network.connected_state(&flags));
    EXPECT_EQ(flags, connection_lan);
    script.network.is_connected = false;
    script.network.connection_flags = connection_modem;
    EXPECT_FALSE(network.connected_state(&flags));
    EXPECT_EQ(flags, connection_modem);
    EXPECT_TRUE(network.autodial(1, nullptr));
    script.log.fail("InternetAutodial", 668);
    EXPECT_FALSE(network.autodial(1, nullptr));
    EXPECT_EQ(get_last_error(), 668u);
    script.network.dialog_answers = {7};
    EXPECT_EQ(network.error_dialog(nullptr, handle(9), 12007, 7, nullptr), 7u);
    EXPECT_EQ(network.error_dialog(nullptr, handle(9), 12007, 7, nullptr), error_cancelled);
    EXPECT_EQ(script.log.lines.back(), "InternetErrorDlg 0 9 12007 0x00000007");
    script.network.response_error = 3;
    script.network.response_text = u"no";
    char16_t text[3];
    std::uint32_t length = 3;
    EXPECT_TRUE(network.last_response(&flags, text, &length));
    EXPECT_EQ(flags, 3u);
    EXPECT_EQ(std::u16string(text, length), u"no");
    script.log.fail("InternetGetLastResponseInfoW 3", 8);
    length = 3;
    EXPECT_FALSE(network.last_response(&flags, text, &length));
    script.log.fail("InternetQueryOptionW", 4);
    EXPECT_FALSE(network.query_option(nullptr, option_version, &version, &size));
    EXPECT_EQ(get_last_error(), 4u);
}

} // namespace
