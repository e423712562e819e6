#include "console/stop_guard.h"

#include <gtest/gtest.h>

namespace cw::console {
namespace {

/// What a signal does now.
auto handler_of(int number)
{
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    return action.sa_handler;
}

TEST(stop_guard, is_asked_by_each_signal)
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        const stop_guard guard;
        EXPECT_FALSE(stop_guard::is_asked());
        std::raise(number);
        EXPECT_TRUE(stop_guard::is_asked()) << number;
        // The next one is not kept off.
        EXPECT_EQ(handler_of(number), SIG_DFL);
    }
}

TEST(stop_guard, gives_signals_back)
{
    {
        const stop_guard guard;
        EXPECT_NE(handler_of(SIGTERM), SIG_DFL);
    }
    EXPECT_EQ(handler_of(SIGTERM), SIG_DFL);
    EXPECT_EQ(handler_of(SIGHUP), SIG_DFL);
}

TEST(stop_guard, leaves_ignored_signals_ignored)
{
    std::signal(SIGHUP, SIG_IGN);
    {
        const stop_guard guard;
        std::raise(SIGHUP);
        EXPECT_FALSE(stop_guard::is_asked());
        EXPECT_EQ(handler_of(SIGHUP), SIG_IGN);
    }
    EXPECT_EQ(handler_of(SIGHUP), SIG_IGN);
    std::signal(SIGHUP, SIG_DFL);
}

} // namespace
} // namespace cw::console
