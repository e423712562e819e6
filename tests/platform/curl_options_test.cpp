#include "platform/curl_options.h"

#include "platform/transfers.h"
#include "tests/platform/curl_client.h"
#include "tests/support/surroundings.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/web_server.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace cw::platform;
using cw::platform::test::curl_client;
using cw::platform::test::told_events;
using cw::test_support::environment_variable;
using cw::test_support::test_certificates;
using cw::test_support::web_request;
using cw::test_support::web_server;

std::u16string wide(const std::string& text)
{
    return {text.begin(), text.end()};
}

TEST(curl_options, writes_bypass_lists_as_libcurl_reads_them)
{
    EXPECT_EQ(bypass_list(""), "");
    EXPECT_EQ(bypass_list("a;b c\td,e\r\nf"), "a,b,c,d,e,,f");
}

TEST(curl_options, takes_the_proxy_that_the_session_says)
{
    web_server proxy;
    std::string body;
    const std::string place = "http://127.0.0.1:" + std::to_string(proxy.port());
    const std::u16string address = u"http://unknown.invalid/plain/5";
    {
        curl_client client{{}, access_by_proxy, wide(place).c_str(), u"other.invalid"};
        EXPECT_EQ(client.fetch(address, body), 0U);
        EXPECT_EQ(body, web_server::content(0, 5));
        EXPECT_EQ(client.fetch(u"http://other.invalid/plain/5", body), error_internet_name_not_resolved);
    }
    ASSERT_EQ(proxy.requests().size(), 1U);
    EXPECT_EQ(proxy.requests()[0].line, "GET http://unknown.invalid/plain/5 HTTP/1.1");

    const environment_variable of_http{"http_proxy", place};
    const environment_variable none{"no_proxy", "other.invalid"};
    {
        curl_client client{{}, access_as_configured};
        EXPECT_EQ(client.fetch(address, body), 0U);
        EXPECT_EQ(client.fetch(u"http://other.invalid/plain/5", body), error_internet_name_not_resolved);
    }
    {
        curl_client client{{}, access_direct};
        EXPECT_EQ(client.fetch(address, body), error_internet_name_not_resolved);
    }
    {
        // The environment has no say where the session names a proxy.
        curl_client client{{}, access_by_proxy, wide(place).c_str(), nullptr};
        EXPECT_EQ(client.fetch(u"http://other.invalid/plain/5", body), 0U);
    }
    EXPECT_EQ(proxy.requests().size(), 3U);
}

TEST(curl_options, takes_no_words_of_a_proxy_for_the_servers)
{
    web_server proxy;
    const std::string place = "http://127.0.0.1:" + std::to_string(proxy.port());
    curl_client client{{}, access_by_proxy, wide(place).c_str(), nullptr};
    told_events events;
    EXPECT_EQ(client.open(events, u"https://unknown.invalid/plain/5"), error_internet_connection_reset);
    EXPECT_EQ(client.status(events), 0U);
    client.close(events);
    ASSERT_EQ(proxy.requests().size(), 1U);
    EXPECT_EQ(proxy.requests()[0].line, "CONNECT unknown.invalid:443 HTTP/1.1");
}

TEST(curl_options, knows_no_credentials_that_it_is_not_given)
{
    web_server server;
    cw::test_support::temporary_folder home;
    home.write(".netrc", "machine 127.0.0.1 login user password pass\n");
    const environment_variable place{"HOME", home.path().native()};
    curl_client client;
    told_events events;
    ASSERT_EQ(client.open(events, server.wide_address("/auth/user/pass")), 0U);
    EXPECT_EQ(client.status(events), 401U);
    client.close(events);
}

TEST(curl_options, sends_bodies_without_asking_whether_they_are_welcome)
{
    web_server server;
    curl_client client;
    told_events of_connection;
    told_events events;
    const transfer_handle connection = client.network->connect(client.session, u"127.0.0.1", server.port(), nullptr,
                                                               nullptr, service_http, 0, &of_connection);
    const transfer_handle request =
        client.network->open_request(connection, u"POST", u"/echo", nullptr, nullptr, nullptr, 0, &events);
    const std::string body(3'000'000, 'x');
    EXPECT_FALSE(
        client.network->send_request(request, nullptr, 0, body.data(), static_cast<std::uint32_t>(body.size())));
    ASSERT_TRUE(events.wait_for_end());
    const std::vector<web_request> requests = server.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].header("Expect"), std::nullopt);
    EXPECT_TRUE(requests[0].body == body);
    client.close(events);
    client.close(of_connection);
}

