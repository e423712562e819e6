#include "platform/curl_session.h"

#include "platform/curl_request.h"
#include "tests/platform/curl_client.h"
#include "tests/support/surroundings.h"
#include "tests/support/web_server.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <iterator>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace cw::platform;
using cw::platform::test::curl_client;
using cw::platform::test::told_events;
using cw::test_support::open_descriptors;
using cw::test_support::test_certificates;
using cw::test_support::web_server;

std::ptrdiff_t threads()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

TEST(curl_session, has_a_thread_from_the_first_request_on)
{
    web_server server;
    std::thread([] {}).join(); // the thread sanitizer has one of its own from the first on
    const std::ptrdiff_t before = threads();
    const std::ptrdiff_t descriptors = open_descriptors();
    {
        curl_client client;
        EXPECT_EQ(threads(), before);
        EXPECT_EQ(open_descriptors(), descriptors);
        std::string body;
        ASSERT_EQ(client.fetch(server.wide_address("/plain/5"), body), 0U);
        EXPECT_EQ(threads(), before + 1);
    }
    EXPECT_EQ(threads(), before);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST(curl_session, leaves_nothing_behind)
{
    web_server server;
    std::string body;
    ASSERT_EQ(curl_client{}.fetch(server.wide_address("/plain/5"), body), 0U);
    const std::ptrdiff_t thread_count = threads();
    const std::ptrdiff_t descriptors = open_descriptors();
    for (int i = 0; i < 200; ++i) {
        told_events open; // it outlives the session that may tell it something
        curl_client client;
        ASSERT_EQ(client.fetch(server.wide_address("/plain/1000"), body, nullptr, transfer_keep_connection), 0U);
        client.network->open_url(client.session, server.wide_address("/stall/100/10").c_str(), nullptr, 0, 0, &open);
        if (i % 2 == 0)
            client.close(open);
    }
    EXPECT_EQ(threads(), thread_count);
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST(curl_session, ends_requests_that_are_open)
{
    web_server server;
    told_events events[3];
    told_events of_connection;
    curl_client client;
    std::array<char, 100> buffer{};
    std::uint32_t count = 0;
    ASSERT_EQ(client.open(events[0], server.wide_address("/stall/100/10")), 0U);
    client.network->read(events[0].handle(), buffer.data(), buffer.size(), &count);
    ASSERT_EQ(get_last_error(), error_io_pending);
    ASSERT_EQ(client.open(events[1], server.wide_address("/plain/10")), 0U);
    client.network->open_url(client.session, server.wide_address("/stall-headers").c_str(), nullptr, 0, 0, &events[2]);
    const transfer_handle connection = client.network->connect(client.session, u"127.0.0.1", server.port(), nullptr,
                                                               nullptr, service_http, 0, &of_connection);
    const std::size_t told = events[0].all().size() + events[1].all().size() + events[2].all().size();
    EXPECT_TRUE(client.network->close(client.session));
    EXPECT_EQ(events[0].all().size() + events[1].all().size() + events[2].all().size(), told);

    // Their handles can be closed, once, and nothing else.
    for (told_events& one : events) {
        std::uint32_t number = 0;
        EXPECT_EQ(client.query(one.handle(), query_status_code | query_as_number, number),
                  error_internet_incorrect_handle_state);
        EXPECT_FALSE(client.network->read(one.handle(), buffer.data(), 1, &count));
        EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_state);
        EXPECT_EQ(client.send_again(one), error_internet_incorrect_handle_state);
        EXPECT_TRUE(client.close(one));
        EXPECT_EQ(one.all().back().status, status_handle_closing);
        EXPECT_FALSE(client.close(one));
    }
    EXPECT_EQ(client.network->open_request(connection, nullptr, u"/", nullptr, nullptr, nullptr, 0, nullptr), nullptr);
    EXPECT_EQ(get_last_error(), error_internet_incorrect_handle_state);
    EXPECT_TRUE(client.close(of_connection));
    EXPECT_FALSE(client.network->close(client.session));
    EXPECT_EQ(get_last_error(), error_invalid_handle);
}

TEST(curl_session, takes_no_more_requests_when_it_is_closed)
{
    const auto session = std::make_shared<curl_session>(curl_session_settings{});
    const auto request = std::make_shared<curl_request>(session, curl_request_plan{}, status_listener{});
    session->close();
    EXPECT_TRUE(session->is_closed());
    EXPECT_FALSE(session->post(request));
    EXPECT_EQ(request->send({}, {}, 1), error_internet_incorrect_handle_state);
    session->close();
    EXPECT_EQ(request.use_count(), 1);
}

TEST(curl_session, loses_no_request_beside_one_that_is_posted_twice)
{
    // Its thread is held up until all are posted.
    struct context {
        told_events told;
        std::promise<void> reached;
        std::promise<void> opened;

        static void on_status(transfer_handle handle, void* self, std::uint32_t status, const void* information,
                              std::uint32_t size)
        {
            auto& it = *static_cast<context*>(self);
            told_events::on_status(handle, &it.told, status, information, size);
            if (status != status_request_complete)
                return;
            it.reached.set_value();
            it.opened.get_future().wait();
        }
    };
    web_server server;
    context gate;
    told_events events[3];
    curl_client client;
    const auto open = [&](const char* path, void* listener) {
        client.network->open_url(client.session, server.wide_address(path).c_str(), nullptr, 0, 0, listener);
    };
    client.network->set_status_callback(client.session, &context::on_status);
    open("/plain/1", &gate);
    gate.reached.get_future().wait();
    client.network->set_status_callback(client.session, &told_events::on_status);
    open("/stall-headers", &events[0]);
    open("/plain/2", &events[1]);
    client.close(events[0]);
    open("/plain/3", &events[2]);
    gate.opened.set_value();
    EXPECT_TRUE(events[1].wait_for_end());
    EXPECT_TRUE(events[2].wait_for_end());
}

TEST(curl_session, keeps_no_request_that_is_closed)
{
    web_server server;
    told_events events;
    told_events later;
    curl_session_settings settings;
    settings.access_type = access_direct;
    const auto session = std::make_shared<curl_session>(settings);
    const auto request_for = [&](const char* path, told_events& listener) {
        curl_request_plan plan;
        plan.url = server.address(path);
        return std::make_shared<curl_request>(session, plan,
                                              status_listener{nullptr, &told_events::on_status, &listener});
    };
    const auto request = request_for("/stall/10/1", events);
    ASSERT_EQ(request->send({}, {}, 1), error_io_pending);
    ASSERT_TRUE(events.wait_for_end());
    EXPECT_GT(request.use_count(), 1);
    request->close();
    // One that comes behind it has seen it gone.
    const auto other = request_for("/plain/1", later);
    ASSERT_EQ(other->send({}, {}, 1), error_io_pending);
    ASSERT_TRUE(later.wait_for_end());
    EXPECT_EQ(request.use_count(), 1);
    session->close();
}

TEST(curl_session, runs_many_requests_beside_each_other)
{
    web_server server;
    constexpr std::size_t count = 60;
    std::vector<told_events> events(count);
    curl_client client;
    for (std::size_t i = 0; i < count; ++i)
        client.network->open_url(client.session, server.wide_address("/gate/" + std::to_string(i + 2) + "/1").c_str(),
                                 nullptr, 0, 0, &events[i]);
    for (told_events& one : events)
        ASSERT_TRUE(one.wait_for_end());
    server.release();
    for (std::size_t i = count; i-- > 0;) {
        std::string body;
        EXPECT_EQ(client.read_all(events[i], body), 0U);
        EXPECT_EQ(body, web_server::content(0, i + 2));
        client.close(events[i]);
    }
}

TEST(curl_session, lets_a_callback_do_all_but_end_its_thread)
{
    struct context {
        curl_client client;
        told_events* other = nullptr;
        told_events told;
        bool is_session_closed = true;
        std::uint32_t error = 0;
        bool is_other_closed = false;

        static void on_status(transfer_handle handle, void* self, std::uint32_t status, const void* information,
                              std::uint32_t size)
        {
            auto& it = *static_cast<context*>(self);
            if (status == status_request_complete) {
                it.is_session_closed = it.client.network->close(it.client.session);
                it.error = get_last_error();
                it.is_other_closed = it.client.close(*it.other);
            }
            told_events::on_status(handle, &it.told, status, information, size);
        }
    };
    web_server server;
    told_events other;
    context it;
    it.other = &other;
    ASSERT_EQ(it.client.open(other, server.wide_address("/stall/10/1")), 0U);
    it.client.network->set_status_callback(it.client.session, &context::on_status);
    it.client.network->open_url(it.client.session, server.wide_address("/plain/3").c_str(), nullptr, 0, 0, &it);
    ASSERT_TRUE(it.told.wait_for_end());
    EXPECT_FALSE(it.is_session_closed);
    EXPECT_EQ(it.error, error_internet_incorrect_handle_state);
    EXPECT_TRUE(it.is_other_closed);
    EXPECT_TRUE(it.client.close(it.told));
}

TEST(curl_session, takes_no_signal_for_connections_that_are_gone)
{
    // Whoever says good-bye on such a connection is sent one, and it ends the process.
    web_server server{test_certificates::server::good};
    const std::string authority = test_certificates::instance().authority();
    std::string body;
    curl_client client{authority};
    ASSERT_EQ(client.fetch(server.wide_address("/leave"), body, nullptr, transfer_keep_connection), 0U);
    server.release();
    ASSERT_EQ(curl_client{authority}.fetch(server.wide_address("/wait-for-leave"), body), 0U);
    EXPECT_EQ(body, "gone");
    static std::atomic<int> signals;
    struct sigaction before {};
    struct sigaction counting {};
    counting.sa_handler = [](int) { ++signals; };
    ASSERT_EQ(sigaction(SIGPIPE, &counting, &before), 0);
    client.network->close(client.session);
    ASSERT_EQ(sigaction(SIGPIPE, &before, nullptr), 0);
    EXPECT_EQ(signals, 0);
}

TEST(curl_session, starts_no_thread_that_nobody_can_wake)
{
    {
        // A sanitizer looks at each kind of object once, and needs descriptors for it.
        curl_client other;
        told_events ended;
        EXPECT_EQ(other.open(ended, u"http://127.0.0.1:1/"), error_internet_cannot_connect);
        other.close(ended);
    }
    curl_client client;
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    told_events events;
    {
        // One below what is next.
        const int next = dup(0);
        close(next);
        const rlimit low{static_cast<rlim_t>(next), limit.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
        client.network->open_url(client.session, u"http://127.0.0.1:1/", nullptr, 0, 0, &events);
        const std::uint32_t error = get_last_error();
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
        EXPECT_EQ(error, error_not_enough_memory);
    }
    // The handle was told before and is closed with the failure.
    ASSERT_EQ(events.all().size(), 2U);
    EXPECT_EQ(events.all().back().status, status_handle_closing);
    EXPECT_FALSE(client.close(events));
    told_events later;
    EXPECT_EQ(client.open(later, u"http://127.0.0.1:1/"), error_internet_cannot_connect);
    client.close(later);
}

TEST(curl_session, leaves_signals_to_other_threads)
{
    static std::atomic<int> seen;
    struct context {
        static void on_status(transfer_handle, void* events, std::uint32_t status, const void* information,
                              std::uint32_t size)
        {
            sigset_t mask;
            pthread_sigmask(SIG_SETMASK, nullptr, &mask);
            if (status == status_request_complete)
                seen = sigismember(&mask, SIGPIPE) + sigismember(&mask, SIGTERM) + sigismember(&mask, SIGUSR1);
            told_events::on_status(nullptr, events, status, information, size);
        }
    };
    web_server server;
    curl_client client;
    told_events events;
    client.network->set_status_callback(client.session, &context::on_status);
    ASSERT_EQ(client.open(events, server.wide_address("/plain/3")), 0U);
    EXPECT_EQ(seen, 3);
    client.close(events);
}

} // namespace
