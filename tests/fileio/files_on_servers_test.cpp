// Files behind addresses of real servers on loopback, over the real side of transfers.
#include "fileio/file.h"
#include "fileio/file_operations.h"
#include "fileio/http_file.h"
#include "foundation/exceptions.h"
#include "platform/last_error.h"
#include "platform/posix_services.h"

#include "tests/foundation/printing.h"
#include "tests/support/web_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>

namespace {

using cw::file;
using cw::http_file;
using cw::string;
using cw::test_support::test_certificates;
using cw::test_support::web_server;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace cw::platform;

// Short for a server that stalls, long for a machine that is busy.
constexpr std::uint32_t short_timeout_ms = 800;
constexpr std::size_t all_attempts = 6;
constexpr std::uint64_t last_modified_of_files = 124285853770000000; // 1994-11-06 08:49:37

std::size_t entries_of(const char* folder)
{
    return static_cast<std::size_t>(std::ranges::distance(std::filesystem::directory_iterator(folder)));
}

/// What is open and running in this process. The thread sanitizer has a thread of its own from the first one on.
struct belongings {
    std::size_t descriptors;
    std::size_t threads;
    belongings()
    {
        std::thread([] {}).join();
        descriptors = entries_of("/proc/self/fd");
        threads = entries_of("/proc/self/task");
    }
    friend bool operator==(const belongings&, const belongings&) = default;
};

class files_on_servers : public testing::Test {
protected:
    std::unique_ptr<transfers> network = make_curl_transfers(test_certificates::instance().authority());
    scoped_services in_use{[this] {
        services set = current();
        set.network = network.get();
        return set;
    }()};
    web_server server;

    std::unique_ptr<file> opened(const std::u16string& address)
    {
        auto made = std::make_unique<file>();
        EXPECT_EQ(made->open(string(address), generic_read, file_share_read, file_attribute_normal, open_existing,
                             nullptr, 0),
                  0u);
        return made;
    }
    std::unique_ptr<file> opened(std::string_view path) { return opened(server.wide_address(path)); }

    /// What a file reads, by blocks, up to its end.
    static std::string all_of(file& source, std::uint32_t block_size = 4096)
    {
        std::string bytes;
        std::string block(block_size, 0);
        for (;;) {
            const std::uint32_t came = source.read(block.data(), block_size);
            if (came == 0)
                return bytes;
            bytes.append(block, 0, came);
        }
    }

    /// The code of the exception for an address that `action` raises; nothing where it raises none.
    template <class Action>
    static std::optional<std::uint32_t> code_raised_by(Action action)
    {
        try {
            action();
        } catch (const cw::internet_file_exception& failure) {
            return failure.code;
        }
        return std::nullopt;
    }
    std::optional<std::uint32_t> code_of_reading(std::string_view path)
    {
        const auto source = opened(path);
        return code_raised_by([&] { all_of(*source); });
    }