TEST(curl_options, trusts_whom_it_is_told_to_trust)
{
    using kind = test_certificates::server;
    struct {
        kind server;
        bool is_known;
        std::uint32_t error;
    } const rows[] = {
        {kind::good, true, 0},
        {kind::good, false, error_internet_invalid_authority},
        {kind::self_signed, true, error_internet_invalid_authority},
        {kind::expired, true, error_internet_certificate_date_invalid},
        {kind::wrong_name, true, error_internet_certificate_name_invalid},
    };
    const test_certificates& certificates = test_certificates::instance();
    for (const auto& row : rows) {
        web_server server{row.server};
        curl_client client{row.is_known ? certificates.authority() : std::string()};
        std::string body;
        EXPECT_EQ(client.fetch(server.wide_address("/plain/300000"), body), row.error);
        EXPECT_TRUE(body == (row.error == 0 ? web_server::content(0, 300000) : ""));
        EXPECT_EQ(server.requests().size(), row.error == 0 ? 1U : 0U);
    }
    web_server server{kind::good};
    std::string body;
    EXPECT_EQ(curl_client{"/nowhere/at all"}.fetch(server.wide_address("/plain/5"), body),
              error_internet_security_channel_error);
    // Neither side speaks the other's language.
    web_server plain;
    const std::string secure = "https://127.0.0.1:" + std::to_string(plain.port()) + "/plain/5";
    EXPECT_EQ(curl_client{}.fetch(wide(secure), body), error_internet_security_channel_error);
}

TEST(curl_options, connects_securely_where_a_request_says_so)
{
    web_server server{test_certificates::server::good};
    curl_client client{test_certificates::instance().authority()};
    told_events of_connection;
    told_events events;
    const transfer_handle connection = client.network->connect(client.session, u"localhost", server.port(), u"us:er",
                                                               u"p\u00E4ss", service_http, 0, &of_connection);
    client.network->open_request(connection, u"GET", u"/auth/us%3Aer/p%C3%A4ss", nullptr, nullptr, nullptr,
                                 transfer_secure, &events);
    // The server looks at the first colon alone, so such a name never fits; the bytes are what was given.
    EXPECT_EQ(client.send_again(events), 0U);
    EXPECT_EQ(client.status(events), 200U);
    std::string body;
    EXPECT_EQ(client.read_all(events, body), 0U);
    EXPECT_EQ(body, "welcome");
    client.close(events);
    client.close(of_connection);
}

TEST(curl_options, follows_redirects_up_to_twenty)
{
    web_server server;
    curl_client client;
    std::string body;
    EXPECT_EQ(client.fetch(server.wide_address("/redirect/20/plain/77"), body), 0U);
    EXPECT_EQ(body, web_server::content(0, 77));
    EXPECT_EQ(client.fetch(server.wide_address("/redirect/21/plain/77"), body), error_http_redirect_failed);
    EXPECT_EQ(client.fetch(server.wide_address("/loop"), body), error_http_redirect_failed);
    EXPECT_EQ(client.fetch(server.wide_address("/redirect-to?http://h:x/"), body), error_http_redirect_failed);
    EXPECT_EQ(client.fetch(server.wide_address("/redirect-to?ftp://h/"), body), error_internet_unrecognized_scheme);
    EXPECT_EQ(client.fetch(server.wide_address("/redirect-to?file:///etc/passwd"), body),
              error_internet_unrecognized_scheme);
    // What is told is the last answer's.
    told_events events;
    ASSERT_EQ(client.open(events, server.wide_address("/redirect/1/status/404")), 0U);
    EXPECT_EQ(client.status(events), 404U);
    EXPECT_EQ(client.length(events), 6U);
    client.close(events);
    // A redirect without a place is an answer like others.
    told_events nowhere;
    ASSERT_EQ(client.open(nowhere, server.wide_address("/status/302")), 0U);
    EXPECT_EQ(client.status(nowhere), 302U);
    client.close(nowhere);
}

