#include "fileio/http_file.h"

#include "platform/last_error.h"

#include "tests/foundation/printing.h"
#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using cw::http_file;
using cw::string;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

constexpr std::uint32_t timed_out = 12002;

class http_file_test : public testing::Test {
protected:
    scripted_services script;
    int session = 0;

    /// A file in a session, its address taken.
    std::unique_ptr<http_file> opened()
    {
        script.network.session = &session;
        auto made = std::make_unique<http_file>(string(u"agent"), 500, 0, nullptr, nullptr, 0);
        EXPECT_TRUE(made->open(string(u"http://example.org/a"), string(u"Accept: text/plain"), 0x100));
        return made;
    }
};

/// Keeps what a session was asked for.
struct recording_transfers final : transfers {
    std::u16string agent;
    std::uint32_t access_type = 0;
    const char16_t* proxy = nullptr;
    const char16_t* proxy_bypass = nullptr;
    std::uint32_t flags = 0;

    transfer_handle open_session(const char16_t* agent_name, std::uint32_t access, const char16_t* proxy_name,
                                 const char16_t* bypass, std::uint32_t session_flags) noexcept override
    {
        agent = agent_name;
        access_type = access;
        proxy = proxy_name;
        proxy_bypass = bypass;
        flags = session_flags;
        return nullptr;
    }
    bool close(transfer_handle) noexcept override { return true; }
};

TEST_F(http_file_test, opens_an_asynchronous_session_as_it_is_told)
{
    recording_transfers network;
    services set = current();
    set.network = &network;
    const scoped_services in_use(set);
    const char16_t* const proxy = u"proxy:8080";
    const char16_t* const bypass = u"<local>";
    const http_file file(string(u"agent"), 500, 3, proxy, bypass, 0x8);
    EXPECT_EQ(network.agent, u"agent");
    EXPECT_EQ(network.access_type, 3u);
    EXPECT_EQ(network.proxy, proxy);
    EXPECT_EQ(network.proxy_bypass, bypass);
    EXPECT_EQ(network.flags, 0x10000008u);
    EXPECT_EQ(file.timeout_ms, 500u);
    EXPECT_EQ(file.error_handler, nullptr);
    EXPECT_EQ(file.position, 0u);
}

TEST_F(http_file_test, keeps_what_requests_are_made_of)
{
    const auto file = opened();
    EXPECT_EQ(file->url, u"http://example.org/a");
    EXPECT_EQ(file->extra_headers, u"Accept: text/plain");
    EXPECT_EQ(file->open_flags, 0x100u);
}

TEST_F(http_file_test, closes_its_session_with_its_end)
{
    opened().reset();
    EXPECT_THAT(script.log.lines, ElementsAre("InternetOpenW agent 0 null null 0x10000000", "InternetCloseHandle"));
}

TEST_F(http_file_test, takes_no_address_without_a_session)
{
    script.network.open_error = timed_out;
    {
        http_file file(string(u"agent"), 500, 0, nullptr, nullptr, 0);
        set_last_error(0);
        EXPECT_FALSE(file.open(string(u"http://example.org/a"), string(), 0x100));
        EXPECT_EQ(get_last_error(), timed_out);
        EXPECT_EQ(file.url, u"");
        EXPECT_EQ(file.open_flags, 0u);
    }
    EXPECT_THAT(script.log.lines, ElementsAre("InternetOpenW agent 0 null null 0x10000000"));
}

TEST_F(http_file_test, whatever_needs_a_session_tells_why_there_is_none)
{
    script.network.open_error = timed_out;
    http_file file(string(u"agent"), 500, 0, nullptr, nullptr, 0);
    char byte = 'x';
    std::uint32_t count = 7;
    set_last_error(0);
    EXPECT_FALSE(file.read(&byte, 1, &count));
    EXPECT_EQ(get_last_error(), timed_out);
    EXPECT_EQ(count, 0u);
    set_last_error(0);
    EXPECT_EQ(file.size(), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), timed_out);
}

TEST_F(http_file_test, what_needs_a_request_cannot_connect)
{
    const auto file = opened();
    char byte = 'x';
    std::uint32_t count = 7;
    set_last_error(0);
    EXPECT_FALSE(file->read(&byte, 1, &count));
    EXPECT_EQ(get_last_error(), error_internet_cannot_connect);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(byte, 'x');
    set_last_error(0);
    EXPECT_EQ(file->size(), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), error_internet_cannot_connect);
}

TEST_F(http_file_test, seeks_from_the_start_and_from_where_it_is)
{
    const auto file = opened();
    EXPECT_EQ(file->seek(100, seek_begin), 100u);
    EXPECT_EQ(file->seek(20, seek_current), 120u);
    EXPECT_EQ(file->seek(-50, seek_current), 70u);
    EXPECT_EQ(file->position, 70u);
    EXPECT_EQ(file->seek(5, seek_begin), 5u);
    EXPECT_EQ(file->position, 5u);
}

TEST_F(http_file_test, cannot_seek_from_an_end_that_it_does_not_know)
{
    const auto file = opened();
    EXPECT_EQ(file->seek(70, seek_begin), 70u);
    set_last_error(0);
    EXPECT_EQ(file->seek(10, seek_end), 0xFFFFFFFFu);
    EXPECT_EQ(get_last_error(), error_internet_cannot_connect);
    EXPECT_EQ(file->position, 70u);
}

/// One that knows its size.
class sized_http_file final : public http_file {
public:
    using http_file::http_file;
    [[nodiscard]] std::uint32_t size() override { return 1000; }
};

TEST_F(http_file_test, seeks_from_an_end_that_it_knows)
{
    sized_http_file file(string(u"agent"), 500, 0, nullptr, nullptr, 0);
    EXPECT_EQ(file.seek(-10, seek_end), 990u);
    EXPECT_EQ(file.position, 990u);
}

TEST_F(http_file_test, forgets_its_address_and_keeps_its_session)
{
    const auto file = opened();
    EXPECT_EQ(file->seek(70, seek_begin), 70u);
    script.log.lines.clear();
    file->close_all();
    file->close_all();
    EXPECT_EQ(file->url, u"");
    EXPECT_EQ(file->extra_headers, u"");
    EXPECT_EQ(file->position, 0u);
    EXPECT_THAT(script.log.lines, IsEmpty());
    EXPECT_TRUE(file->open(string(u"http://example.org/b"), string(), 0));
    EXPECT_EQ(file->url, u"http://example.org/b");
}

TEST(http_file_on_this_system, cannot_connect)
{
    http_file file(string(u"agent"), 500, 0, nullptr, nullptr, 0);
    set_last_error(0);
    EXPECT_FALSE(file.open(string(u"http://127.0.0.1/a"), string(), 0));
    EXPECT_EQ(get_last_error(), error_internet_cannot_connect);
}

} // namespace