    /// The ranges that were asked for, "" where none was.
    std::vector<std::string> ranges()
    {
        std::vector<std::string> all;
        for (const auto& request : server.requests())
            all.push_back(request.header("Range").value_or(""));
        return all;
    }
};

TEST_F(files_on_servers, nothing_is_sent_before_something_is_asked)
{
    const belongings before;
    {
        const auto source = opened("/plain/1000");
        EXPECT_EQ(source->seek(10, seek_begin, nullptr), 10u);
        EXPECT_EQ(belongings().threads, before.threads);
    }
    EXPECT_THAT(server.requests(), IsEmpty());
    EXPECT_EQ(belongings(), before);
}

TEST_F(files_on_servers, are_read_whole_over_one_request)
{
    const auto source = opened("/plain/300000");
    EXPECT_EQ(all_of(*source), web_server::content(0, 300000));
    EXPECT_EQ(source->network_file->position, 300000u);
    ASSERT_THAT(server.requests(), SizeIs(1));
    const auto request = server.requests().front();
    EXPECT_EQ(request.line, "GET /plain/300000 HTTP/1.1");
    EXPECT_EQ(request.header("User-Agent"), "toys::file");
    EXPECT_EQ(request.header("Pragma"), "no-cache");
    EXPECT_EQ(request.header("Range"), std::nullopt);
}

TEST_F(files_on_servers, are_read_in_one_piece)
{
    const auto source = opened("/plain/300000");
    std::string bytes(300000, 0);
    EXPECT_EQ(source->read(bytes.data(), 300000), 300000u);
    EXPECT_EQ(bytes, web_server::content(0, 300000));
    EXPECT_EQ(source->read(bytes.data(), 1), 0u);
}

TEST_F(files_on_servers, know_size_and_date)
{
    const auto source = opened("/plain/12345");
    std::uint32_t high = 9;
    EXPECT_EQ(source->size(&high), 12345u);
    EXPECT_EQ(high, 0u);
    std::uint64_t date = 0;
    EXPECT_TRUE(source->network_file->last_modified(&date));
    EXPECT_EQ(date, last_modified_of_files);
    EXPECT_EQ(all_of(*source), web_server::content(0, 12345));
}

TEST_F(files_on_servers, are_read_from_where_they_were_moved_to)
{
    const auto source = opened("/plain/10000");
    std::string bytes(100, 0);
    EXPECT_EQ(source->read(bytes.data(), 100), 100u);
    EXPECT_EQ(source->seek(400, seek_current, nullptr), 500u);
    EXPECT_EQ(source->read(bytes.data(), 100), 100u);
    EXPECT_EQ(bytes, web_server::content(500, 100));
    EXPECT_EQ(source->seek(-50, seek_end, nullptr), 9950u);
    EXPECT_EQ(all_of(*source), web_server::content(9950, 50));
    EXPECT_EQ(source->seek(3, seek_begin, nullptr), 3u);
    EXPECT_EQ(source->size(nullptr), 10000u);
    EXPECT_EQ(source->read(bytes.data(), 100), 100u);
    EXPECT_EQ(bytes, web_server::content(3, 100));
    EXPECT_THAT(ranges(), ElementsAre("", "bytes=500-", "bytes=9950-", "bytes=3-", "bytes=3-"));
}

TEST_F(files_on_servers, go_on_reading_where_they_were_after_their_size_was_asked)
{
    const auto source = opened("/plain/10000");
    std::string bytes(100, 0);
    EXPECT_EQ(source->read(bytes.data(), 100), 100u);
    EXPECT_EQ(source->size(nullptr), 10000u);
    EXPECT_EQ(source->read(bytes.data(), 100), 100u);
    EXPECT_EQ(bytes, web_server::content(100, 100));
}

TEST_F(files_on_servers, are_read_right_where_ranges_are_ignored)
{
    const auto source = opened("/norange/100000");
    EXPECT_EQ(source->seek(70000, seek_begin, nullptr), 70000u);
    EXPECT_EQ(source->size(nullptr), 100000u);
    EXPECT_EQ(all_of(*source), web_server::content(70000, 30000));
}

TEST_F(files_on_servers, are_resumed_where_the_server_broke_off)
{
    const auto source = opened("/break-once/50000/20000");
    std::string bytes(50000, 0);
    EXPECT_EQ(source->read(bytes.data(), 50000), 50000u);
    EXPECT_EQ(bytes, web_server::content(0, 50000));
    const std::vector<std::string> asked = ranges();
    ASSERT_THAT(asked, SizeIs(2));
    EXPECT_EQ(asked[0], "");
    // By then whole chunks alone have come in.
    EXPECT_EQ(asked[1], "bytes=20000-");
}

TEST_F(files_on_servers, are_read_whole_by_blocks_from_a_server_that_always_breaks_off)
{
    for (const char* path : {"/break/1000/300", "/reset/1000/300"}) {
        const auto source = opened(path);
        // No block meets two breaks.
        EXPECT_EQ(all_of(*source, 250), web_server::content(0, 1000)) << path;
    }
}

TEST_F(files_on_servers, a_second_break_takes_what_came_before_off_once_more)
{
    const auto source = opened("/break/1000/30");
    std::string bytes(100, '-');
    EXPECT_EQ(source->read(bytes.data(), 100), 70u);
    EXPECT_EQ(bytes, web_server::content(0, 60) + std::string(30, '-') + web_server::content(60, 10));
    EXPECT_EQ(source->network_file->position, 70u);
}

TEST_F(files_on_servers, no_break_makes_bytes_come_behind_the_buffer)
{
    const auto source = opened("/break/1000/60");
    // After the second break 120 of 150 bytes are there, and only 30 are counted as left.
    std::string bytes(200, '-');
    std::uint32_t came = 0;
    EXPECT_FALSE(source->network_file->read(bytes.data(), 150, &came));
    EXPECT_EQ(get_last_error(), error_internet_connection_aborted);
    EXPECT_EQ(came, 120u);
    EXPECT_EQ(bytes, web_server::content(0, 120) + std::string(80, '-'));
}

TEST_F(files_on_servers, are_resumed_where_the_server_stalls)
{
    const auto source = opened("/stall/1000/600");
    source->network_file->timeout_ms = short_timeout_ms;
    EXPECT_EQ(all_of(*source, 250), web_server::content(0, 1000));
    // What came of the block that was waited for is asked for again.
    EXPECT_THAT(ranges(), ElementsAre("", "bytes=500-"));
}

TEST_F(files_on_servers, time_out_where_no_answer_comes)
{
    const auto source = opened("/stall-headers");
    source->network_file->timeout_ms = short_timeout_ms;
    EXPECT_EQ(code_raised_by([&] { all_of(*source); }), error_internet_timeout);
    EXPECT_THAT(server.requests(), SizeIs(all_attempts));
}

TEST_F(files_on_servers, follow_redirects)
{
    EXPECT_EQ(all_of(*opened("/redirect/3/plain/1000")), web_server::content(0, 1000));
    EXPECT_EQ(code_of_reading("/loop"), error_http_redirect_failed);
}

TEST_F(files_on_servers, tell_a_bad_status_as_its_number)
{
    constexpr std::pair<const char*, std::uint32_t> rows[] = {
        {"/status/304", 0x8004D4F0}, {"/status/404", 0x8004D554}, {"/status/416", 0x8004D560},
        {"/status/500", 0x8004D5B4}, {"/status/599", 0x8004D617},
    };
    for (const auto& [path, code] : rows) {
        server.forget_requests();
        EXPECT_EQ(code_of_reading(path), code) << path;
        EXPECT_THAT(server.requests(), SizeIs(all_attempts)) << path;
    }
    EXPECT_EQ(code_of_reading("/status/299"), std::nullopt);
    EXPECT_EQ(code_raised_by([&] { static_cast<void>(opened("/status/404")->size(nullptr)); }), 0x8004D554);
}

TEST_F(files_on_servers, never_take_an_error_page_for_the_file)
{
    const auto source = opened("/status/404");
    char byte = 0;
    EXPECT_EQ(code_raised_by([&] { source->read(&byte, 1); }), 0x8004D554);
    EXPECT_EQ(code_raised_by([&] { source->read(&byte, 1); }), 0x8004D554);
    EXPECT_FALSE(source->network_file->connect());
    EXPECT_EQ(code_raised_by([&] { static_cast<void>(source->size(nullptr)); }), 0x8004D554);
}

TEST_F(files_on_servers, tell_a_body_that_is_shorter_than_its_length)
{
    EXPECT_EQ(code_of_reading("/raw/HTTP/1.1%20200%20OK%0D%0AContent-Length:%20100%0D%0A%0D%0Ahalf"),
              error_internet_connection_aborted);
}

TEST_F(files_on_servers, tell_a_body_that_is_longer_than_its_length)
{
    const auto source = opened("/long/100/20");
    std::string bytes(100, 0);
    EXPECT_EQ(source->read(bytes.data(), 100), 100u);
    EXPECT_EQ(bytes, web_server::content(0, 100));
    EXPECT_EQ(code_raised_by([&] { source->read(bytes.data(), 1); }), error_http_invalid_server_response);
}

TEST_F(files_on_servers, refuse_another_range_than_was_asked_for)
{
    const auto source = opened("/wrong-range/1000");
    source->seek(10, seek_begin, nullptr);
    char byte = 0;
    EXPECT_EQ(code_raised_by([&] { source->read(&byte, 1); }), error_http_invalid_server_response);
}

TEST_F(files_on_servers, refuse_headers_without_an_end)
{
    for (const char* path : {"/endless-headers", "/endless-header-line", "/endless-1xx"}) {
        const auto source = opened(path);
        EXPECT_EQ(code_raised_by([&] { all_of(*source); }), error_http_invalid_server_response) << path;
    }
}

TEST_F(files_on_servers, refuse_what_is_no_address)
{
    for (const char16_t* address : {u"http://", u"https://", u"http:///a", u"http://host:99999/", u"http://host:port/",
                                    u"http://a b/", u"http://[::1/", u"http://host/a\nb", u"http://host/\xD800"}) {
        file made;
        EXPECT_EQ(
            made.open(string(address), generic_read, file_share_read, file_attribute_normal, open_existing, nullptr, 0),
            error_internet_invalid_url)
            << string(address).narrow();
        ASSERT_NE(made.network_file, nullptr);
        char byte = 0;
        EXPECT_NE(code_raised_by([&] { made.read(&byte, 1); }), std::nullopt);
    }
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(files_on_servers, refuse_schemes_that_they_do_not_know)
{
    for (const char16_t* address : {u"gopher://127.0.0.1/a", u"ftp://127.0.0.1/a", u"other://127.0.0.1/a"}) {
        http_file source(string(u"agent"), 30000, access_as_configured, nullptr, nullptr, 0);
        ASSERT_TRUE(source.open(string(address), string(), 0)) << string(address).narrow();
        EXPECT_FALSE(source.connect());
        EXPECT_EQ(get_last_error(), error_internet_unrecognized_scheme);
    }
}

TEST_F(files_on_servers, tell_that_nobody_listens)
{
    std::u16string address;
    {
        const web_server gone;
        address = gone.wide_address("/plain/10");
    }
    const auto source = opened(address);
    EXPECT_EQ(code_raised_by([&] { all_of(*source); }), error_internet_cannot_connect);
}

struct giving_up final : cw::transfer_error_handler {
    int asked = 0;
    std::uint32_t on_error(cw::inet_file&) override
    {
        ++asked;
        return error_cancelled;
    }
};

TEST_F(files_on_servers, are_not_asked_again_for_somebody_who_gives_up)
{
    giving_up handler;
    file made;
    made.error_handler = &handler;
    ASSERT_EQ(made.open(string(server.wide_address("/status/500")), generic_read, file_share_read,
                        file_attribute_normal, open_existing, nullptr, 0),
              0u);
    char byte = 0;
    EXPECT_EQ(code_raised_by([&] { made.read(&byte, 1); }), 0x8004D5B4);
    EXPECT_EQ(handler.asked, 1);
    EXPECT_THAT(server.requests(), SizeIs(1));
}

TEST_F(files_on_servers, are_opened_with_the_credentials_of_their_address)
{
    const auto at = [&](const std::u16string& credentials, std::string_view path) {
        std::u16string address = server.wide_address(path);
        return address.insert(address.find(u"//") + 2, credentials + u"@");
    };
    EXPECT_EQ(all_of(*opened(at(u"user:pa%2Fss%40word", "/auth/user/pa%2Fss%40word"))), "welcome");
    EXPECT_EQ(all_of(*opened(at(u"user:plain", "/auth/user/plain"))), "welcome");
    const auto refused = opened(at(u"user:other", "/auth/user/plain"));
    EXPECT_EQ(code_raised_by([&] { all_of(*refused); }), 0x8004D551);
    // A slash as it is ends the host: "user" would be one, its port "pa".
    file split;
    EXPECT_EQ(split.open(string(at(u"user:pa/ss", "/auth/user/pa%2Fss")), generic_read, file_share_read,
                         file_attribute_normal, open_existing, nullptr, 0),
              error_internet_invalid_url);
}

TEST_F(files_on_servers, leave_nothing_behind)
{
    const belongings before;
    for (const char* path : {"/plain/3000000", "/status/404", "/stall/1000/300", "/break/1000/300", "/loop",
                             "/endless-headers", "/gate/1000/100"}) {
        const auto source = opened(path);
        source->network_file->timeout_ms = short_timeout_ms;
        source->network_file->max_retries = 1;
        std::string bytes(1000, 0);
        std::uint32_t came = 0;
        static_cast<void>(source->network_file->read(bytes.data(), 1000, &came));
    }
    EXPECT_EQ(belongings(), before);
}

TEST_F(files_on_servers, exist_where_a_byte_can_be_read)
{
    constexpr std::uint32_t any_kind = cw::accept_file | cw::accept_folder;
    EXPECT_TRUE(cw::url_exists(string(server.wide_address("/plain/1")), any_kind));
    EXPECT_TRUE(cw::path_exists(string(server.wide_address("/plain/10")), any_kind | cw::check_url));
    EXPECT_FALSE(cw::url_exists(string(server.wide_address("/plain/0")), any_kind));
    EXPECT_FALSE(cw::url_exists(string(server.wide_address("/nowhere")), any_kind));
    EXPECT_FALSE(cw::url_exists(string(server.wide_address("/nowhere")), any_kind | cw::raise_on_error));
    EXPECT_FALSE(cw::url_exists(string(server.wide_address("/status/500")), any_kind));
    EXPECT_EQ(code_raised_by([&] {
                  return cw::url_exists(string(server.wide_address("/status/500")), any_kind | cw::raise_on_error);
              }),
              0x8004D5B4);
}

class files_on_secure_servers : public files_on_servers {
protected:
    std::unique_ptr<file> opened_on(const web_server& secure, std::string_view path)
    {
        return opened(secure.wide_address(path));
    }
};

TEST_F(files_on_secure_servers, are_read_like_all_others)
{
    web_server secure(test_certificates::server::good);
    const belongings before;
    {
        const auto source = opened_on(secure, "/plain/300000?x=y");
        EXPECT_EQ(source->size(nullptr), 300000u);
        EXPECT_EQ(all_of(*source), web_server::content(0, 300000));
        EXPECT_EQ(source->seek(100, seek_begin, nullptr), 100u);
        std::string bytes(100, 0);
        EXPECT_EQ(source->read(bytes.data(), 100), 100u);
        EXPECT_EQ(bytes, web_server::content(100, 100));
        EXPECT_EQ(source->network_file->host_name, u"127.0.0.1");
        EXPECT_EQ(secure.requests().front().line, "GET /plain/300000?x=y HTTP/1.1");
    }
    EXPECT_EQ(belongings(), before);
    EXPECT_EQ(all_of(*opened_on(secure, "/break-once/50000/20000")), web_server::content(0, 50000));
    EXPECT_TRUE(cw::url_exists(string(secure.wide_address("/plain/1")), 0));
    EXPECT_FALSE(cw::url_exists(string(secure.wide_address("/nowhere")), cw::raise_on_error));
}

TEST_F(files_on_secure_servers, are_refused_where_the_certificate_is_not_to_be_trusted)
{
    constexpr std::pair<test_certificates::server, std::uint32_t> rows[] = {
        {test_certificates::server::expired, error_internet_certificate_date_invalid},
        {test_certificates::server::wrong_name, error_internet_certificate_name_invalid},
        {test_certificates::server::self_signed, error_internet_invalid_authority},
    };
    for (const auto& [kind, code] : rows) {
        web_server secure(kind);
        const auto source = opened_on(secure, "/plain/10");
        EXPECT_EQ(code_raised_by([&] { all_of(*source); }), code);
        EXPECT_FALSE(cw::url_exists(string(secure.wide_address("/plain/10")), 0));
        EXPECT_THAT(secure.requests(), IsEmpty());
    }
}

TEST_F(files_on_secure_servers, are_not_redirected_to_open_ones)
{
    web_server secure(test_certificates::server::good);
    const auto source = opened_on(secure, "/redirect-to?" + server.address("/plain/10"));
    EXPECT_EQ(code_raised_by([&] { all_of(*source); }), error_internet_https_to_http_on_redirect);
    EXPECT_THAT(server.requests(), IsEmpty());
}

TEST_F(files_on_secure_servers, change_their_host_with_their_address)
{
    web_server one(test_certificates::server::good);
    http_file source(string(u"agent"), 30000, access_as_configured, nullptr, nullptr, 0);
    ASSERT_TRUE(source.open(string(one.wide_address("/plain/500")), string(), 0));
    EXPECT_EQ(source.size(), 500u);
    std::u16string by_name = one.wide_address("/plain/700");
    by_name.replace(by_name.find(u"127.0.0.1"), 9, u"localhost");
    ASSERT_TRUE(source.open(string(by_name), string(), 0));
    EXPECT_EQ(source.seek(100, seek_begin), 100u);
    EXPECT_EQ(source.size(), 700u);
    EXPECT_EQ(source.host_name, u"localhost");
    std::string bytes(600, 0);
    std::uint32_t came = 0;
    EXPECT_TRUE(source.read(bytes.data(), 600, &came));
    EXPECT_EQ(bytes, web_server::content(100, 600));
}

} // namespace
