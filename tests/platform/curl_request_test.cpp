// Bodies, ranges and ends of requests, as their callers see them.
#include "platform/curl_request.h"

#include "tests/platform/curl_client.h"
#include "tests/support/surroundings.h"
#include "tests/support/web_server.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using namespace cw::platform;
using cw::platform::test::curl_client;
using cw::platform::test::told_events;
using cw::test_support::test_certificates;
using cw::test_support::web_server;

class curl_request_over_a_network : public testing::Test {
protected:
    web_server server;
    curl_client client;
    told_events events;
    std::string body;

    std::uint32_t open(const std::string& path, const char16_t* headers = nullptr)
    {
        return client.open(events, server.wide_address(path), headers);
    }
    ~curl_request_over_a_network() override { client.close(events); }
};

TEST_F(curl_request_over_a_network, reads_bodies_by_all_sizes_of_reads)
{
    constexpr std::size_t size = 3'000'000;
    const std::string expected = web_server::content(0, size);
    for (const std::size_t step : {std::size_t{1500}, std::size_t{16384}, std::size_t{999'999}, 2 * size}) {
        told_events one;
        ASSERT_EQ(client.open(one, server.wide_address("/plain/" + std::to_string(size))), 0U);
        EXPECT_EQ(client.read_all(one, body, step), 0U);
        EXPECT_TRUE(body == expected) << step;
        // The end stays the end.
        EXPECT_EQ(client.read(one, 10, body), 0U);
        EXPECT_EQ(body, "");
        client.close(one);
    }
}

TEST_F(curl_request_over_a_network, fills_buffers_before_the_end)
{
    ASSERT_EQ(open("/slow/100/7/1"), 0U);
    EXPECT_EQ(client.read(events, 60, body), 0U);
    EXPECT_EQ(body, web_server::content(0, 60));
    EXPECT_EQ(client.read(events, 60, body), 0U);
    EXPECT_EQ(body, web_server::content(60, 40));
    EXPECT_EQ(client.read(events, 60, body), 0U);
    EXPECT_EQ(body, "");
}

TEST_F(curl_request_over_a_network, answers_at_once_from_what_is_there)
{
    ASSERT_EQ(open("/gate/1000/900"), 0U);
    EXPECT_EQ(client.read(events, 800, body), 0U);
    std::uint32_t count = 0;
    char bytes[200];
    set_last_error(0xBAD);
    // All 900 are there or come in a moment; the first of these reads made sure of 800.
    EXPECT_EQ(client.read(events, 100, body), 0U);
    EXPECT_FALSE(client.network->read(events.handle(), bytes, 100, &count));
    EXPECT_EQ(get_last_error(), error_io_pending);
    server.release();
    ASSERT_TRUE(events.wait_for_end());
    EXPECT_EQ(std::string(bytes, count), web_server::content(900, 100));
    set_last_error(0xBAD);
    EXPECT_TRUE(client.network->read(events.handle(), bytes, 0, &count));
    EXPECT_EQ(get_last_error(), 0U);
}

TEST_F(curl_request_over_a_network, reads_what_comes_in_chunks)
{
    ASSERT_EQ(open("/chunked/2000000"), 0U);
    std::uint32_t length = 0;
    EXPECT_EQ(client.query(events.handle(), query_content_length | query_as_number, length),
              error_http_header_not_found);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_TRUE(body == web_server::content(0, 2'000'000));
}

TEST_F(curl_request_over_a_network, keeps_its_headers_whatever_comes_behind_chunks)
{
    ASSERT_EQ(open("/raw/HTTP/1.1%20200%20x%0D%0ATransfer-Encoding:%20chunked%0D%0A%0D%0A3%0D%0Aabc%0D%0A0%0D%0A"
                   "HTTP/1.1%20404%20x:%20y%0D%0AContent-Length:%207%0D%0A%0D%0A"),
              0U);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_EQ(body, "abc");
    EXPECT_EQ(client.status(events), 200U);
}

TEST_F(curl_request_over_a_network, gives_out_what_came_before_a_break)
{
    for (const char* path : {"/break/1000000/123456", "/raw/HTTP/1.1%20200%20x%0D%0ATransfer-Encoding:%20chunked"
                                                      "%0D%0A%0D%0A5%0D%0Aabc"}) {
        told_events one;
        ASSERT_EQ(client.open(one, server.wide_address(path)), 0U) << path;
        EXPECT_EQ(client.read_all(one, body), error_internet_connection_aborted) << path;
        EXPECT_TRUE(body == web_server::content(0, 123456) || body == "abc") << path;
        EXPECT_EQ(client.read(one, 10, body), error_internet_connection_aborted);
        EXPECT_EQ(client.status(one), 200U);
        client.close(one);
    }
    ASSERT_EQ(open("/break/10/0"), 0U);
    EXPECT_EQ(client.read(events, 10, body), error_internet_connection_aborted);
    EXPECT_EQ(body, "");
}

TEST_F(curl_request_over_a_network, gives_out_what_came_before_a_break_while_somebody_waits)
{
    ASSERT_EQ(open("/gate-break/100/50"), 0U);
    char bytes[100];
    std::uint32_t count = 0;
    EXPECT_FALSE(client.network->read(events.handle(), bytes, 100, &count));
    EXPECT_EQ(get_last_error(), error_io_pending);
    server.release();
    const auto end = events.wait_for_end();
    ASSERT_TRUE(end);
    EXPECT_EQ(end->result, 1U);
    EXPECT_EQ(end->error, 0U);
    EXPECT_EQ(std::string(bytes, count), web_server::content(0, 50));
    // A read of nothing cannot fail by it, one of something does.
    EXPECT_EQ(client.read(events, 0, body), 0U);
    EXPECT_EQ(client.read(events, 1, body), error_internet_connection_aborted);
}

TEST_F(curl_request_over_a_network, tells_of_connections_that_are_lost)
{
    EXPECT_EQ(client.fetch(server.wide_address("/raw/"), body), error_internet_connection_aborted);
    const std::uint32_t error = client.fetch(server.wide_address("/reset/3000000/1000000"), body);
    EXPECT_EQ(error, error_internet_connection_reset);
    EXPECT_EQ(client.fetch(u"http://127.0.0.1:1/", body), error_internet_cannot_connect);
    EXPECT_EQ(client.fetch(u"http://nowhere.invalid/", body), error_internet_name_not_resolved);
}

TEST_F(curl_request_over_a_network, is_not_answered_by_headers_without_their_end)
{
    // Without these an empty file would be told as a success.
    for (const char* head : {"HTTP/1.1%20200%20OK%0D%0A", "HTTP/1.1%20200%20OK%0D%0ALast-Modi",
                             "HTTP/1.1%20200%20OK%0D%0AX:%20y%0D%0A", "HTTP/1.1%20103%20Hints%0D%0A%0D%0A"}) {
        told_events one;
        EXPECT_EQ(client.open(one, server.wide_address(std::string("/raw/") + head)), error_internet_connection_aborted)
            << head;
        EXPECT_EQ(client.status(one), 0U);
        client.close(one);
    }
}

TEST_F(curl_request_over_a_network, takes_the_end_of_a_secure_connection_from_the_server_alone)
{
    web_server secure{test_certificates::server::good};
    curl_client trusting{test_certificates::instance().authority()};
    struct {
        const char* head; // after "HTTP/1.1 "
        std::uint32_t error;
    } constexpr rows[] = {
        {"200%20OK", error_internet_connection_aborted},
        {"200%20OK%0D%0ATransfer-Encoding:%20identity", error_internet_connection_aborted},
        {"200%20OK%0D%0AContent-Length:%203", 0},
    };
    for (const auto& [head, error] : rows) {
        const std::string answer = std::string("/HTTP/1.1%20") + head + "%0D%0A%0D%0Aabc";
        for (const std::uint32_t flags : {0U, transfer_keep_connection}) {
            EXPECT_EQ(trusting.fetch(secure.wide_address("/raw-cut" + answer), body, nullptr, flags), error) << head;
            EXPECT_EQ(body, "abc");
            EXPECT_EQ(trusting.fetch(secure.wide_address("/raw" + answer), body, nullptr, flags), 0U) << head;
            EXPECT_EQ(body, "abc");
        }
        EXPECT_EQ(client.fetch(server.wide_address("/raw-cut" + answer), body), 0U);
    }
    // Other things that TLS says on the way are no good-bye.
    const std::string several_records = "/raw-cut/HTTP/1.1%20200%20OK%0D%0A%0D%0A" + std::string(50000, 'y');
    EXPECT_EQ(trusting.fetch(secure.wide_address(several_records), body), error_internet_connection_aborted);
    EXPECT_EQ(body.size(), 50000U);
    told_events of_connection;
    told_events head;
    const transfer_handle connection = trusting.network->connect(trusting.session, u"127.0.0.1", secure.port(), nullptr,
                                                                 nullptr, service_http, 0, &of_connection);
    trusting.network->open_request(connection, u"HEAD", u"/raw-cut/HTTP/1.1%20200%20OK%0D%0A%0D%0A", nullptr, nullptr,
                                   nullptr, transfer_secure, &head);
    EXPECT_EQ(trusting.send_again(head), 0U);
    EXPECT_EQ(trusting.read_all(head, body), 0U);
    trusting.close(head);
    trusting.close(of_connection);
    for (const char* path : {"/status/204", "/status/304"})
        EXPECT_EQ(trusting.fetch(secure.wide_address(path), body), 0U) << path;
    EXPECT_EQ(trusting.fetch(secure.wide_address("/raw-cut/HTTP/1.1%20200%20OK%0D%0ATransfer-Encoding:%20chunked%0D%0A"
                                                 "%0D%0A3%0D%0Aabc%0D%0A0%0D%0A%0D%0A"),
                             body),
              0U);
}

TEST_F(curl_request_over_a_network, refuses_answers_that_contradict_themselves)
{
    for (const char* head :
         {"200%20OK%0D%0AContent-Length:%203%0D%0AContent-Length:%205", "200%20OK%0D%0AContent-Length:%200x10",
          "200%20OK%0D%0ATransfer-Encoding:%20gzip", "101%20Switching%0D%0AUpgrade:%20h2c"})
        EXPECT_EQ(client.fetch(server.wide_address("/raw/HTTP/1.1%20" + std::string(head) + "%0D%0A%0D%0Aabcde"), body),
                  error_http_invalid_server_response)
            << head;
}

TEST_F(curl_request_over_a_network, can_be_sent_again)
{
    ASSERT_EQ(open("/break-once/5000/1000"), 0U);
    EXPECT_EQ(client.read_all(events, body), error_internet_connection_aborted);
    ASSERT_EQ(client.send_again(events, u"Range: bytes=1000-"), 0U);
    EXPECT_EQ(client.status(events), 206U);
    EXPECT_EQ(client.length(events), 4000U);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_TRUE(body == web_server::content(1000, 4000));
    // Also in the middle of an answer, and with the headers of that time.
    ASSERT_EQ(client.send_again(events, u"X: y"), 0U);
    EXPECT_EQ(client.read(events, 10, body), 0U);
    ASSERT_EQ(client.send_again(events), 0U);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_TRUE(body == web_server::content(0, 5000));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[1].header("Range"), "bytes=1000-");
    EXPECT_EQ(requests[2].header("X"), "y");
    EXPECT_EQ(requests[2].header("Range"), std::nullopt);
    EXPECT_EQ(requests[3].header("X"), std::nullopt);
}

TEST_F(curl_request_over_a_network, leaves_the_answer_before_when_it_is_sent_again)
{
    ASSERT_EQ(open("/stall/100/10"), 0U);
    EXPECT_EQ(client.read(events, 10, body), 0U);
    const std::ptrdiff_t descriptors = cw::test_support::open_descriptors();
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(client.send_again(events), 0U);
        EXPECT_EQ(client.read(events, 10, body), 0U);
        EXPECT_EQ(body, web_server::content(0, 10));
        EXPECT_EQ(cw::test_support::open_descriptors(), descriptors);
    }
}

