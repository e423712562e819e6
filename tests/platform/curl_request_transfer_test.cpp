// What a server may do to the thread that transfers run on: send without end, and be left alone.
#include "tests/platform/curl_client.h"
#include "tests/support/web_server.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <fstream>
#include <thread>

namespace {

using namespace cw::platform;
using cw::platform::test::curl_client;
using cw::platform::test::told_events;
using cw::test_support::test_certificates;
using cw::test_support::web_server;

std::size_t resident_bytes()
{
    std::size_t whole = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * 4096;
}

class curl_request_transfer : public testing::Test {
protected:
    web_server server;
    curl_client client;
    std::string body;

    /// How many bytes there are to the end; samples of them are looked at.
    std::size_t read_through(told_events& events)
    {
        std::size_t place = 0;
        for (int piece = 0; client.read(events, 1'000'003, body) == 0 && !body.empty(); ++piece) {
            EXPECT_TRUE(piece % 10 != 0 || body == web_server::content(place, body.size())) << place;
            place += body.size();
        }
        return place;
    }
};

TEST_F(curl_request_transfer, refuses_headers_without_end)
{
    const std::size_t before = resident_bytes();
    for (const char* path : {"/endless-headers", "/endless-header-line", "/endless-1xx", "/endless-trailers"})
        EXPECT_EQ(client.fetch(server.wide_address(path), body), error_http_invalid_server_response) << path;
    EXPECT_EQ(body, "abc"); // all that came of the last one's
    EXPECT_LT(resident_bytes(), before + 32 * 1024 * 1024);
}

TEST_F(curl_request_transfer, refuses_what_is_no_answer)
{
    for (const char* answer : {"hello", "HTTP/9.9%20200%20x%0D%0A%0D%0A", "%00%01%02%03%0D%0A%0D%0A"})
        EXPECT_EQ(client.fetch(server.wide_address(std::string("/raw/") + answer), body),
                  error_http_invalid_server_response)
            << answer;
}

TEST_F(curl_request_transfer, keeps_little_of_what_nobody_reads)
{
    constexpr std::size_t much = 150'000'000;
    constexpr std::size_t meanwhile = 30'000'000;
    const std::size_t before = resident_bytes();
    told_events left_alone;
    told_events other;
    ASSERT_EQ(client.open(left_alone, server.wide_address("/plain/" + std::to_string(much))), 0U);
    // The store is full before the server's sockets are; another transfer of the same thread goes on.
    ASSERT_EQ(client.open(other, server.wide_address("/plain/" + std::to_string(meanwhile))), 0U);
    EXPECT_EQ(read_through(other), meanwhile);
    EXPECT_LT(resident_bytes(), before + 80 * 1024 * 1024);
    // And all of it is there for who reads then.
    EXPECT_EQ(read_through(left_alone), much);
    client.close(left_alone);
    client.close(other);
}

TEST_F(curl_request_transfer, closes_without_waiting_for_the_network)
{
    for (const char* path : {"/stall-headers", "/stall/1000/10", "/stall/5000000/4000000"}) {
        told_events events;
        std::array<char, 500> buffer{};
        std::uint32_t count = 77;
        const auto begin = std::chrono::steady_clock::now();
        client.network->open_url(client.session, server.wide_address(path).c_str(), nullptr, 0, 0, &events);
        if (std::string_view(path) != "/stall-headers") {
            ASSERT_TRUE(events.wait_for_end());
            client.network->read(events.handle(), buffer.data(), buffer.size(), &count);
        }
        EXPECT_TRUE(client.close(events));
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
        const auto all = events.all();
        EXPECT_EQ(all.back().status, status_handle_closing) << path;
    }
}

TEST_F(curl_request_transfer, is_closed_while_data_flows)
{
    for (int i = 0; i < 300; ++i) {
        auto events = std::make_unique<told_events>();
        auto buffer = std::make_unique<std::array<char, 100'000>>();
        auto count = std::make_unique<std::uint32_t>(0);
        client.network->open_url(client.session, server.wide_address("/plain/3000000").c_str(), nullptr, 0,
                                 i % 2 ? transfer_keep_connection : 0, events.get());
        ASSERT_EQ(get_last_error(), error_io_pending);
        if (i % 3 != 0) {
            ASSERT_TRUE(events->wait_for_end());
            for (int reads = i % 7; reads > 0; --reads) {
                if (!client.network->read(events->handle(), buffer->data(), 100'000, count.get())) {
                    ASSERT_EQ(get_last_error(), error_io_pending);
                    if (reads == 1)
                        break; // this one is pending when the handle is closed
                    ASSERT_TRUE(events->wait_for_end());
                }
            }
        }
        ASSERT_TRUE(client.network->close(events->handle()));
        // What the transfer wrote to or told from here on would be found by the sanitizers, and shows here.
        const std::size_t told = events->all().size();
        *count = 0xABCD;
        buffer->fill('x');
        std::this_thread::yield();
        ASSERT_EQ(events->all().size(), told);
        ASSERT_EQ(*count, 0xABCDU);
        ASSERT_EQ(buffer->back(), 'x');
        ASSERT_EQ(events->all().back().status, status_handle_closing);
    }
}

TEST_F(curl_request_transfer, reads_much_over_tls)
{
    web_server secure{test_certificates::server::good};
    curl_client trusting{test_certificates::instance().authority()};
    EXPECT_EQ(trusting.fetch(secure.wide_address("/plain/20000000"), body), 0U);
    EXPECT_TRUE(body == web_server::content(0, 20'000'000));
}

} // namespace
