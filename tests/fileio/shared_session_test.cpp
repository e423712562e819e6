// The session that files behind addresses share where the system's transfers want that.
#include "fileio/http_file.h"
#include "platform/last_error.h"

#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using cw::http_file;
using cw::string;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using namespace cw::platform;

const std::string settings_key_line =
    "RegOpenKeyExW Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings 0x00020019";

class shared_session : public testing::Test {
protected:
    scripted_services script;

    shared_session()
    {
        script.network.minor_version = 1;
        script.user_keys.tells_room = true;
    }
    ~shared_session() override
    {
        delete cw::shared_session;
        cw::shared_session = nullptr;
        cw::shared_session_users = 0;
    }
    static std::unique_ptr<http_file> make(std::uint32_t flags = 0)
    {
        return std::make_unique<http_file>(string(u"agent"), 500, 0, nullptr, nullptr, flags);
    }
};

TEST_F(shared_session, is_opened_by_the_first_file)
{
    script.user_keys.keys[u"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings"] = {
        {u"ProxyEnable", u"1"}, {u"AutoConfigURL", u"http://h/proxy"}};
    const auto first = make(0x8);
    EXPECT_THAT(script.log.take(), ElementsAre("InternetQueryOptionW 0x00000028 8", settings_key_line,
                                               "RegQueryValueExW ProxyEnable 4", "RegQueryValueExW AutoConfigURL 2084",
                                               "RegCloseKey", "InternetOpenW agent 0 null null 0x10000008"));
    EXPECT_TRUE(first->shares_session);
    EXPECT_EQ(first->timeout_ms, 500u);
    EXPECT_EQ(cw::shared_session_users, 1u);
    ASSERT_NE(cw::shared_session, nullptr);
    EXPECT_EQ(first->session.handle, cw::shared_session->handle);
    EXPECT_EQ(first->session.shared_count, cw::shared_session->shared_count);
    EXPECT_EQ(first->session.shared_count->load(), 2u);

    const auto second = make();
    EXPECT_EQ(script.log.count("InternetOpenW"), 0u);
    EXPECT_EQ(script.log.count("Reg"), 0u);
    EXPECT_EQ(second->session.handle, first->session.handle);
    EXPECT_EQ(cw::shared_session_users, 2u);
    EXPECT_EQ(first->session.shared_count->load(), 3u);
}

TEST_F(shared_session, does_without_settings)
{
    auto& keys = script.user_keys.keys[u"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings"];
    make();
    EXPECT_EQ(script.log.count("RegQueryValueExW"), 2u);
    EXPECT_EQ(script.log.count("RegCloseKey"), 1u);
    cw::shared_session->handle = nullptr;
    keys[u"ProxyEnable"] = u"too long";
    keys[u"AutoConfigURL"] = std::u16string(2000, u'x');
    make();
    EXPECT_EQ(script.log.count("InternetOpenW"), 2u);
    cw::shared_session->handle = nullptr;
    script.user_keys.keys.clear();
    make();
    EXPECT_EQ(script.log.count("InternetOpenW"), 3u);
    EXPECT_EQ(script.log.count("RegCloseKey"), 2u);
    current().network->close(reinterpret_cast<transfer_handle>(101));
    current().network->close(reinterpret_cast<transfer_handle>(102));
}

TEST_F(shared_session, is_opened_again_where_that_failed)
{
    script.log.fail("InternetOpenW", error_internet_cannot_connect, 1);
    const auto first = make();
    EXPECT_EQ(first->session.handle, nullptr);
    EXPECT_TRUE(first->shares_session);
    first->leave_shared_session(); // nobody has anything to leave
    EXPECT_TRUE(first->shares_session);
    EXPECT_NE(cw::shared_session, nullptr);
    EXPECT_EQ(cw::shared_session_users, 1u);
    const auto second = make();
    EXPECT_NE(second->session.handle, nullptr);
    EXPECT_EQ(cw::shared_session_users, 2u);
}

TEST_F(shared_session, ends_with_the_last_file_that_leaves)
{
    auto first = make();
    auto second = make();
    auto third = make();
    first->leave_shared_session();
    first->leave_shared_session();
    EXPECT_EQ(cw::shared_session_users, 2u);
    first.reset();
    second->leave_shared_session();
    second.reset();
    EXPECT_NE(cw::shared_session, nullptr);
    third->leave_shared_session();
    EXPECT_EQ(cw::shared_session, nullptr);
    EXPECT_EQ(cw::shared_session_users, 0u);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 0u);
    third.reset();
    EXPECT_EQ(script.log.count("InternetCloseHandle 101"), 1u);
    const auto fourth = make();
    EXPECT_EQ(fourth->session.handle, reinterpret_cast<transfer_handle>(102));
    EXPECT_EQ(cw::shared_session_users, 1u);
}

TEST_F(shared_session, is_wanted_by_one_version_alone)
{
    for (const std::uint32_t minor : {0u, 2u, 0x10001u}) {
        script.network.minor_version = minor;
        const auto file = make();
        EXPECT_FALSE(file->shares_session);
        file->leave_shared_session();
    }
    script.network.minor_version = 1;
    script.log.fail("InternetQueryOptionW", error_invalid_parameter);
    EXPECT_FALSE(make()->shares_session);
    EXPECT_EQ(cw::shared_session, nullptr);
    EXPECT_EQ(script.log.count("Reg"), 0u);
}

} // namespace
