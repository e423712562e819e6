#include "platform/last_error.h"
#include "platform/posix_services.h"

#include <gtest/gtest.h>

namespace {

using namespace cw::platform;

TEST(unconnected_transfers, open_no_session)
{
    const auto network = make_unconnected_transfers();
    set_last_error(0);
    EXPECT_EQ(network->open_session(u"agent", 0, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(get_last_error(), 12029u);
}

TEST(unconnected_transfers, have_nothing_to_close)
{
    const auto network = make_unconnected_transfers();
    int thing = 0;
    for (const transfer_handle handle : {transfer_handle{nullptr}, transfer_handle{&thing}}) {
        set_last_error(0);
        EXPECT_FALSE(network->close(handle));
        EXPECT_EQ(get_last_error(), error_invalid_handle);
    }
}

} // namespace
