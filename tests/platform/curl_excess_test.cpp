#include "platform/curl_excess.h"

#include "platform/transfers.h"
#include "tests/platform/curl_client.h"
#include "tests/support/web_server.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace cw::platform;
using cw::platform::test::curl_client;
using cw::platform::test::told_events;
using cw::test_support::test_certificates;
using cw::test_support::web_server;

TEST(curl_excess, sees_bytes_that_wait)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EXPECT_FALSE(has_bytes_waiting(ends[0]));
    ASSERT_EQ(write(ends[1], "xy", 2), 2);
    EXPECT_TRUE(has_bytes_waiting(ends[0]));
    char bytes[2];
    EXPECT_EQ(read(ends[0], bytes, 2), 2); // they stay
    struct {
        const char* bytes;
        bool is_excess;
    } constexpr rows[] = {{"\x15\x03\x03", false}, {"\x14\x03", false}, {"\x17\x03", false}, {"\x13\x03", true},
                          {"\x18\x03", true},      {"\x15\x02", true},  {"\x15", true}};
    for (const auto& row : rows) {
        const auto size = static_cast<ssize_t>(std::strlen(row.bytes));
        ASSERT_EQ(write(ends[1], row.bytes, std::strlen(row.bytes)), size);
        EXPECT_EQ(has_bytes_waiting(ends[0]), row.is_excess) << int{row.bytes[0]};
        char taken[3];
        ASSERT_EQ(read(ends[0], taken, sizeof taken), size);
    }
    close(ends[1]);
    EXPECT_FALSE(has_bytes_waiting(ends[0]));
    bool found = true;
    EXPECT_EQ(close_and_look(&found, ends[0]), 0);
    EXPECT_FALSE(found);
    EXPECT_EQ(fcntl(ends[0], F_GETFD), -1);
    EXPECT_FALSE(has_bytes_waiting(CURL_SOCKET_BAD));
}

TEST(curl_excess, looks_before_it_closes)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    bool found = false;
    close_and_look(&found, ends[0]);
    EXPECT_TRUE(found);
    close(ends[1]);
}

// What libcurl says of it is no promise of its own: this fails with one that says it otherwise.
TEST(curl_excess, is_told_as_an_error_behind_all_that_was_told)
{
    web_server server;
    web_server secure{test_certificates::server::good};
    struct {
        web_server& server;
        const char* path;
    } const rows[] = {
        // In one piece with the headers, and over several reads of the socket. Of TLS only what lies in one
        // record with the end is found.
        {server, "/long/5/1"}, {server, "/long/100000/4000"}, {server, "/long/2000000/300000"},
        {server, "/long/0/7"}, {secure, "/long/5/1"},         {secure, "/long/0/7"},
    };
    for (const std::uint32_t flags : {0U, transfer_keep_connection}) {
        for (const auto& row : rows) {
            curl_client client{test_certificates::instance().authority()};
            told_events events;
            std::string body;
            ASSERT_EQ(client.open(events, row.server.wide_address(row.path), nullptr, flags), 0U) << row.path;
            const std::uint32_t told = client.length(events);
            EXPECT_EQ(client.read_all(events, body), error_http_invalid_server_response) << row.path << flags;
            EXPECT_TRUE(body == web_server::content(0, told)) << row.path;
            client.close(events);
        }
    }
}

TEST(curl_excess, tells_of_it_in_a_trace)
{
    EXPECT_TRUE(tells_of_excess("Excess found in a read: excess = 4, size = 5\n"));
    EXPECT_TRUE(tells_of_excess("Excess found: excess = 4 url = / (zero-length body)\n"));
    EXPECT_FALSE(tells_of_excess("Connection #0 to host left intact\n"));
    EXPECT_FALSE(tells_of_excess("Issue another request to this URL: 'http://h/Excess found'\n"));
}

TEST(curl_excess, counts_for_nothing_behind_a_redirect)
{
    web_server server;
    curl_client client;
    for (const std::uint32_t flags : {0U, transfer_keep_connection}) {
        std::string body;
        EXPECT_EQ(client.fetch(server.wide_address("/raw/HTTP/1.1%20302%20x%0D%0ALocation:%20%2Fplain%2F5%0D%0A"
                                                   "Content-Length:%202%0D%0A%0D%0Aabcdef"),
                               body, nullptr, flags),
                  0U);
        EXPECT_EQ(body, web_server::content(0, 5));
    }
}

TEST(curl_excess, is_none_where_a_body_is_whole)
{
    web_server server;
    web_server secure{test_certificates::server::good};
    curl_client client{test_certificates::instance().authority()};
    for (const char* path : {"/plain/5", "/plain/1000000", "/chunked/100000", "/status/204", "/status/304",
                             "/raw/HTTP/1.1%20200%20x%0D%0A%0D%0Athe%20end%20tells", "/redirect/2/plain/3"}) {
        for (const std::uint32_t flags : {0U, transfer_keep_connection}) {
            std::string body;
            EXPECT_EQ(client.fetch(server.wide_address(path), body, nullptr, flags), 0U) << path;
            EXPECT_EQ(client.fetch(secure.wide_address(path), body, nullptr, flags), 0U) << path;
        }
    }
}

} // namespace
