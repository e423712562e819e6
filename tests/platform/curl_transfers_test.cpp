// The calls of transfers, against a real server.
#include "tests/platform/curl_client.h"
#include "tests/support/web_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

namespace {

using namespace cw::platform;
using cw::platform::test::curl_client;
using cw::platform::test::told_events;
using cw::test_support::web_request;
using cw::test_support::web_server;

class curl_transfers : public testing::Test {
protected:
    web_server server;
    curl_client client;

    std::uint32_t error_of_open(const std::u16string& url, const char16_t* headers = nullptr)
    {
        told_events events;
        set_last_error(0);
        EXPECT_EQ(client.network->open_url(client.session, url.c_str(), headers, headers ? 0xFFFFFFFF : 0, 0, &events),
                  nullptr);
        EXPECT_TRUE(events.all().empty());
        return get_last_error();
    }
    std::u16string told_of(const std::string& answer) { return server.wide_address("/raw/" + answer); }

    /// A connection and a request over it, with what they are told.
    std::pair<transfer_handle, transfer_handle> open_both(told_events& of_connection, told_events& of_request)
    {
        const transfer_handle connection =
            client.network->connect(client.session, u"localhost", 0, nullptr, nullptr, service_http, 0, &of_connection);
        return {connection,
                client.network->open_request(connection, nullptr, u"/", nullptr, nullptr, nullptr, 0, &of_request)};
    }
};

TEST_F(curl_transfers, opens_no_session_for_what_it_cannot_be)
{
    struct {
        std::uint32_t access;
        const char16_t* proxy;
        std::uint32_t flags;
    } constexpr rows[] = {
        {access_direct, nullptr, 0},
        {access_direct, nullptr, transfer_keep_connection},
        {2, nullptr, transfer_asynchronous},
        {4, u"host", transfer_asynchronous},
        {access_by_proxy, nullptr, transfer_asynchronous},
        {access_by_proxy, u"", transfer_asynchronous},
    };
    for (const auto& row : rows) {
        set_last_error(0);
        EXPECT_EQ(client.network->open_session(u"a", row.access, row.proxy, nullptr, row.flags), nullptr);
        EXPECT_EQ(get_last_error(), error_invalid_parameter) << row.access;
    }
    EXPECT_EQ(client.network->open_session(u"a\r\nb", 0, nullptr, nullptr, transfer_asynchronous), nullptr);
    const transfer_handle session = client.network->open_session(nullptr, 0, nullptr, nullptr, transfer_asynchronous);
    EXPECT_NE(session, nullptr);
    EXPECT_TRUE(client.network->close(session));
}

TEST_F(curl_transfers, knows_its_handles_and_their_kinds)
{
    transfers& network = *client.network;
    told_events of_connection;
    told_events of_request;
    const auto [connection, request] = open_both(of_connection, of_request);
    ASSERT_NE(request, nullptr);
    EXPECT_LT(client.session, connection);
    EXPECT_LT(connection, request);

    std::uint32_t number = 0;
    std::uint32_t size = sizeof number;
    char byte = 0;
    const auto error_of = [](bool is_done) { return is_done ? 0 : get_last_error(); };
    const transfer_handle unknown = reinterpret_cast<transfer_handle>(0x7777);
    for (const transfer_handle handle : {unknown, transfer_handle{}, client.session, connection}) {
        const std::uint32_t expected =
            handle == unknown || !handle ? error_invalid_handle : error_internet_incorrect_handle_type;
        EXPECT_EQ(error_of(network.send_request(handle, nullptr, 0, nullptr, 0)), expected);
        EXPECT_EQ(error_of(network.query_info(handle, query_status_code | query_as_number, &number, &size, nullptr)),
                  expected);
        EXPECT_EQ(error_of(network.read(handle, &byte, 1, &number)), expected);
    }
    for (const transfer_handle handle : {unknown, transfer_handle{}, connection, request}) {
        const std::uint32_t expected =
            handle == unknown || !handle ? error_invalid_handle : error_internet_incorrect_handle_type;
        EXPECT_EQ(network.connect(handle, u"h", 0, nullptr, nullptr, service_http, 0, nullptr), nullptr);
        EXPECT_EQ(get_last_error(), expected);
        EXPECT_EQ(network.open_url(handle, u"http://h/", nullptr, 0, 0, nullptr), nullptr);
        EXPECT_EQ(get_last_error(), expected);
        EXPECT_EQ(network.set_status_callback(handle, nullptr), invalid_status_callback);
        EXPECT_EQ(get_last_error(), expected);
    }
    EXPECT_EQ(network.open_request(client.session, nullptr, u"/", nullptr, nullptr, nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_type);

    EXPECT_TRUE(network.close(request));
    EXPECT_EQ(error_of(network.close(request)), error_invalid_handle);
    EXPECT_EQ(error_of(network.send_request(request, nullptr, 0, nullptr, 0)), error_invalid_handle);
    EXPECT_EQ(error_of(network.close(unknown)), error_invalid_handle);
    EXPECT_TRUE(network.close(connection));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(curl_transfers, tells_of_handles_on_the_callers_thread)
{
    transfers& network = *client.network;
    told_events of_connection;
    told_events of_request;
    const auto [connection, request] = open_both(of_connection, of_request);
    EXPECT_EQ(of_connection.handle(), connection);
    EXPECT_EQ(of_request.handle(), request);
    network.close(request);
    network.close(connection);
    for (told_events* events : {&of_connection, &of_request}) {
        const auto all = events->all();
        ASSERT_EQ(all.size(), 2U);
        EXPECT_EQ(all[0].status, status_handle_created);
        EXPECT_EQ(all[1].status, status_handle_closing);
        EXPECT_EQ(all[1].handle, all[0].handle);
        EXPECT_EQ(all[0].result.error, 0U);
        EXPECT_EQ(all[0].thread, std::this_thread::get_id());
        EXPECT_EQ(all[1].thread, std::this_thread::get_id());
    }
}

TEST_F(curl_transfers, tells_the_end_of_calls_on_another_thread)
{
    told_events events;
    ASSERT_EQ(
        client.network->open_url(client.session, server.wide_address("/gate/100/50").c_str(), nullptr, 0, 0, &events),
        nullptr);
    EXPECT_EQ(get_last_error(), error_io_pending);
    ASSERT_NE(events.handle(), nullptr);
    const auto opened = events.wait_for_end();
    ASSERT_TRUE(opened);
    EXPECT_EQ(reinterpret_cast<transfer_handle>(opened->result), events.handle());
    EXPECT_EQ(opened->error, 0U);

    std::array<char, 100> buffer{};
    std::uint32_t count = 0;
    EXPECT_FALSE(client.network->read(events.handle(), buffer.data(), buffer.size(), &count));
    EXPECT_EQ(get_last_error(), error_io_pending);
    // One call at a time.
    std::uint32_t other = 0;
    EXPECT_FALSE(client.network->read(events.handle(), buffer.data(), buffer.size(), &other));
    EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_state);
    EXPECT_FALSE(client.network->send_request(events.handle(), nullptr, 0, nullptr, 0));
    EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_state);
    server.release();
    const auto read = events.wait_for_end();
    ASSERT_TRUE(read);
    EXPECT_EQ(read->result, 1U);
    EXPECT_EQ(read->error, 0U);
    EXPECT_EQ(count, 100U);
    EXPECT_EQ(std::string(buffer.data(), count), web_server::content(0, 100));
    for (const told_events::event& event : events.all()) {
        const bool is_end = event.status == status_request_complete;
        EXPECT_EQ(event.thread != std::this_thread::get_id(), is_end);
    }

    EXPECT_EQ(client.send_again(events), 0U);
    EXPECT_EQ(events.all().back().result.result, 1U);
}

TEST_F(curl_transfers, gives_a_callback_to_what_is_made_later)
{
    told_events events;
    EXPECT_EQ(client.network->set_status_callback(client.session, nullptr), &told_events::on_status);
    const transfer_handle quiet =
        client.network->connect(client.session, u"h", 0, nullptr, nullptr, service_http, 0, &events);
    EXPECT_EQ(client.network->set_status_callback(client.session, &told_events::on_status), nullptr);
    EXPECT_TRUE(client.network->close(quiet));
    EXPECT_TRUE(events.all().empty());
}

TEST_F(curl_transfers, refuses_addresses_and_services_that_it_does_not_have)
{
    for (const char16_t* url :
         {u"ftp://host/", u"gopher://host/", u"file:///etc/passwd", u"xyz://host/", u"scp://host/"})
        EXPECT_EQ(error_of_open(url), error_internet_unrecognized_scheme);
    for (const char16_t* url : {u"", u"http://", u"http:///x", u"http://h:70000/", u"no scheme", u"http://h/\n",
                                u"http://u%0A@h/", u"http://h /"})
        EXPECT_EQ(error_of_open(url), error_internet_invalid_url);
    EXPECT_EQ(client.network->open_url(client.session, nullptr, nullptr, 0, 0, nullptr), nullptr);
    EXPECT_EQ(get_last_error(), error_internet_invalid_url);
    for (const std::uint32_t service : {0U, service_ftp, service_gopher, 4U}) {
        EXPECT_EQ(client.network->connect(client.session, u"h", 0, nullptr, nullptr, service, 0, nullptr), nullptr);
        EXPECT_EQ(get_last_error(), error_internet_unrecognized_scheme);
    }
    for (const char16_t* host : {u"", u"a/b", u"a b", u"u@h", u"h:1:"}) {
        EXPECT_EQ(client.network->connect(client.session, host, 0, nullptr, nullptr, service_http, 0, nullptr),
                  nullptr);
        EXPECT_EQ(get_last_error(), error_internet_invalid_url);
    }
}

TEST_F(curl_transfers, refuses_credentials_that_would_begin_a_header)
{
    for (const auto& [user, password] :
         {std::pair{u"a\r\nX: y", u"p"}, std::pair{u"u", u"p\n"}, std::pair{u"u\x7F", u""}}) {
        EXPECT_EQ(client.network->connect(client.session, u"h", 0, user, password, service_http, 0, nullptr), nullptr);
        EXPECT_EQ(get_last_error(), error_invalid_parameter);
    }
}

TEST_F(curl_transfers, refuses_headers_that_are_none)
{
    const std::u16string url = server.wide_address("/echo");
    for (const char16_t* headers : {u"no colon", u": no name", u"A: b\r\n\r\n", u"A: b\nC: d", u"A: \x7F", u"A b: c"})
        EXPECT_EQ(error_of_open(url, headers), error_invalid_parameter);
    told_events events;
    ASSERT_EQ(client.open(events, url), 0U);
    EXPECT_EQ(client.send_again(events, u"no colon"), error_invalid_parameter);
    EXPECT_FALSE(client.network->send_request(events.handle(), nullptr, 0, nullptr, 5));
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    client.close(events);
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(curl_transfers, sends_headers_agent_and_what_keeps_caches_away)
{
    std::string body;
    const std::u16string url = server.wide_address("/echo");
    ASSERT_EQ(client.fetch(url, body, u"X-One: 1\r\nX-Empty:\r\nX-Last: \u00E4\r\n"), 0U);
    ASSERT_EQ(client.fetch(url, body, u"X-One: 1\r\nX-Last: z"), 0U);
    ASSERT_EQ(client.fetch(url, body, nullptr, transfer_reload), 0U);
    ASSERT_EQ(client.fetch(url, body, nullptr, transfer_pragma_no_cache), 0U);
    const std::vector<web_request> requests = server.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[0].line, "GET /echo HTTP/1.1");
    EXPECT_EQ(requests[0].header("User-Agent"), "agent");
    EXPECT_EQ(requests[0].header("X-One"), "1");
    EXPECT_EQ(requests[0].header("X-Empty"), "");
    EXPECT_EQ(requests[0].header("X-Last"), "\xC3\xA4");
    EXPECT_EQ(requests[0].header("Pragma"), std::nullopt);
    EXPECT_EQ(requests[0].header("Accept-Encoding"), std::nullopt);
    EXPECT_EQ(requests[0].header("Cookie"), std::nullopt);
    EXPECT_EQ(requests[1].header("X-Last"), "z");
    EXPECT_EQ(requests[2].header("Cache-Control"), "no-cache");
    EXPECT_EQ(requests[3].header("Cache-Control"), std::nullopt);
    EXPECT_EQ(requests[3].header("Pragma"), "no-cache");
}

TEST_F(curl_transfers, takes_as_many_units_of_headers_as_it_is_told)
{
    told_events events;
    client.network->open_url(client.session, server.wide_address("/echo").c_str(), u"A: 1\r\nno header", 6, 0, &events);
    EXPECT_EQ(get_last_error(), error_io_pending);
    ASSERT_TRUE(events.wait_for_end());
    EXPECT_EQ(server.requests().at(0).header("A"), "1");
    client.close(events);
}

TEST_F(curl_transfers, sends_what_a_request_over_a_connection_says)
{
    told_events events;
    transfers& network = *client.network;
    const transfer_handle connection =
        network.connect(client.session, u"127.0.0.1", server.port(), nullptr, nullptr, service_http, 0, &events);
    const char16_t* const types[] = {u"text/plain", u"*/*", nullptr};
    const auto ask = [&](const char16_t* verb, const char16_t* object, const char16_t* version,
                         const std::string& body) {
        told_events of_request;
        const transfer_handle request =
            network.open_request(connection, verb, object, version, u"http://from/", types, 0, &of_request);
        EXPECT_NE(request, nullptr);
        EXPECT_FALSE(
            network.send_request(request, u"A: b", 0xFFFFFFFF, body.data(), static_cast<std::uint32_t>(body.size())));
        EXPECT_EQ(get_last_error(), error_io_pending);
        const auto end = of_request.wait_for_end();
        EXPECT_TRUE(end && end->result == 1);
        network.close(request);
    };
    ask(nullptr, u"/echo?q=1#fragment", nullptr, "");
    ask(u"HEAD", u"echo", u"HTTP/1.0", "");
    ask(u"POST", u"/echo", u"HTTP/1.1", "some\nbytes");
    ask(u"PUT", u"/echo/\u00E4 b", nullptr, "x");
    ask(u"DELETE", u"/echo", nullptr, "");
    const std::vector<web_request> requests = server.requests();
    ASSERT_EQ(requests.size(), 5U);
    EXPECT_EQ(requests[0].line, "GET /echo?q=1 HTTP/1.1");
    EXPECT_EQ(requests[0].header("Accept"), "text/plain, */*");
    EXPECT_EQ(requests[0].header("Referer"), "http://from/");
    EXPECT_EQ(requests[0].header("A"), "b");
    EXPECT_EQ(requests[1].line, "HEAD /echo HTTP/1.0");
    EXPECT_EQ(requests[2].line, "POST /echo HTTP/1.1");
    EXPECT_EQ(requests[2].body, "some\nbytes");
    EXPECT_EQ(requests[2].header("Content-Type"), std::nullopt);
    EXPECT_EQ(requests[3].line, "PUT /echo/%C3%A4%20b HTTP/1.1");
    EXPECT_EQ(requests[3].body, "x");
    EXPECT_EQ(requests[4].line, "DELETE /echo HTTP/1.1");

    EXPECT_EQ(network.open_request(connection, u"G T", u"/", nullptr, nullptr, nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_EQ(network.open_request(connection, nullptr, u"/", nullptr, u"\r\n", nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_EQ(network.open_request(connection, nullptr, u"/\x01", nullptr, nullptr, nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(get_last_error(), error_internet_invalid_url);
    network.close(connection);
}

TEST_F(curl_transfers, reaches_hosts_by_their_ipv6_addresses)
{
    std::string body;
    const std::string address = "http://[::1]:" + std::to_string(server.port()) + "/plain/5";
    EXPECT_EQ(client.fetch({address.begin(), address.end()}, body), 0U);
    EXPECT_EQ(body, web_server::content(0, 5));
    for (const char16_t* host : {u"::1", u"[::1]"}) {
        told_events events;
        told_events of_request;
        const transfer_handle connection =
            client.network->connect(client.session, host, server.port(), nullptr, nullptr, service_http, 0, &events);
        client.network->open_request(connection, nullptr, u"/plain/5", nullptr, nullptr, nullptr, 0, &of_request);
        EXPECT_EQ(client.send_again(of_request), 0U);
        client.close(of_request);
        client.close(events);
    }
}

TEST_F(curl_transfers, tells_what_the_answer_says)
{
    told_events events;
    ASSERT_EQ(client.open(events, server.wide_address("/plain/1234")), 0U);
    EXPECT_EQ(client.status(events), 200U);
    EXPECT_EQ(client.length(events), 1234U);
    system_time time;
    std::uint32_t size = sizeof time;
    ASSERT_TRUE(
        client.network->query_info(events.handle(), query_last_modified | query_as_system_time, &time, &size, nullptr));
    EXPECT_EQ(time.year, 1994);
    EXPECT_EQ(time.second, 37);
    // The whole body can be read after that, and the headers can be asked for after it.
    std::string body;
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_EQ(body, web_server::content(0, 1234));
    EXPECT_EQ(client.length(events), 1234U);

    std::uint32_t index = 0;
    std::uint32_t length = 0;
    size = sizeof length;
    EXPECT_TRUE(
        client.network->query_info(events.handle(), query_content_length | query_as_number, &length, &size, &index));
    EXPECT_EQ(index, 1U);
    EXPECT_FALSE(
        client.network->query_info(events.handle(), query_content_length | query_as_number, &length, &size, &index));
    EXPECT_EQ(get_last_error(), error_http_header_not_found);
    client.close(events);
}

TEST_F(curl_transfers, tells_nothing_before_the_answer_is_in)
{
    told_events events;
    told_events of_connection;
    const transfer_handle connection = client.network->connect(client.session, u"127.0.0.1", server.port(), nullptr,
                                                               nullptr, service_http, 0, &of_connection);
    client.network->open_request(connection, nullptr, u"/stall-headers", nullptr, nullptr, nullptr, 0, &events);
    const auto expect_nothing = [&] {
        std::uint32_t number = 0;
        char byte = 0;
        EXPECT_EQ(client.query(events.handle(), query_status_code | query_as_number, number),
                  error_internet_incorrect_handle_state);
        EXPECT_FALSE(client.network->read(events.handle(), &byte, 1, &number));
        EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_state);
    };
    expect_nothing();
    client.network->send_request(events.handle(), nullptr, 0, nullptr, 0);
    EXPECT_EQ(get_last_error(), error_io_pending);
    expect_nothing();
    client.close(events);
    client.close(of_connection);
    EXPECT_EQ(events.count(status_request_complete), 0U);
}

TEST_F(curl_transfers, refuses_reads_into_nothing)
{
    told_events events;
    ASSERT_EQ(client.open(events, server.wide_address("/plain/10")), 0U);
    char byte = 0;
    std::uint32_t count = 7;
    EXPECT_FALSE(client.network->read(events.handle(), nullptr, 1, &count));
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_FALSE(client.network->read(events.handle(), &byte, 1, nullptr));
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_TRUE(client.network->read(events.handle(), nullptr, 0, &count));
    EXPECT_EQ(count, 0U);
    client.close(events);
}

TEST_F(curl_transfers, cracks_addresses_into_the_room_that_is_given)
{
    transfers& network = *client.network;
    url_components parts;
    const std::u16string url = u"https://us%65r:p@host:8443/a%20b/c?q#f and more";
    const auto length = static_cast<std::uint32_t>(url.size() - 9);
    ASSERT_TRUE(network.crack_url(url.c_str(), length, 0, &parts));
    EXPECT_EQ(parts.scheme, url_scheme_https);
    EXPECT_EQ(parts.port, 8443);
    EXPECT_EQ(parts.user.length, 4U);
    EXPECT_EQ(parts.extra.length, 4U);
    std::array<char16_t, 5> user{};
    user.fill(u'x');
    parts.user = {user.data(), 5};
    ASSERT_TRUE(network.crack_url(url.c_str(), length, 0, &parts));
    EXPECT_EQ(std::u16string(user.data()), u"user");
    EXPECT_EQ(parts.user.length, 4U);
    EXPECT_FALSE(network.crack_url(url.c_str(), length, 0, &parts));
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(parts.user.length, 5U);

    EXPECT_FALSE(network.crack_url(url.c_str(), length, 1, &parts));
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_FALSE(network.crack_url(nullptr, 0, 0, &parts));
    EXPECT_FALSE(network.crack_url(u"http://h/", 0, 0, nullptr));
    EXPECT_FALSE(network.crack_url(u"http://", 0, 0, &parts));
    EXPECT_EQ(get_last_error(), error_internet_invalid_url);
    parts = {};
    EXPECT_TRUE(network.crack_url(u"http://h/", 0, 0, &parts));
}

TEST_F(curl_transfers, canonicalizes_into_the_room_that_is_given)
{
    transfers& network = *client.network;
    std::array<char16_t, 11> text{};
    std::uint32_t length = text.size();
    EXPECT_TRUE(network.canonicalize_url(u"HTTP://h/%41", text.data(), &length, canonical_decode));
    EXPECT_EQ(std::u16string(text.data()), u"http://h/A");
    text.fill(u'x');
    length = 10;
    EXPECT_FALSE(network.canonicalize_url(u"HTTP://h/%41", text.data(), &length, canonical_decode));
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(length, 11U);
    EXPECT_EQ(text[0], u'x');
    EXPECT_FALSE(network.canonicalize_url(u"HTTP://h/%41", nullptr, &(length = 99), canonical_browser_mode));
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(length, 13U);
    EXPECT_FALSE(network.canonicalize_url(u"h", text.data(), &(length = 10), 0));
    EXPECT_EQ(get_last_error(), error_internet_invalid_url);
    EXPECT_FALSE(network.canonicalize_url(u"http://h", text.data(), &(length = 10), 1));
    EXPECT_EQ(get_last_error(), error_invalid_parameter);
    EXPECT_FALSE(network.canonicalize_url(nullptr, text.data(), &length, 0));
    EXPECT_FALSE(network.canonicalize_url(u"http://h", text.data(), nullptr, 0));
}

TEST_F(curl_transfers, answers_for_the_whole)
{
    transfers& network = *client.network;
    transfer_version version;
    std::uint32_t size = sizeof version;
    EXPECT_TRUE(network.query_option(nullptr, option_version, &version, &size));
    EXPECT_EQ(version.major, 1U);
    EXPECT_EQ(version.minor, 2U);
    size = 4;
    EXPECT_FALSE(network.query_option(nullptr, option_version, &version, &size));
    EXPECT_EQ(get_last_error(), error_insufficient_buffer);
    EXPECT_EQ(size, sizeof version);
    for (const auto& [handle, option] : {std::pair{transfer_handle{}, 1U}, std::pair{client.session, option_version}}) {
        EXPECT_FALSE(network.query_option(handle, option, &version, &size));
        EXPECT_EQ(get_last_error(), error_invalid_parameter);
    }

    std::uint32_t flags = 0;
    EXPECT_TRUE(network.connected_state(&flags));
    EXPECT_EQ(flags, connection_lan);
    EXPECT_TRUE(network.connected_state(nullptr));
    EXPECT_TRUE(network.autodial(autodial_force_online, desktop_window));
    EXPECT_EQ(network.error_dialog(desktop_window, nullptr, error_internet_timeout, 7, nullptr), 0U);
    std::uint32_t error = 5;
    char16_t text[2] = {u'x', u'x'};
    std::uint32_t length = 2;
    EXPECT_TRUE(network.last_response(&error, text, &length));
    EXPECT_EQ(error, 0U);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(text[0], 0);
}

TEST_F(curl_transfers, ends_what_is_left_with_itself)
{
    told_events events;
    auto network = make_curl_transfers({});
    const transfer_handle session = network->open_session(u"a", access_direct, nullptr, nullptr, transfer_asynchronous);
    network->set_status_callback(session, &told_events::on_status);
    network->open_url(session, server.wide_address("/stall-headers").c_str(), nullptr, 0, 0, &events);
    EXPECT_EQ(get_last_error(), error_io_pending);
    network.reset();
    EXPECT_EQ(events.all().size(), 1U);
}

} // namespace