TEST(curl_options, leaves_security_only_where_that_is_allowed)
{
    web_server plain;
    web_server secure{test_certificates::server::good};
    curl_client client{test_certificates::instance().authority()};
    std::string body;
    const std::u16string down = secure.wide_address("/redirect-to?" + plain.address("/plain/9"));
    EXPECT_EQ(client.fetch(down, body), error_internet_https_to_http_on_redirect);
    EXPECT_TRUE(plain.requests().empty());
    EXPECT_EQ(client.fetch(down, body, nullptr, transfer_ignore_redirect_to_http), 0U);
    EXPECT_EQ(body, web_server::content(0, 9));
    EXPECT_EQ(client.fetch(plain.wide_address("/redirect-to?" + secure.address("/plain/8")), body), 0U);
    EXPECT_EQ(body, web_server::content(0, 8));
}

TEST(curl_options, gives_credentials_to_their_host_alone)
{
    web_server server;
    web_server other;
    curl_client client;
    const auto with = [&](const char* credentials, const std::string& path) {
        return wide("http://" + std::string(credentials) + "@127.0.0.1:" + std::to_string(server.port()) + path);
    };
    struct {
        const char* credentials;
        const char* path;
        std::uint32_t status;
    } constexpr rows[] = {
        {"user:pa%2Fss", "/auth/user/pa%2Fss", 200},
        {"user:wrong", "/auth/user/pa%2Fss", 401},
        {"user", "/auth/user/", 200},
        {"user:pass", "/digest/user/pass", 200},
        {"user:wrong", "/digest/user/pass", 401},
    };
    for (const auto& row : rows) {
        for (const std::uint32_t flags : {0U, transfer_keep_connection}) {
            told_events events;
            std::string body;
            ASSERT_EQ(client.open(events, with(row.credentials, row.path), nullptr, flags), 0U) << row.path;
            EXPECT_EQ(client.status(events), row.status) << row.path;
            EXPECT_EQ(client.read_all(events, body), 0U);
            EXPECT_EQ(body, row.status == 200 ? "welcome" : "who are you");
            client.close(events);
        }
    }
    told_events events;
    ASSERT_EQ(client.open(events, with("user:pass", "/redirect-to?" + other.address("/auth/user/pass"))), 0U);
    EXPECT_EQ(client.status(events), 401U);
    client.close(events);
    for (const web_request& request : other.requests())
        EXPECT_EQ(request.header("Authorization"), std::nullopt);
    for (const web_request& request : server.requests())
        EXPECT_EQ(request.line.find("user:"), std::string::npos);
}

TEST(curl_options, keeps_connections_only_where_asked_to)
{
    web_server server;
    curl_client client;
    std::string body;
    for (const std::uint32_t flags : {0U, 0U, transfer_keep_connection, transfer_keep_connection})
        ASSERT_EQ(client.fetch(server.wide_address("/plain/5"), body, nullptr, flags), 0U);
    const std::vector<web_request> requests = server.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_NE(requests[0].connection, requests[1].connection);
    EXPECT_NE(requests[1].connection, requests[2].connection);
    EXPECT_EQ(requests[2].connection, requests[3].connection);
}

TEST(curl_options, knows_no_cookies_and_opens_nothing_packed)
{
    web_server server;
    curl_client client;
    std::string body;
    const char* answer = "/raw/HTTP%2F1.1%20200%20OK%0D%0ASet-Cookie:%20a=b%0D%0AContent-Encoding:%20gzip%0D%0A"
                         "Content-Length:%205%0D%0A%0D%0Aplain";
    ASSERT_EQ(client.fetch(server.wide_address(answer), body), 0U);
    EXPECT_EQ(body, "plain");
    ASSERT_EQ(client.fetch(server.wide_address("/echo"), body), 0U);
    EXPECT_EQ(server.requests().at(1).header("Cookie"), std::nullopt);
}

} // namespace
