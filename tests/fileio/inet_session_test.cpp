#include "fileio/inet_session.h"

#include "platform/last_error.h"

#include "tests/support/scripted_services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace {

using cw::inet_session;
using cw::string;
using cw::test_support::scripted_services;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace cw::platform;

static_assert(std::has_virtual_destructor_v<inet_session>);

class inet_session_test : public testing::Test {
protected:
    scripted_services script;

    static void open(inet_session& session) { session.open(string(u"agent"), 0, nullptr, nullptr, 0); }
};

TEST_F(inet_session_test, starts_closed_and_alone)
{
    {
        const inet_session made;
        EXPECT_EQ(made.handle, nullptr);
        EXPECT_EQ(made.shared_count->load(), 1u);
        EXPECT_EQ(made.buffer, nullptr);
    }
    EXPECT_THAT(script.log.lines, IsEmpty());
}

TEST_F(inet_session_test, opens_asynchronously_and_as_it_is_told)
{
    {
        inet_session made;
        made.open(string(u"agent"), access_by_proxy, u"proxy:80", u"<local>", 0x8);
        EXPECT_EQ(made.handle, reinterpret_cast<transfer_handle>(101));
    }
    EXPECT_THAT(script.log.lines,
                ElementsAre("InternetOpenW agent 3 proxy:80 <local> 0x10000008", "InternetCloseHandle 101"));
}

TEST_F(inet_session_test, that_cannot_be_opened_has_nothing_to_close)
{
    script.log.fail("InternetOpenW", error_internet_cannot_connect);
    {
        inet_session made;
        open(made);
        EXPECT_EQ(get_last_error(), error_internet_cannot_connect);
        EXPECT_EQ(made.handle, nullptr);
    }
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 0u);
}

TEST_F(inet_session_test, copies_share_it_and_the_last_one_closes_it)
{
    auto first = std::make_unique<inet_session>();
    open(*first);
    first->buffer = new char[1];
    {
        const auto copy = std::make_unique<inet_session>(*first);
        EXPECT_EQ(copy->handle, first->handle);
        EXPECT_EQ(copy->shared_count, first->shared_count);
        EXPECT_EQ(copy->buffer, first->buffer);
        EXPECT_EQ(first->shared_count->load(), 2u);
        first.reset();
        EXPECT_EQ(copy->shared_count->load(), 1u);
        EXPECT_EQ(script.network.open_handles(), 1u);
    }
    EXPECT_EQ(script.network.open_handles(), 0u);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 1u);
}

TEST_F(inet_session_test, an_assigned_session_takes_the_place_of_the_old_one)
{
    inet_session kept;
    open(kept);
    const inet_session& itself = kept;
    kept = itself;
    EXPECT_EQ(kept.shared_count->load(), 1u);
    EXPECT_TRUE(script.network.is_open(kept.handle));
    {
        inet_session changed;
        open(changed);
        changed = kept;
        EXPECT_EQ(changed.handle, kept.handle);
        EXPECT_EQ(changed.shared_count, kept.shared_count);
        EXPECT_EQ(kept.shared_count->load(), 2u);
        EXPECT_EQ(script.log.lines.back(), "InternetCloseHandle 102");
    }
    EXPECT_EQ(kept.shared_count->load(), 1u);
    EXPECT_TRUE(script.network.is_open(kept.handle));
}

TEST_F(inet_session_test, is_copied_on_several_threads)
{
    inet_session session;
    open(session);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int round = 0; round < 1000; ++round)
                    const inet_session copy(session);
            });
    }
    EXPECT_EQ(session.shared_count->load(), 1u);
    EXPECT_EQ(script.log.count("InternetCloseHandle"), 0u);
}

} // namespace