TEST_F(curl_request_over_a_network, can_be_sent_again_however_much_came_before)
{
    // The bound of headers holds for one send.
    ASSERT_EQ(
        open("/raw/HTTP/1.1%20200%20x%0D%0AX:%20" + std::string(60000, 'y') + "%0D%0AContent-Length:%200%0D%0A%0D%0A"),
        0U);
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(client.send_again(events), 0U) << i;
}

TEST_F(curl_request_over_a_network, can_be_sent_again_after_no_answer_at_all)
{
    EXPECT_EQ(open("/redirect-to?http://127.0.0.1:1/"), error_internet_cannot_connect);
    std::uint32_t number = 0;
    EXPECT_EQ(client.query(events.handle(), query_status_code | query_as_number, number),
              error_internet_incorrect_handle_state);
    EXPECT_EQ(client.read(events, 1, body), error_internet_incorrect_handle_state);
    EXPECT_EQ(client.send_again(events), error_internet_cannot_connect);
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(curl_request_over_a_network, reads_parts)
{
    ASSERT_EQ(open("/plain/100000", u"Range: bytes=99000-\r\nX: y"), 0U);
    EXPECT_EQ(client.status(events), 206U);
    EXPECT_EQ(client.length(events), 1000U);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_TRUE(body == web_server::content(99000, 1000));
    ASSERT_EQ(client.send_again(events, u"Range: bytes=100000-"), 0U);
    EXPECT_EQ(client.status(events), 416U);
}

TEST_F(curl_request_over_a_network, passes_over_what_was_not_asked_for)
{
    // Far more than is kept for a caller who does not read.
    ASSERT_EQ(open("/norange/5000000", u"Range: bytes=4000000-"), 0U);
    EXPECT_EQ(client.status(events), 200U);
    EXPECT_EQ(client.length(events), 1'000'000U);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_TRUE(body == web_server::content(4'000'000, 1'000'000));
    ASSERT_EQ(client.send_again(events, u"Range: bytes=5000000-"), 0U);
    EXPECT_EQ(client.status(events), 200U);
    EXPECT_EQ(client.length(events), 0U);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_EQ(body, "");
    ASSERT_EQ(client.send_again(events, u"Range: bytes=5000001-"), 0U);
    EXPECT_EQ(client.status(events), 416U);
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_EQ(body, "");
}

TEST_F(curl_request_over_a_network, refuses_other_parts_than_it_asked_for)
{
    EXPECT_EQ(open("/wrong-range/100", u"Range: bytes=10-"), error_http_invalid_server_response);
    std::uint32_t number = 0;
    EXPECT_EQ(client.query(events.handle(), query_status_code | query_as_number, number),
              error_internet_incorrect_handle_state);
    EXPECT_EQ(client.send_again(events), error_http_invalid_server_response);
    const std::string fewer = "/raw/HTTP/1.1%20206%20x%0D%0AContent-Length:%206%0D%0AContent-Range:%20bytes%205-9%2F10"
                              "%0D%0A%0D%0Aabcdef";
    EXPECT_EQ(client.fetch(server.wide_address(fewer), body, u"Range: bytes=5-"), error_http_invalid_server_response);
}

TEST_F(curl_request_over_a_network, has_answers_without_bodies)
{
    for (const auto& [path, status] : {std::pair{"/status/204", 204U}, std::pair{"/status/304", 304U}}) {
        told_events one;
        ASSERT_EQ(client.open(one, server.wide_address(path)), 0U);
        EXPECT_EQ(client.status(one), status);
        EXPECT_EQ(client.read_all(one, body), 0U);
        EXPECT_EQ(body, "");
        client.close(one);
    }
    told_events missing;
    ASSERT_EQ(client.open(missing, server.wide_address("/nothing here")), 0U);
    EXPECT_EQ(client.status(missing), 404U);
    EXPECT_EQ(client.read_all(missing, body), 0U);
    EXPECT_EQ(body, "no such path");
    client.close(missing);
}

TEST_F(curl_request_over_a_network, is_answered_before_its_body_comes)
{
    ASSERT_EQ(open("/stall/1000/0"), 0U);
    EXPECT_EQ(client.status(events), 200U);
    EXPECT_EQ(client.length(events), 1000U);
    told_events hints;
    ASSERT_EQ(client.open(hints, server.wide_address("/raw/HTTP/1.1%20103%20Hints%0D%0AContent-Length:%205%0D%0A%0D%0A"
                                                     "HTTP/1.1%20200%20OK%0D%0AContent-Length:%203%0D%0A%0D%0Aabc")),
              0U);
    EXPECT_EQ(client.status(hints), 200U);
    EXPECT_EQ(client.length(hints), 3U);
    client.close(hints);
}

} // namespace
